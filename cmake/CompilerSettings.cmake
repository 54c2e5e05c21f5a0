# Settings that hold for every target of the project.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "" FORCE)
endif()

option(KXCAM_WERROR "Treat warnings as errors, with the compilers that the project is checked with" OFF)
option(KXCAM_HARDEN "Harden what is built as Debian hardens its packages" ON)
set(KXCAM_SANITIZE "" CACHE STRING "Sanitizers for every target, as -fsanitize= takes them")

add_library(kxcam_settings INTERFACE)
# Pixel values are defined by separate multiplications and additions: a contracted one rounds differently.
target_compile_options(kxcam_settings INTERFACE -ffp-contract=off -Wall -Wextra -Wpedantic
                                                $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Wextra-semi>)
# In sources that are compiled as one, a local name of one may be a global name of another.
target_compile_options(kxcam_settings INTERFACE $<$<NOT:$<BOOL:$<TARGET_PROPERTY:UNITY_BUILD>>>:-Wshadow>)
# Another version warns of other things, rightly or not.
if(KXCAM_WERROR AND "${CMAKE_CXX_COMPILER_ID} ${CMAKE_CXX_COMPILER_VERSION}" MATCHES "^(GNU 12|Clang 14)\\.")
  target_compile_options(kxcam_settings INTERFACE -Werror)
endif()
if(KXCAM_SANITIZE)
  target_compile_options(kxcam_settings INTERFACE -fsanitize=${KXCAM_SANITIZE} -fno-sanitize-recover=all
                                                  -fno-omit-frame-pointer)
  target_link_options(kxcam_settings INTERFACE -fsanitize=${KXCAM_SANITIZE})
endif()
include(CheckPIESupported)
check_pie_supported()
add_link_options(LINKER:-z,relro,-z,now)
if(KXCAM_HARDEN AND NOT KXCAM_SANITIZE)
  # Options of the folder: those of a target come after them.
  add_compile_options(-fstack-protector-strong -fstack-clash-protection)
  add_compile_options($<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE$<SEMICOLON>-D_FORTIFY_SOURCE=2>)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL Clang)
  # Clang calls a library for atomic structures of two words, where GCC trusts their alignment.
  target_link_libraries(kxcam_settings INTERFACE atomic)
  if(KXCAM_SANITIZE MATCHES undefined)
    # The runtime of these two is not linked into the programs in C that use the library.
    target_compile_options(kxcam_settings INTERFACE -fno-sanitize=vptr,function)
  endif()
endif()
