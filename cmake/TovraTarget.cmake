# What every target of this project is built with; nothing here reaches code that is not ours.

add_library(tovra_build INTERFACE)
target_include_directories(tovra_build INTERFACE ${PROJECT_SOURCE_DIR})
# A sum must add the same doubles everywhere: no product may be fused with the addition after it.
target_compile_options(tovra_build INTERFACE -ffp-contract=off)

if(TOVRA_DEVELOPER)
    target_compile_options(tovra_build INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
        # It sees an overlap in every "text" + string there.
        target_compile_options(tovra_build INTERFACE -Wno-restrict)
    endif()
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang" AND CMAKE_CXX_COMPILER_VERSION VERSION_GREATER 16)
        # It speaks up about what std::stable_sort of GCC 12's library does inside.
        target_compile_options(tovra_build INTERFACE -Wno-deprecated-declarations)
    endif()
endif()
if(TOVRA_STATIC)
    # Without what nothing refers to, and without symbols: it starts the faster.
    if(APPLE)
        target_link_options(tovra_build INTERFACE -dead_strip)
    else()
        target_link_options(tovra_build INTERFACE -static-pie -Wl,--gc-sections -s)
        set(CMAKE_POSITION_INDEPENDENT_CODE ON)
    endif()
endif()
if(TOVRA_WARNINGS_AS_ERRORS)
    target_compile_options(tovra_build INTERFACE -Werror)
endif()

if(TOVRA_SANITIZE)
    target_compile_options(tovra_build INTERFACE -fsanitize=${TOVRA_SANITIZE}
        -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(tovra_build INTERFACE -fsanitize=${TOVRA_SANITIZE})
    if(TOVRA_SANITIZE MATCHES "undefined")
        # Its check of an object's type needs a file descriptor, which a test may have used up.
        target_compile_options(tovra_build INTERFACE -fno-sanitize=vptr)
    endif()
endif()

# tovra_library(<folder> SOURCES ... [USES <other folders>...]): one static library per folder.
function(tovra_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;USES" ${ARGN})
    add_library(tovra_${name} STATIC ${ARG_SOURCES})
    target_link_libraries(tovra_${name} PUBLIC tovra_build)
    foreach(used IN LISTS ARG_USES)
        target_link_libraries(tovra_${name} PUBLIC tovra_${used})
    endforeach()
endfunction()
