# What a Debian package has beyond what is installed: compressed manual pages and a changelog. Run by
# CPack before it packs CPACK_TEMPORARY_DIRECTORY.
if(NOT CPACK_GENERATOR STREQUAL DEB)
  return()
endif()
find_program(gzip gzip REQUIRED)
set(share ${CPACK_TEMPORARY_DIRECTORY}/usr/share)

file(GLOB pages ${share}/man/man1/*.1)
set(changelog ${share}/doc/${CPACK_PACKAGE_NAME}/changelog)
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC) # SOURCE_DATE_EPOCH, where that is set
file(WRITE ${changelog} "${CPACK_PACKAGE_NAME} (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium

  * Version ${CPACK_PACKAGE_VERSION}.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
execute_process(COMMAND ${gzip} -9 -n -f ${pages} ${changelog} COMMAND_ERROR_IS_FATAL ANY)
file(CHMOD_RECURSE ${share}/doc ${share}/man
  FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ
  DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
    WORLD_READ WORLD_EXECUTE)
