# One package per component: `cpack` in the build folder makes those that were built.
set(packages_lib libkxcam${PROJECT_VERSION_MAJOR})
set(packages_dev libkxcam-dev)
set(packages_tools kxcam-tools)
set(packages_sim kxcam-sim)
set(packages_gst gstreamer1.0-kxcam)
set(packages_python python3-kxcam)
set(packages_gentl kxcam-gentl)

set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL lib dev)
if(TARGET kxcam_tool)
  list(APPEND CPACK_COMPONENTS_ALL tools)
endif()
if(TARGET kxsim)
  list(APPEND CPACK_COMPONENTS_ALL sim)
endif()
if(TARGET gstkxcam)
  list(APPEND CPACK_COMPONENTS_ALL gst)
endif()
if(TARGET kxcam_gentl)
  list(APPEND CPACK_COMPONENTS_ALL gentl)
endif()
if(TARGET kxcam_wheels)
  list(APPEND CPACK_COMPONENTS_ALL python)
endif()
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} key)
  set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${packages_${component}})
  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${packages_${component}}
          RENAME copyright COMPONENT ${component})
endforeach()

set(CPACK_PACKAGE_NAME kxcam)
set(CPACK_PACKAGE_VENDOR kxcam)
set(CPACK_PACKAGE_CONTACT "kxcam maintainers <maintainers@kxcam.example>")
# The configuration file lies outside the prefix.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The tool needs a library that comes from a package beside its own.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_COMPONENT_LIB_DESCRIPTION
    "driver library for industrial USB cameras\nFinds, opens, configures and reads the cameras, and turns raw frames\ninto pictures: demosaicing, white balance, exposure control, corrections.")
set(CPACK_DEBIAN_LIB_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_LIB_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/debian/conffiles
                                           ${CMAKE_CURRENT_LIST_DIR}/debian/triggers)

set(CPACK_COMPONENT_DEV_DESCRIPTION
    "driver library for industrial USB cameras - development files\nHeader, pkg-config file, CMake package, guide and examples for\nprograms that use the library libkxcam.")
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_SHLIBDEPS OFF)
# pkg-config wants to see what the library needs itself, too.
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "${packages_lib} (= ${PROJECT_VERSION}), libusb-1.0-0-dev")

set(CPACK_COMPONENT_TOOLS_DESCRIPTION
    "capture and inspect images from industrial USB cameras\nThe command kxcam lists cameras, shows them live in the browser, captures and\nstreams pictures, changes and stores settings and finds out why a camera does\nnot work.")
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${packages_lib} (>= ${PROJECT_VERSION})")

set(CPACK_COMPONENT_GST_DESCRIPTION
    "GStreamer source for industrial USB cameras\nThe element kxcamsrc gives pictures of a camera to GStreamer pipelines.\nA device provider lists the cameras and tells of those that come and go.")
set(CPACK_DEBIAN_GST_PACKAGE_SECTION video)
set(CPACK_DEBIAN_GST_PACKAGE_DEPENDS "${packages_lib} (>= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_GST_PACKAGE_SUGGESTS "gstreamer1.0-tools")

set(CPACK_COMPONENT_GENTL_DESCRIPTION
    "industrial USB cameras in GenICam programs\nA GenTL producer: programs that follow the GenICam standard find the cameras,\nset them and take pictures.")
set(CPACK_DEBIAN_GENTL_PACKAGE_SECTION graphics)
# For the list of cameras and the access to them; the library itself is inside.
set(CPACK_DEBIAN_GENTL_PACKAGE_DEPENDS "${packages_lib} (>= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_GENTL_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/debian/gentl/conffiles)

set(CPACK_COMPONENT_SIM_DESCRIPTION
    "simulated industrial USB cameras\nThe command kxsim runs any program against simulated cameras, without\nhardware or root, and exports them to virtual machines.")
set(CPACK_DEBIAN_SIM_PACKAGE_SECTION devel)

set(CPACK_COMPONENT_PYTHON_DESCRIPTION
    "industrial USB cameras from Python\nThe Python package kxcam: cameras, pictures as numpy arrays, and a plugin\nfor pytest that gives tests simulated cameras.")
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3:any (>= 3.9), python3-numpy, ${packages_lib} (>= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS "python3-pytest, ${packages_sim}")
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/debian/python/postinst
                                              ${CMAKE_CURRENT_LIST_DIR}/debian/python/prerm)

set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/debian_files.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/debian_triggers.cmake)
include(CPack)
