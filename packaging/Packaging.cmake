# What `cmake --install` puts where, and what is made of it: the Debian package by `--target package`,
# a tarball by `--target tarball`, the bundles for assistant hosts by `--target bundle`.
include(GNUInstallDirs)

install(FILES packaging/tovra-mcp.1 packaging/tovra-mcp-check.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES LICENSE docs/hosts.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
# Shells look for a completion under the name of its program.
foreach(program IN ITEMS tovra-mcp tovra-mcp-check)
    install(FILES packaging/completions/tovra-mcp.bash
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME ${program})
endforeach()
install(FILES packaging/completions/_tovra-mcp DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
# What the licences of the libraries ask for where these are a part of the program.
set(TOVRA_NOTICES "" CACHE FILEPATH "The licences of the libraries in a static program")
if(TOVRA_NOTICES)
    install(FILES ${TOVRA_NOTICES} DESTINATION ${CMAKE_INSTALL_DOCDIR} RENAME LIBRARIES)
endif()

# The examples name the program by its path: each is installed with the path that it has here.
file(GLOB_RECURSE tovra_examples RELATIVE ${PROJECT_SOURCE_DIR}/examples CONFIGURE_DEPENDS
    examples/*.json examples/*.toml)
if(APPLE)
    list(APPEND tovra_examples com.local.tovra-mcp.plist)
endif()
install(CODE "
    set(source \"${PROJECT_SOURCE_DIR}/examples\")
    set(placed \"${PROJECT_BINARY_DIR}/packaging/examples\")
    set(names \"${tovra_examples}\")
    set(binary_folder \"${CMAKE_INSTALL_BINDIR}\")
    set(examples_folder \"${CMAKE_INSTALL_DOCDIR}/examples\")")
install(SCRIPT packaging/install_examples.cmake)
if(NOT APPLE)
    install(CODE "
        set(names tovra-mcp.service)
        set(examples_folder lib/systemd/user)")
    install(SCRIPT packaging/install_examples.cmake)
endif()

# What the names of the tarball and the bundles say of the program in them. A bundle is of one
# platform: a host knows the system that it is for, and people the processor.
if(APPLE)
    set(tovra_system darwin)
else()
    set(tovra_system linux)
endif()
set(TOVRA_PROCESSOR "${CMAKE_SYSTEM_PROCESSOR}" CACHE STRING "The processor in packages' names")
string(TOLOWER "${PROJECT_VERSION}-${tovra_system}-${TOVRA_PROCESSOR}" tovra_platform)

# tovra_package_target(<name> <script> <variable>=<value>...): runs the script on the built program.
function(tovra_package_target name script)
    list(TRANSFORM ARGN PREPEND "-D;")
    add_custom_target(${name}
        COMMAND ${CMAKE_COMMAND} ${ARGN}
            -D source=${PROJECT_SOURCE_DIR} -D build=${PROJECT_BINARY_DIR}
            -D version=${PROJECT_VERSION} -D platform=${tovra_platform} -D system=${tovra_system}
            -P ${PROJECT_SOURCE_DIR}/packaging/${script}
        VERBATIM)
    # What is installed has to be there; somebody may have put it there.
    if(NOT TOVRA_PACK_ONLY)
        add_dependencies(${name} tovra-mcp tovra-mcp-check)
    endif()
endfunction()
tovra_package_target(bundle make_bundles.cmake
    server=${PROJECT_BINARY_DIR}/server/tovra-mcp notices=${TOVRA_NOTICES})
tovra_package_target(tarball make_tarball.cmake)

set(CPACK_PACKAGE_VENDOR "the tovra-mcp authors")
set(CPACK_PACKAGE_CONTACT "the tovra-mcp authors <noreply@example.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "MCP server for personal finance records")
set(CPACK_PACKAGE_DESCRIPTION
"Lets an AI assistant read the records of the Tovra finance application,
and add to them, through the Model Context Protocol: five reports and two
recordings on the application's own data file, over standard input or
over HTTP on the loopback address. It talks to nothing else.")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
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
    set(CPACK_DEBIAN_PACKAGE_HOMEPAGE https://github.com/tovra-mcp/tovra-mcp)
    set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
    set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
    if(NOT TOVRA_STATIC)
        set(CPACK_STRIP_FILES ON)
        set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
    endif()
    set(CPACK_SOURCE_GENERATOR "")
    include(CPack)
endif()
