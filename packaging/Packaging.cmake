# What `cmake --install` puts where, the package that `--target package` makes of it, and the bundle
# for assistant hosts that `--target bundle` makes.
include(GNUInstallDirs)

install(FILES packaging/tovra-mcp.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})

# The examples name the program by its path: each is installed with the path that it has here.
set(tovra_examples mcp-stdio.json mcp-stdio-read-only.json mcp-http.json)
if(APPLE)
    list(APPEND tovra_examples com.local.tovra-mcp.plist)
else()
    list(APPEND tovra_examples tovra-mcp.service)
endif()
install(CODE "
    set(source \"${PROJECT_SOURCE_DIR}/examples\")
    set(placed \"${PROJECT_BINARY_DIR}/packaging/examples\")
    set(names \"${tovra_examples}\")
    set(binary_folder \"${CMAKE_INSTALL_BINDIR}\")
    set(examples_folder \"${CMAKE_INSTALL_DOCDIR}/examples\")")
install(SCRIPT packaging/install_examples.cmake)

# server.json, for the registry of servers, needs the digest of the finished bundle.
configure_file(packaging/manifest.json.in packaging/bundle/manifest.json @ONLY)
if(APPLE)
    set(tovra_bundle_system darwin)
else()
    set(tovra_bundle_system linux)
endif()
string(TOLOWER "tovra-mcp-${PROJECT_VERSION}-${tovra_bundle_system}-${CMAKE_SYSTEM_PROCESSOR}.mcpb"
    tovra_bundle)
add_custom_target(bundle
    COMMAND ${CMAKE_COMMAND}
        -D version=${PROJECT_VERSION}
        -D bundle=${PROJECT_BINARY_DIR}/${tovra_bundle}
        -D staging=${PROJECT_BINARY_DIR}/packaging/bundle
        -D server=$<TARGET_FILE:tovra-mcp>
        -D license=${PROJECT_SOURCE_DIR}/LICENSE
        -D template=${PROJECT_SOURCE_DIR}/packaging/server.json.in
        -P ${PROJECT_SOURCE_DIR}/packaging/make_bundle.cmake
    COMMENT "Making ${tovra_bundle} and its server.json"
    VERBATIM)
add_dependencies(bundle tovra-mcp)

set(CPACK_PACKAGE_VENDOR "the tovra-mcp authors")
set(CPACK_PACKAGE_CONTACT "the tovra-mcp authors <noreply@example.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "MCP server for personal finance records")
set(CPACK_PACKAGE_DESCRIPTION
"Lets an AI assistant read the records of the Tovra finance application,
and add to them, through the Model Context Protocol: five reports and two
recordings on the application's own data file, over standard input or
over HTTP on the loopback address. It talks to nothing else.")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

find_program(DPKG_SHLIBDEPS dpkg-shlibdeps)
if(DPKG_SHLIBDEPS)
    set(CPACK_GENERATOR DEB)
    # Installed as if into /usr, so that the examples name /usr/bin.
    set(CPACK_SET_DESTDIR ON)
    set(CPACK_INSTALL_PREFIX /usr)
    set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/debian/finish.cmake)
    set(CPACK_TOVRA_CHANGELOG ${PROJECT_SOURCE_DIR}/packaging/debian/changelog)
    set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
    set(CPACK_DEBIAN_PACKAGE_SECTION utils)
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
    set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
    set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
else()
    set(CPACK_GENERATOR TGZ)
endif()
set(CPACK_SOURCE_GENERATOR "")
include(CPack)
