# CPack lets each package with a library call ldconfig from scripts; Debian has the trigger in debian/triggers. Takes
# those scripts out.
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  if(package MATCHES "/python3-")
    continue()  # it has scripts of its own
  endif()
  set(unpacked ${CPACK_TEMPORARY_DIRECTORY}/unpacked)
  file(REMOVE_RECURSE ${unpacked})
  execute_process(COMMAND dpkg-deb --raw-extract ${package} ${unpacked} COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE ${unpacked}/DEBIAN/postinst ${unpacked}/DEBIAN/postrm)
  execute_process(COMMAND dpkg-deb --root-owner-group --build ${unpacked} ${package} OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endforeach()
