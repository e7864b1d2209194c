# Installs examples with the path of the installed program in place of the one that they are kept
# with. In: the folders source and placed; names; binary_folder and examples_folder, below
# CMAKE_INSTALL_PREFIX unless they are absolute.
get_filename_component(prefix "${CMAKE_INSTALL_PREFIX}" ABSOLUTE BASE_DIR "${CMAKE_CURRENT_BINARY_DIR}")
get_filename_component(program "${binary_folder}/tovra-mcp" ABSOLUTE BASE_DIR "${prefix}")
get_filename_component(destination "${examples_folder}" ABSOLUTE BASE_DIR "${prefix}")

# The path as a string of JSON, as text of XML, and as a word of a systemd unit.
string(REGEX REPLACE "([\"\\\\])" "\\\\\\1" json "${program}")
string(REPLACE "&" "&amp;" plist "${program}")
string(REPLACE "<" "&lt;" plist "${plist}")
string(REPLACE "%" "%%" service "${json}")
string(REPLACE "$" "$$" service "${service}")
set(toml "${json}")
if(service MATCHES "[^A-Za-z0-9/._+-]")
    set(service "\"${service}\"")
endif()

foreach(name IN LISTS names)
    file(READ "${source}/${name}" text)
    string(REGEX MATCH "[a-z]+$" kind "${name}")
    foreach(kept IN ITEMS /usr/local/bin/tovra-mcp %h/.local/bin/tovra-mcp)
        string(REPLACE "${kept}" "${${kind}}" text "${text}")
    endforeach()
    file(WRITE "${placed}/${name}" "${text}")
    get_filename_component(below "${name}" DIRECTORY)
    file(INSTALL "${placed}/${name}" DESTINATION "${destination}/${below}")
endforeach()
