find_package(GTest REQUIRED)
include(GoogleTest)

# kxcam_test(NAME SOURCES source... LIBRARIES library...): a GoogleTest program; every case of it is a
# test of its own, in a process of its own, so that no case sees another's open cameras.
function(kxcam_test NAME)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES" ${ARGN})
  add_executable(${NAME} ${ARG_SOURCES})
  target_link_libraries(${NAME} PRIVATE ${ARG_LIBRARIES} GTest::gmock GTest::gtest_main kxcam_settings)
  gtest_discover_tests(${NAME} DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 120)
endfunction()
