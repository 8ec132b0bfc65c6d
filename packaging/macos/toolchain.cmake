# Builds for macOS on Linux: a clang with the macOS headers compiles, ld64.lld links. ./package-macos
# fetches the compiler, says where it is, and gives a line of slices.txt.

set(KVX_ZIG "" CACHE FILEPATH "The zig command")
set(KVX_MACOS_SLICE "" CACHE STRING "Of slices.txt")
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KVX_ZIG KVX_MACOS_SLICE)
if(NOT KVX_ZIG OR NOT KVX_MACOS_SLICE)
  message(FATAL_ERROR "KVX_ZIG and KVX_MACOS_SLICE must be given; ./package-macos does")
endif()
string(REPLACE " " ";" kvx_slice ${KVX_MACOS_SLICE})
list(GET kvx_slice 0 KVX_MACOS_PROCESSOR)
list(GET kvx_slice 1 KVX_MACOS_OLDEST)
list(GET kvx_slice 2 kvx_target)
list(GET kvx_slice 3 kvx_compiled_for)

set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR ${KVX_MACOS_PROCESSOR})

set(CMAKE_CXX_COMPILER ${KVX_ZIG} c++ -mcpu=${kvx_compiled_for} -g0)
# Linking a program would build the whole run-time library, so the checks of a compiler end with the
# object: the first of them where there is a target.
set(CMAKE_CXX_COMPILER_TARGET ${kvx_target})
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
# Release 14 leaves the addresses in __eh_frame as they were in the object files.
find_program(KVX_LD64 NAMES ld64.lld-16 ld64.lld-19 REQUIRED)
find_program(CMAKE_AR NAMES llvm-ar llvm-ar-14 REQUIRED)
find_program(CMAKE_RANLIB NAMES llvm-ranlib llvm-ranlib-14 REQUIRED)
find_program(CMAKE_INSTALL_NAME_TOOL NAMES llvm-install-name-tool llvm-install-name-tool-14 REQUIRED)

set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE NEVER)
set(CMAKE_USER_MAKE_RULES_OVERRIDE ${CMAKE_CURRENT_LIST_DIR}/link_rules.cmake)
