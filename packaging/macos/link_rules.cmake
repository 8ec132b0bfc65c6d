# How toolchain.cmake links a loadable bundle. CMake reads this after its own rules for Darwin.

cmake_path(GET KVX_ZIG PARENT_PATH kvx_zig_folder)
# The linker is called itself: nothing has to be wrapped for a compiler in between.
unset(CMAKE_CXX_LINKER_WRAPPER_FLAG)
unset(CMAKE_CXX_LINKER_WRAPPER_FLAG_SEP)
set(CMAKE_CXX_OSX_DEPLOYMENT_TARGET_FLAG "")
string(JOIN " " CMAKE_CXX_CREATE_SHARED_MODULE
  "\"${KVX_LLD}\" -arch x86_64 -platform_version macos 10.13 10.13 -bundle -dead_strip"
  "-F\"${CMAKE_CURRENT_LIST_DIR}/stubs\" <LINK_FLAGS> -o <TARGET> <OBJECTS> <LINK_LIBRARIES>"
  "\"${KVX_MACOS_RUNTIME}/libc++.a\" \"${KVX_MACOS_RUNTIME}/libc++abi.a\""
  "\"${KVX_MACOS_RUNTIME}/libcompiler_rt.a\""
  "\"${kvx_zig_folder}/lib/libc/darwin/libSystem.tbd\"")
