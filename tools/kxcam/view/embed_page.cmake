# Writes OUTPUT from page.cpp.in in SOURCES, with the bytes of page.html, page.css and page.js in it.
foreach(kind html css js)
  file(READ ${SOURCES}/page.${kind} bytes HEX)
  string(REGEX REPLACE "(..)" "0x\\1," ${kind} "${bytes}")
endforeach()
configure_file(${SOURCES}/page.cpp.in ${OUTPUT} @ONLY)
