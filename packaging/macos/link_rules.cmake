# How toolchain.cmake links a loadable bundle. CMake reads this after its own rules for Darwin.

cmake_path(GET KVX_ZIG PARENT_PATH kvx_zig_folder)
# The linker is called itself: nothing has to be wrapped for a compiler in between.
unset(CMAKE_CXX_LINKER_WRAPPER_FLAG)
unset(CMAKE_CXX_LINKER_WRAPPER_FLAG_SEP)
set(CMAKE_CXX_OSX_DEPLOYMENT_TARGET_FLAG "")
# No debug map: it would name files of the machine that built. The signature is one without an identity,
# as the system asks for.
string(JOIN " " CMAKE_CXX_CREATE_SHARED_MODULE
  "\"${KVX_LD64}\" -arch ${KVX_MACOS_PROCESSOR}"
  "-platform_version macos ${KVX_MACOS_OLDEST} ${KVX_MACOS_OLDEST} -bundle -dead_strip -S"
  "-adhoc_codesign -data_const"
  "-F\"${CMAKE_CURRENT_LIST_DIR}/stubs\" <LINK_FLAGS> -o <TARGET> <OBJECTS> <LINK_LIBRARIES>"
  "\"${kvx_zig_folder}/lib/libc/darwin/libSystem.tbd\"")
