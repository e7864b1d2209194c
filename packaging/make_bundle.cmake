# Makes the bundle, a ZIP archive of the manifest, the program and the license, and beside it the
# server.json that announces it. In: version, bundle, staging (which holds the manifest already),
# server, license, template.
get_filename_component(folder "${bundle}" DIRECTORY)
get_filename_component(name "${bundle}" NAME)
file(COPY "${license}" DESTINATION "${staging}")
file(COPY "${server}" DESTINATION "${staging}/server")
execute_process(
    COMMAND "${CMAKE_COMMAND}" -E tar cf "${bundle}" --format=zip
        manifest.json LICENSE server/tovra-mcp
    WORKING_DIRECTORY "${staging}"
    COMMAND_ERROR_IS_FATAL ANY)
file(SHA256 "${bundle}" digest)
configure_file("${template}" "${folder}/server.json" @ONLY)
