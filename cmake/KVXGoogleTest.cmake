# GoogleTest as it is installed; for another processor, for which it is not, from its sources.
if(NOT CMAKE_CROSSCOMPILING)
  find_package(GTest REQUIRED)
  return()
endif()
find_path(KVX_GOOGLETEST_SOURCES googletest/CMakeLists.txt
  PATHS /usr/src/googletest NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
set(INSTALL_GTEST OFF)
add_subdirectory(${KVX_GOOGLETEST_SOURCES} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
foreach(library gtest gtest_main gmock)
  target_compile_options(${library} PRIVATE -O0) # as the tests are
  if(NOT TARGET GTest::${library})
    add_library(GTest::${library} ALIAS ${library})
  endif()
endforeach()
