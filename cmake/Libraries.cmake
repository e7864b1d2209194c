# Finds the libraries: simdjson::simdjson, ICU::uc, Threads::Threads, UUID_LIBRARY.

# Homebrew keeps ICU apart from what it links into its prefix.
find_program(BREW brew)
if(APPLE AND BREW AND NOT ICU_ROOT)
    execute_process(COMMAND ${BREW} --prefix icu4c OUTPUT_VARIABLE ICU_ROOT
        OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
endif()

if(TOVRA_STATIC)
    set(CMAKE_FIND_LIBRARY_SUFFIXES .a)
    # A package that has both libraries names the shared one simdjson::simdjson.
    find_library(SIMDJSON_LIBRARY NAMES simdjson_static simdjson REQUIRED)
    find_path(SIMDJSON_INCLUDE_DIR simdjson.h REQUIRED)
    add_library(simdjson::simdjson STATIC IMPORTED)
    set_target_properties(simdjson::simdjson PROPERTIES
        IMPORTED_LOCATION ${SIMDJSON_LIBRARY}
        INTERFACE_INCLUDE_DIRECTORIES ${SIMDJSON_INCLUDE_DIR})
else()
    find_package(simdjson REQUIRED)
endif()
find_package(ICU REQUIRED COMPONENTS uc)
find_package(Threads REQUIRED)
if(NOT APPLE)
    # On macOS a part of the C library. Static where there is one: every library that is loaded costs
    # a twentieth of the start.
    find_library(UUID_LIBRARY NAMES libuuid.a uuid REQUIRED)
endif()
