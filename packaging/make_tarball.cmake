# Makes the tarball of what is installed, as it lies below /usr/local. It holds files and no folders,
# and they are root's: whoever unpacks it as root keeps the owner and the mode of the folders that are
# there. In: build, version, platform.
set(name "tovra-mcp-${platform}")
set(staging "${build}/packaging/tarball")
file(REMOVE_RECURSE "${staging}")
execute_process(
    COMMAND "${CMAKE_COMMAND}" -E env "DESTDIR=${staging}/root"
        "${CMAKE_COMMAND}" --install "${build}" --prefix /usr/local
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
file(RENAME "${staging}/root/usr/local" "${staging}/${name}")
file(GLOB_RECURSE files RELATIVE "${staging}" "${staging}/${name}/*")
set(owner --uid 0 --gid 0 --uname root --gname root)
execute_process(COMMAND tar --version OUTPUT_VARIABLE tar)
if(tar MATCHES "GNU")
    set(owner --owner=root:0 --group=root:0)
endif()
execute_process(
    COMMAND tar -czf "${build}/${name}.tar.gz" ${owner} ${files}
    WORKING_DIRECTORY "${staging}"
    COMMAND_ERROR_IS_FATAL ANY)
