# Sets GENICAM_GENTL64_PATH, by which programs find the producer: for shells, and for what systemd starts in a user's
# session. A prefix of the system puts the files where these look; in any other prefix the variable is the user's to set.
if(NOT CMAKE_INSTALL_PREFIX MATCHES "^/(usr(/local)?/?)?$")
  return()
endif()
set(gentl_folder ${CMAKE_INSTALL_PREFIX}/${gentl_libdir}/gentl)
configure_file(${CMAKE_CURRENT_LIST_DIR}/kxcam-gentl.sh.in $ENV{DESTDIR}/etc/profile.d/kxcam-gentl.sh @ONLY)
configure_file(${CMAKE_CURRENT_LIST_DIR}/kxcam-gentl.conf.in $ENV{DESTDIR}/usr/lib/environment.d/60-kxcam-gentl.conf
               @ONLY)
