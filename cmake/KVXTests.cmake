# What the test programs are made with: one way to compile tests and one to run them.
include(GoogleTest)
find_package(Python3 REQUIRED COMPONENTS Interpreter)

option(KVX_UNITY_TESTS "Compile the tests of a folder several files at a time" ON)

# Where it is named, the tests are compiled in that preset's tree, by Clang, which takes half as long, and
# once for all trees; they are without a sanitizer, and the libraries that they are linked with here may
# have one. Where it is not, or there is no Clang, they are compiled here like everything else.
set(KVX_TEST_BODIES_OF "" CACHE STRING "Preset in whose tree the tests are compiled")
find_program(KVX_CLANG clang++)
if(APPLE OR NOT KVX_CLANG OR NOT KVX_UNITY_TESTS)
  set(KVX_TEST_BODIES_OF "")
endif()
set(KVX_TEST_BODIES_TREE ${PROJECT_SOURCE_DIR}/build/${KVX_TEST_BODIES_OF})

# Test code runs for moments and takes minutes to compile, so that it is not optimised, and of the
# sanitizers it goes without the one for undefined behaviour, whose checks are half of its code. The
# importer's own code always is as the preset has it.
add_library(kvx_test_options INTERFACE)
target_compile_options(kvx_test_options INTERFACE -O0
  # The compiler would spend an eighth of its time looking for memory to use again.
  $<$<CXX_COMPILER_ID:GNU>:--param=ggc-min-expand=100>
  $<$<CXX_COMPILER_ID:GNU>:--param=ggc-min-heapsize=600000>)
# That of programs that compute, as under stress, is optimised.
add_library(kvx_computing_test_options INTERFACE)
if(KVX_SANITIZE MATCHES undefined)
  foreach(options kvx_test_options kvx_computing_test_options)
    target_compile_options(${options} INTERFACE -fno-sanitize=undefined)
  endforeach()
endif()

# Test programs are large and are linked in each build; this linker takes a fifth of the time.
find_program(KVX_LLD ld.lld)
if(KVX_LLD AND NOT APPLE)
  foreach(options kvx_test_options kvx_computing_test_options)
    target_link_options(${options} INTERFACE -fuse-ld=lld)
  endforeach()
endif()

# kvx_add_computing_tests(PROGRAM FILE...): files that compute more than they compile.
function(kvx_add_computing_tests program)
  target_sources(${program} PRIVATE ${ARGN})
  list(TRANSFORM ARGN PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
  set_property(TARGET ${program} APPEND PROPERTY KVX_COMPUTING_TESTS ${ARGN})
endfunction()

# kvx_finish_tests(PROGRAM): called when all lists of files have been read. Compiles the files named
# *_test.cpp of each folder several at a time, as unity sources that unity_source.py writes, and all
# with the headers that most of the time would go into made once. The unity sources are the program's
# bodies, the target <program>_bodies.
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
    kvx_unite_tests(${program} "${sources}" "${computing}" sources united computing)
    set_property(TARGET ${program} PROPERTY SOURCES ${sources})
    # What is defined for a program is mostly where things lie in its tree.
    get_target_property(definitions ${program} COMPILE_DEFINITIONS)
    if(KVX_TEST_BODIES_OF AND NOT definitions)
      kvx_borrow_bodies(${program} "${united}")
    else()
      kvx_add_bodies(${program} "${united}" "${computing}")
    endif()
    target_link_libraries(${program} PRIVATE ${program}_bodies)
  endif()
  kvx_optimise(${program} "${computing}")
  kvx_reuse_test_headers(${program})
endfunction()

# kvx_optimise(TARGET FILES): files of the target that compute.
function(kvx_optimise target files)
  if(KVX_SANITIZE)
    set(level -O1)
  else()
    set(level -O2)
  endif()
  if(files)
    set_source_files_properties(${files} TARGET_DIRECTORY ${target} PROPERTIES
      COMPILE_OPTIONS ${level} SKIP_PRECOMPILE_HEADERS ON)
  endif()
endfunction()

# kvx_add_bodies(PROGRAM SOURCES COMPUTING): <program>_bodies, compiled here.
function(kvx_add_bodies program sources computing)
  add_library(${program}_bodies OBJECT ${sources})
  target_compile_options(${program}_bodies PRIVATE -fPIE) # as in the program
  get_target_property(definitions ${program} COMPILE_DEFINITIONS)
  if(definitions)
    target_compile_definitions(${program}_bodies PRIVATE ${definitions})
  endif()
  get_target_property(libraries ${program} LINK_LIBRARIES)
  foreach(library ${libraries})
    if(library MATCHES "^kvx_" AND NOT library MATCHES "_options$")
      # Its headers, which are there already; nobody has to wait for it.
      target_include_directories(${program}_bodies PRIVATE
        $<TARGET_PROPERTY:${library},INTERFACE_INCLUDE_DIRECTORIES>)
    else()
      target_link_libraries(${program}_bodies PRIVATE ${library})
    endif()
  endforeach()
  target_link_libraries(${program}_bodies PRIVATE kvx_build_options)
  kvx_optimise(${program}_bodies "${computing}")
  kvx_reuse_test_headers(${program}_bodies)
endfunction()

# kvx_borrow_bodies(PROGRAM SOURCES): <program>_bodies, compiled in the other tree.
function(kvx_borrow_bodies program sources)
  file(RELATIVE_PATH folder ${PROJECT_BINARY_DIR} ${CMAKE_CURRENT_BINARY_DIR})
  set(objects ${KVX_TEST_BODIES_TREE}/${folder}/CMakeFiles/${program}_bodies.dir)
  list(TRANSFORM sources REPLACE "^${CMAKE_CURRENT_BINARY_DIR}/(.*)" "${objects}/\\1.o")
  add_custom_target(${program}_compile_bodies
    COMMAND ${CMAKE_COMMAND} --build ${KVX_TEST_BODIES_TREE} --target ${program}_bodies
    BYPRODUCTS ${sources}
    USES_TERMINAL)
  add_library(${program}_bodies OBJECT IMPORTED)
  set_target_properties(${program}_bodies PROPERTIES IMPORTED_OBJECTS "${sources}")
  add_dependencies(${program} ${program}_compile_bodies)

  # Of a function in a header that both have compiled the linker takes the first it sees, and that has
  # to be the one with the sanitizer: the libraries stand before the tests.
  get_target_property(libraries ${program} LINK_LIBRARIES)
  set(first)
  foreach(library kvx_importer kvx_hostkit kvx_inspect kvx_cli kvx_test_support)
    if(library IN_LIST libraries)
      list(APPEND first $<TARGET_FILE:${library}>)
    endif()
  endforeach()
  if(kvx_faulty_importer IN_LIST libraries)
    list(APPEND first $<TARGET_PROPERTY:kvx_faulty_importer,KVX_ARCHIVE>)
  endif()
  target_link_options(${program} PRIVATE
    -Wl,--whole-archive ${first} -Wl,--no-whole-archive)
endfunction()

# The tree with the bodies has to be there when its targets are asked for.
if(KVX_TEST_BODIES_OF)
  set(cache ${KVX_TEST_BODIES_TREE}/CMakeCache.txt)
  set(with_tests)
  # A tree whose making failed has the one and not the other.
  if(EXISTS ${cache} AND EXISTS ${KVX_TEST_BODIES_TREE}/build.ninja)
    file(STRINGS ${cache} with_tests REGEX "^KVX_BUILD_TESTS:BOOL=ON")
  endif()
  if(NOT with_tests)
    set(launcher)
    if(CMAKE_CXX_COMPILER_LAUNCHER)
      set(launcher -DCMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER})
    endif()
    execute_process(
      COMMAND ${CMAKE_COMMAND} --preset ${KVX_TEST_BODIES_OF} -DKVX_BUILD_TESTS=ON ${launcher}
      WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
      COMMAND_ERROR_IS_FATAL ANY)
  endif()
endif()

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

function(kvx_reuse_test_headers target)
  target_precompile_headers(${target} REUSE_FROM kvx_test_headers)
  target_compile_options(${target} PRIVATE ${KVX_PRECOMPILED_HEADER_OPTIONS})
endfunction()

# kvx_long_first(TEST...): tests of minutes, which start before others, so that no processor waits for
# one of them at the end.
function(kvx_long_first)
  set_tests_properties(${ARGN} PROPERTIES COST 100)
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
    kvx_long_first(${test})
  endforeach()
endfunction()

# Of a list of files those that are compiled alone, and unity sources of at most so many files with the
# tests of each folder.
set(KVX_TESTS_IN_A_UNITY_SOURCE 12)
function(kvx_unite_tests program sources computing out_alone out_united out_computing)
  set(alone)
  set(all_united)
  set(all_computing)
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
      list(APPEND all_united ${united})
      if(group MATCHES "_computing$")
        list(APPEND all_computing ${united})
      endif()
    endforeach()
  endforeach()
  foreach(source ${computing})
    if(source IN_LIST alone)
      list(APPEND all_computing ${source})
    endif()
  endforeach()
  set(${out_alone} ${alone} PARENT_SCOPE)
  set(${out_united} ${all_united} PARENT_SCOPE)
  set(${out_computing} ${all_computing} PARENT_SCOPE)
endfunction()
