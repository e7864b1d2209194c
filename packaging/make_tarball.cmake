# Makes the tarball of what is installed, as it lies below /usr/local. In: build, version, platform.
set(name "tovra-mcp-${platform}")
set(staging "${build}/packaging/tarball")
file(REMOVE_RECURSE "${staging}")
execute_process(
    COMMAND "${CMAKE_COMMAND}" -E env "DESTDIR=${staging}/root"
        "${CMAKE_COMMAND}" --install "${build}" --prefix /usr/local
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
file(RENAME "${staging}/root/usr/local" "${staging}/${name}")
execute_process(
    COMMAND "${CMAKE_COMMAND}" -E tar czf "${build}/${name}.tar.gz" "${name}"
    WORKING_DIRECTORY "${staging}"
    COMMAND_ERROR_IS_FATAL ANY)
