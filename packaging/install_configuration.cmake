# The library reads /etc/kxusb.conf wherever it is installed itself, so a prefix of the system puts the file
# there. Any other prefix keeps to itself. A file that is there may have been edited, and stays.
if(CMAKE_INSTALL_PREFIX MATCHES "^/(usr(/local)?/?)?$")
  set(folder /etc)
else()
  set(folder ${CMAKE_INSTALL_PREFIX}/etc)
endif()

if(EXISTS $ENV{DESTDIR}${folder}/kxusb.conf)
  message(STATUS "Kept: $ENV{DESTDIR}${folder}/kxusb.conf")
else()
  file(INSTALL ${CMAKE_CURRENT_LIST_DIR}/kxusb.conf DESTINATION ${folder})
endif()
