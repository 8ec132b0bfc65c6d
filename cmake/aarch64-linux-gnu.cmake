# Builds for Linux on arm64 with Clang and runs what comes out under qemu-user. The C and C++ libraries
# and the linker are those of Debian's cross compiler, g++-aarch64-linux-gnu, which Clang finds by
# itself. That compiler takes over a quarter longer, and on Apple silicon, the arm64 that the importer is for,
# what compiles is a Clang as well.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)

set(CMAKE_C_COMPILER clang) # for the sources of GoogleTest
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET aarch64-linux-gnu)
set(CMAKE_CXX_COMPILER_TARGET aarch64-linux-gnu)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L /usr/aarch64-linux-gnu)

# Of the libraries there are only the compiler's own. Of this machine's folders what is found are
# programs, and libraries that are headers alone.
set(CMAKE_FIND_ROOT_PATH /usr/aarch64-linux-gnu)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
