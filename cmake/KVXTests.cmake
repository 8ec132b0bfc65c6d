# What the test programs are made with: one way to compile tests and one to run them.
include(GoogleTest)
find_package(Python3 REQUIRED COMPONENTS Interpreter)

option(KVX_UNITY_TESTS "Compile the tests of a folder several files at a time" ON)

# Test code runs for moments and takes minutes to compile, so that it is not optimised, and of the
# sanitizers it goes without the one for undefined behaviour, whose checks are half of its code. The
# importer's own code always is as the preset has it.
add_library(kvx_test_options INTERFACE)
target_compile_options(kvx_test_options INTERFACE -O0)
if(KVX_SANITIZE MATCHES undefined)
  target_compile_options(kvx_test_options INTERFACE -fno-sanitize=undefined)
endif()

# kvx_add_computing_tests(PROGRAM FILE...): files that compute more than they compile.
function(kvx_add_computing_tests program)
  target_sources(${program} PRIVATE ${ARGN})
  list(TRANSFORM ARGN PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
  set_property(TARGET ${program} APPEND PROPERTY KVX_COMPUTING_TESTS ${ARGN})
endfunction()

# kvx_finish_tests(PROGRAM): called when all lists of files have been read. Compiles the files named
# *_test.cpp of each folder several at a time, as unity sources that unity_source.py writes, and all
# with the headers that most of the time would go into made once.
function(kvx_finish_tests program)
  get_target_property(computing ${program} KVX_COMPUTING_TESTS)
  get_target_property(listed ${program} SOURCES)
  set(sources)
  foreach(source ${listed})
    get_filename_component(source ${source} ABSOLUTE)
    list(APPEND sources ${source})
  endforeach()
  if(NOT computing)
    set(computing)
  endif()
  if(KVX_UNITY_TESTS)
    kvx_unite_tests(${program} "${sources}" "${computing}" sources computing)
    set_property(TARGET ${program} PROPERTY SOURCES ${sources})
  endif()
  if(computing)
    if(KVX_SANITIZE)
      set(level -O1)
    else()
      set(level -O2)
    endif()
    set_source_files_properties(${computing} TARGET_DIRECTORY ${program} PROPERTIES
      COMPILE_OPTIONS ${level} SKIP_PRECOMPILE_HEADERS ON)
  endif()
  target_precompile_headers(${program} REUSE_FROM kvx_test_headers)
  target_compile_options(${program} PRIVATE ${KVX_PRECOMPILED_HEADER_OPTIONS})
endfunction()

# For compiler caches.
set(KVX_PRECOMPILED_HEADER_OPTIONS $<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>)

# The headers, made once for all programs, which have the same options.
function(kvx_precompile_test_headers)
  set(source ${PROJECT_BINARY_DIR}/test_headers.cpp)
  file(CONFIGURE OUTPUT ${source} CONTENT "")
  add_library(kvx_test_headers OBJECT ${source})
  target_link_libraries(kvx_test_headers PRIVATE
    kvx_build_options GTest::gmock GTest::gtest kvx_test_options)
  target_compile_options(kvx_test_headers PRIVATE ${KVX_PRECOMPILED_HEADER_OPTIONS} -fPIE)
  target_precompile_headers(kvx_test_headers PRIVATE
    <gmock/gmock.h> <gtest/gtest.h> <string> <vector>)
endfunction()

# kvx_add_sharded_tests(PROGRAM SHARES LABEL...): the program's tests as so many tests of ctest, each
# of which is one process.
function(kvx_add_sharded_tests program shares)
  foreach(share RANGE 1 ${shares})
    set(test ${program}.${share})
    add_test(NAME ${test}
      COMMAND Python3::Interpreter ${PROJECT_SOURCE_DIR}/tests/run_tests.py
        $<TARGET_FILE:${program}> --share ${share}/${shares})
    set_tests_properties(${test} PROPERTIES TIMEOUT 1500 LABELS "${ARGN}")
  endforeach()
endfunction()

# The lists with the tests of each folder replaced by unity sources of at most so many files.
set(KVX_TESTS_IN_A_UNITY_SOURCE 12)
function(kvx_unite_tests program sources computing out_sources out_computing)
  set(alone)
  set(united_computing)
  set(groups)
  foreach(source ${sources})
    string(REGEX REPLACE "\\.cpp$" ".h" header ${source})
    # Headers say something else to a file that defines names before it includes them.
    set(defines)
    if(EXISTS ${source})
      file(STRINGS ${source} defines REGEX "^#(define|undef)" LIMIT_COUNT 1)
    endif()
    # As it does when the build defines some for it.
    get_source_file_property(definitions ${source} TARGET_DIRECTORY ${program} COMPILE_DEFINITIONS)
    if(NOT source MATCHES "_test\\.cpp$" OR EXISTS ${header} OR defines OR definitions)
      list(APPEND alone ${source})
      continue()
    endif()
    get_filename_component(folder ${source} DIRECTORY)
    file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR}/tests ${folder})
    string(MAKE_C_IDENTIFIER "${folder}" group)
    if(source IN_LIST computing)
      string(APPEND group _computing)
    endif()
    list(APPEND groups ${group})
    list(APPEND files_${group} ${source})
  endforeach()
  list(REMOVE_DUPLICATES groups)
  set(script ${PROJECT_SOURCE_DIR}/tests/support/unity_source.py)
  foreach(group ${groups})
    # As many files in each as in the others.
    list(LENGTH files_${group} count)
    math(EXPR parts "(${count} + ${KVX_TESTS_IN_A_UNITY_SOURCE} - 1) / ${KVX_TESTS_IN_A_UNITY_SOURCE}")
    math(EXPR size "(${count} + ${parts} - 1) / ${parts}")
    math(EXPR last "${parts} - 1")
    foreach(part RANGE ${last})
      math(EXPR first "${part} * ${size}")
      list(SUBLIST files_${group} ${first} ${size} files)
      set(united ${CMAKE_CURRENT_BINARY_DIR}/${program}_unity/${group}_${part}.cpp)
      add_custom_command(
        OUTPUT ${united}
        COMMAND Python3::Interpreter ${script} ${united} ${files}
        DEPENDS ${script} ${files}
        COMMENT ""
        VERBATIM)
      list(APPEND alone ${united})
      if(group MATCHES "_computing$")
        list(APPEND united_computing ${united})
      endif()
    endforeach()
  endforeach()
  foreach(source ${computing})
    if(source IN_LIST alone)
      list(APPEND united_computing ${source})
    endif()
  endforeach()
  set(${out_sources} ${alone} PARENT_SCOPE)
  set(${out_computing} ${united_computing} PARENT_SCOPE)
endfunction()
