find_package(GTest REQUIRED)
include(GoogleTest)

set(KXCAM_TEST_ENVIRONMENT "")
if(KXCAM_SANITIZE MATCHES thread)
  set(KXCAM_TEST_ENVIRONMENT "TSAN_OPTIONS=suppressions=${CMAKE_CURRENT_LIST_DIR}/tsan_suppressions.txt")
endif()

# kxcam_test(NAME SOURCES source... LIBRARIES library... [ALONE]): a GoogleTest program; every case of it is
# a test of its own, in a process of its own, so that no case sees another's open cameras. ALONE: beside no
# other test, as it keeps all processors busy.
function(kxcam_test NAME)
  cmake_parse_arguments(ARG "ALONE" "" "SOURCES;LIBRARIES" ${ARGN})
  add_executable(${NAME} ${ARG_SOURCES})
  target_link_libraries(${NAME} PRIVATE ${ARG_LIBRARIES} GTest::gmock GTest::gtest_main kxcam_settings)
  if(KXCAM_SANITIZE)
    target_compile_options(${NAME} PRIVATE -O0)  # assertions take long to optimise once they are instrumented
    target_compile_definitions(${NAME} PRIVATE SANITIZED)
  elseif(NOT CMAKE_BUILD_TYPE STREQUAL Debug)
    target_compile_options(${NAME} PRIVATE -g1)
  endif()
  list(LENGTH ARG_SOURCES source_count)
  if(source_count GREATER 1)
    target_precompile_headers(${NAME} PRIVATE <gmock/gmock.h> <gtest/gtest.h>)
  endif()
  gtest_discover_tests(${NAME} DISCOVERY_MODE PRE_TEST
                       PROPERTIES TIMEOUT 120 RUN_SERIAL ${ARG_ALONE} ENVIRONMENT "${KXCAM_TEST_ENVIRONMENT}")
endfunction()
