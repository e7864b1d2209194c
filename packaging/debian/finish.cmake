# Runs on the files of the Debian package before they are packed: what Debian expects in the place
# of what other systems get.
if(NOT CPACK_GENERATOR STREQUAL "DEB")
    return()
endif()
set(share "${CPACK_TEMPORARY_DIRECTORY}/usr/share")
set(doc "${share}/doc/tovra-mcp")
file(RENAME "${doc}/LICENSE" "${doc}/copyright")
file(COPY "${CPACK_TOVRA_CHANGELOG}" DESTINATION "${doc}" NO_SOURCE_PERMISSIONS)
file(GLOB pages "${share}/man/man1/*.1")
execute_process(COMMAND gzip -9n "${doc}/changelog" ${pages}
    COMMAND_ERROR_IS_FATAL ANY)
