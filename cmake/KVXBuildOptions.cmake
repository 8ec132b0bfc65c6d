# What every target of the project is compiled with.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release)
endif()
# Statuses decide in the logic, so assertions stay on in no build; -O2 is the level that is tested.
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")

add_library(kvx_build_options INTERFACE)
target_compile_options(kvx_build_options INTERFACE
  -Wall -Wextra -Wpedantic -Werror
  # The frame converters are exact to the bit, on every processor: no contraction of a*b+c.
  -ffp-contract=off)
# One instruction set for each processor: SSSE3, and the base set of arm64. A build for macOS may be for
# both at once.
if(APPLE AND CMAKE_OSX_ARCHITECTURES)
  if("x86_64" IN_LIST CMAKE_OSX_ARCHITECTURES)
    target_compile_options(kvx_build_options INTERFACE "SHELL:-Xarch_x86_64 -mssse3")
  endif()
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
  target_compile_options(kvx_build_options INTERFACE -mssse3)
endif()

# The code's promises to itself are looked at where people look for faults.
if((CMAKE_BUILD_TYPE STREQUAL "Debug" AND NOT KVX_COVERAGE) OR KVX_SANITIZE)
  target_compile_definitions(kvx_build_options INTERFACE KVX_ASSERTS)
endif()

find_package(Threads REQUIRED)
target_link_libraries(kvx_build_options INTERFACE Threads::Threads)

if(KVX_SANITIZE)
  target_compile_options(kvx_build_options INTERFACE
    -fsanitize=${KVX_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(kvx_build_options INTERFACE -fsanitize=${KVX_SANITIZE})
  if(KVX_SANITIZE MATCHES "address.*undefined")
    # What the address sanitizer or the processor notices as well doubles the time to compile.
    target_compile_options(kvx_build_options INTERFACE -fno-sanitize=null,object-size,vptr)
  endif()
endif()
if(KVX_COVERAGE)
  # Counted in pools of threads, and without one count lost.
  target_compile_options(kvx_build_options INTERFACE --coverage -fprofile-update=atomic)
  target_compile_definitions(kvx_build_options INTERFACE KVX_COVERAGE)
  target_link_options(kvx_build_options INTERFACE --coverage)
endif()

# kvx_precompile_common_headers(TARGET): for small files, which take most of their time for headers.
# The build for clang-tidy is without, so that a header that is not included is noticed there.
function(kvx_precompile_common_headers target)
  target_precompile_headers(${target} PRIVATE
    <algorithm> <cstdint> <cstdio> <cstring> <functional> <memory> <string> <vector>)
  # For compiler caches.
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>)
endfunction()

# kvx_unite(TARGET [BY_FOLDER] [AT_MOST FILES] [REGEX]): compiles several files at a time, ten if not told,
# which takes half as long, where a build is for its tests and not for changing a file. Files whose names
# match the expression go alone: they have the same short names for different things. BY_FOLDER keeps
# files of different folders apart, so that a program that links one function of a library is not given
# what lies above it.
option(KVX_UNITY "Compile several files of a library at a time" OFF)
function(kvx_unite target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "BY_FOLDER" "AT_MOST" "")
  if(NOT KVX_UNITY)
    return()
  endif()
  if(NOT arg_AT_MOST)
    set(arg_AT_MOST 10)
  endif()
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE ${arg_AT_MOST})
  get_target_property(sources ${target} SOURCES)
  if(arg_UNPARSED_ARGUMENTS)
    set(alone ${sources})
    list(FILTER alone INCLUDE REGEX "${arg_UNPARSED_ARGUMENTS}")
    list(FILTER sources EXCLUDE REGEX "${arg_UNPARSED_ARGUMENTS}")
    set_source_files_properties(${alone} TARGET_DIRECTORY ${target} PROPERTIES
      SKIP_UNITY_BUILD_INCLUSION ON)
  endif()
  if(arg_BY_FOLDER)
    set_target_properties(${target} PROPERTIES UNITY_BUILD_MODE GROUP)
    foreach(source ${sources})
      get_filename_component(folder ${source} DIRECTORY)
      get_filename_component(folder ${folder} NAME)
      list(APPEND files_of_${folder} ${source})
      list(LENGTH files_of_${folder} count)
      math(EXPR part "(${count} - 1) / ${arg_AT_MOST}")
      set_source_files_properties(${source} TARGET_DIRECTORY ${target} PROPERTIES
        UNITY_GROUP ${folder}_${part})
    endforeach()
  endif()
endfunction()
