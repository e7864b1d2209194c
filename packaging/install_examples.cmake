# Installs examples with the path of the installed program in place of the one that they are kept
# with. In: the folders source and placed; names; binary_folder and examples_folder, below
# CMAKE_INSTALL_PREFIX unless they are absolute.
get_filename_component(program "${binary_folder}/tovra-mcp" ABSOLUTE
    BASE_DIR "${CMAKE_INSTALL_PREFIX}")
get_filename_component(destination "${examples_folder}" ABSOLUTE
    BASE_DIR "${CMAKE_INSTALL_PREFIX}")
foreach(name IN LISTS names)
    file(READ "${source}/${name}" text)
    string(REGEX REPLACE "(/usr/local|%h/\\.local)/bin/tovra-mcp" "${program}" text "${text}")
    file(WRITE "${placed}/${name}" "${text}")
    file(INSTALL "${placed}/${name}" DESTINATION "${destination}")
endforeach()
