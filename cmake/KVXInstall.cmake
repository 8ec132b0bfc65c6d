# For other projects: the declarations that a host calls the module by, and what find_package reads.
include(CMakePackageConfigHelpers)

set(KVX_MODULE lib/kvx/$<TARGET_FILE_NAME:KVXImporter>)
set(KVX_INCLUDE_DIR include/kvx)
set(package_dir lib/cmake/KVXImporter)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/src/premiere DESTINATION ${KVX_INCLUDE_DIR}
  FILES_MATCHING PATTERN "*.h")
# The module's name is known once all is generated.
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/KVXImporterConfig.cmake.in
  ${PROJECT_BINARY_DIR}/KVXImporterConfig.cmake.genex
  INSTALL_DESTINATION ${package_dir} PATH_VARS KVX_MODULE KVX_INCLUDE_DIR)
file(GENERATE OUTPUT ${PROJECT_BINARY_DIR}/KVXImporterConfig.cmake
  INPUT ${PROJECT_BINARY_DIR}/KVXImporterConfig.cmake.genex)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KVXImporterConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/KVXImporterConfig.cmake
  ${PROJECT_BINARY_DIR}/KVXImporterConfigVersion.cmake
  DESTINATION ${package_dir})
