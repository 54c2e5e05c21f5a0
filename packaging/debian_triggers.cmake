# CPack lets each package with a library call ldconfig from scripts; Debian has the trigger in debian/triggers. Takes
# the scripts out.
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  set(unpacked ${CPACK_TEMPORARY_DIRECTORY}/unpacked)
  file(REMOVE_RECURSE ${unpacked})
  execute_process(COMMAND dpkg-deb --raw-extract ${package} ${unpacked} COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE ${unpacked}/DEBIAN/postinst ${unpacked}/DEBIAN/postrm)
  execute_process(COMMAND dpkg-deb --root-owner-group --build ${unpacked} ${package} OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endforeach()
