# Makes the two bundles of a program, one that records and one that only reports, and server.json.
# A bundle is a ZIP archive of a manifest, the program, an icon and the licences.
# In: source, build, version, platform, system, server, notices (may be empty).
set(staging "${build}/packaging/bundle")

# make_bundle(<name>): with what the manifest says of it in the variables.
function(make_bundle name)
    set(folder "${staging}/${name}")
    file(REMOVE_RECURSE "${folder}")
    configure_file("${source}/packaging/manifest.json.in" "${folder}/manifest.json" @ONLY)
    file(COPY "${source}/LICENSE" "${source}/packaging/icon.png" DESTINATION "${folder}")
    file(COPY "${server}" "${source}/packaging/start" DESTINATION "${folder}/server")
    set(files manifest.json LICENSE icon.png server/start server/tovra-mcp)
    if(notices)
        file(COPY_FILE "${notices}" "${folder}/LIBRARIES")
        list(APPEND files LIBRARIES)
    endif()
    execute_process(
        COMMAND "${CMAKE_COMMAND}" -E tar cf "${build}/${name}-${platform}.mcpb" --format=zip ${files}
        WORKING_DIRECTORY "${folder}"
        COMMAND_ERROR_IS_FATAL ANY)
endfunction()

set(title "Tovra")
set(description "Ask about your accounts, spending, budgets and goals in Tovra, and add to them.")
set(what_it_does "Five tools are reports and never write; `add_transaction` appends a transaction and \
`add_to_goal` raises a goal's saved total.")
set(recording_tools [=[,
    { "name": "add_transaction", "description": "Appends a transaction to the data file" },
    { "name": "add_to_goal", "description": "Raises the saved total of a goal" }]=])
make_bundle(tovra-mcp)

set(title "Tovra (read-only)")
set(description "Ask about your accounts, spending, budgets and goals in Tovra.")
set(what_it_does "Its five tools are reports: nothing is ever written.")
set(arguments ", \"--read-only\"")
set(recording_tools "")
make_bundle(tovra-mcp-read-only)

set(folder "${build}")
include("${source}/packaging/make_server_json.cmake")
