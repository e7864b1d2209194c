# Makes server.json, which announces the bundles to the registry of servers: those in a folder, one
# for each platform. The one argument of its packages is what the read-only bundles are for.
# In: source, folder, version.
file(GLOB bundles "${folder}/tovra-mcp-${version}-*.mcpb")
set(packages "")
foreach(path IN LISTS bundles)
    get_filename_component(bundle "${path}" NAME)
    file(SHA256 "${path}" digest)
    file(READ "${source}/packaging/server_package.json.in" package)
    string(CONFIGURE "${package}" package @ONLY)
    string(APPEND packages "${package},")
endforeach()
string(REGEX REPLACE ",$" "\n  " packages "${packages}")
configure_file("${source}/packaging/server.json.in" "${folder}/server.json" @ONLY)
