find_package(GTest REQUIRED)
include(GoogleTest)

# Far beyond what any test takes, on a busy machine too: it ends those that hang.
set(KXCAM_TEST_TIMEOUT 7200)
set(KXCAM_TEST_ENVIRONMENT "")
if(KXCAM_SANITIZE MATCHES thread)
  set(KXCAM_TEST_ENVIRONMENT "TSAN_OPTIONS=suppressions=${CMAKE_CURRENT_LIST_DIR}/tsan_suppressions.txt")
endif()

function(kxcam_test_options TARGET)
  target_link_libraries(${TARGET} PRIVATE GTest::gmock GTest::gtest_main kxcam_settings)
  target_compile_options(${TARGET} PRIVATE -O0)  # assertions take as long again to optimise, instrumented ones longer
  if(KXCAM_SANITIZE)
    target_compile_definitions(${TARGET} PRIVATE SANITIZED)
  endif()
endfunction()

# The headers of GoogleTest, compiled once for all tests. A compiler takes them only with the options of what
# includes them, so these are the options of a program (-fPIE, not -fPIC).
file(CONFIGURE OUTPUT test_headers.cpp CONTENT "")
add_library(kxcam_test_headers OBJECT ${CMAKE_CURRENT_BINARY_DIR}/test_headers.cpp)
set_target_properties(kxcam_test_headers PROPERTIES POSITION_INDEPENDENT_CODE OFF)
target_compile_options(kxcam_test_headers PRIVATE -fPIE)
kxcam_test_options(kxcam_test_headers)
target_precompile_headers(kxcam_test_headers PRIVATE <gmock/gmock.h> <gtest/gtest.h>)

# kxcam_test(NAME SOURCES source... LIBRARIES library... [EARLY]): a GoogleTest program;
# every case of it is a test of its own, in a process of its own, so that no case sees another's open cameras.
# EARLY: before others, as it waits for long, and nothing should wait for it at the end.
function(kxcam_test NAME)
  cmake_parse_arguments(ARG "EARLY" "" "SOURCES;LIBRARIES" ${ARGN})
  add_executable(${NAME} ${ARG_SOURCES})
  target_link_libraries(${NAME} PRIVATE ${ARG_LIBRARIES})
  kxcam_test_options(${NAME})
  target_precompile_headers(${NAME} REUSE_FROM kxcam_test_headers)
  set(properties TIMEOUT ${KXCAM_TEST_TIMEOUT} ENVIRONMENT "${KXCAM_TEST_ENVIRONMENT}")
  if(ARG_EARLY)
    list(APPEND properties COST 100)
  endif()
  gtest_discover_tests(${NAME} DISCOVERY_MODE PRE_TEST PROPERTIES ${properties})
endfunction()
