# Packages for Linux: `cpack --config build/release/CPackConfig.cmake` in a tree that is built.
set(CPACK_GENERATOR "DEB;TGZ")
set(CPACK_PACKAGE_NAME kvx)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "KVX Importer")
set(KVX_PACKAGE_CONTACT "KVX Importer maintainers <maintainers@kvx-importer.invalid>" CACHE STRING
  "Who answers for a package: NAME <ADDRESS>")
set(CPACK_PACKAGE_CONTACT ${KVX_PACKAGE_CONTACT})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "tool for uncompressed QuickTime movies")
set(CPACK_PACKAGE_DESCRIPTION "kvx opens movies of 2vuy, v210 and r210 through the KVX Importer
module, as an editing host does: it tells what they hold and what keeps them
from being imported, mends what can be mended without a sample changed, and
writes their frames and their sound.")
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
  GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PACKAGE_FILE_NAME kvx-${PROJECT_VERSION}-${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR})

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS fonts-dejavu-core) # what sheets and pages are lettered with
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/linux/debian_files.cmake)
include(CPack)
