# Builds for macOS x86-64 on Linux: a clang with the macOS headers compiles, ld64.lld links.
# ./package-macos fetches the compiler and says where it is.

set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(KVX_ZIG "" CACHE FILEPATH "The zig command")
# libc++.a, libc++abi.a and libcompiler_rt.a, made for the target below.
set(KVX_MACOS_RUNTIME "" CACHE PATH "The folder of the C++ run-time library")
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KVX_ZIG KVX_MACOS_RUNTIME)
if(NOT KVX_ZIG OR NOT KVX_MACOS_RUNTIME)
  message(FATAL_ERROR "KVX_ZIG and KVX_MACOS_RUNTIME must be given; ./package-macos does")
endif()

set(CMAKE_CXX_COMPILER ${KVX_ZIG} c++ -target x86_64-macos.10.13 -mcpu=core2)
# Programs are not linked, so the checks of a compiler end with the object.
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
