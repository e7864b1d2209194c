# A compiler for macOS on Debian. In: TOVRA_MACOS_PROCESSOR, arm64 or x86_64, and in the environment
# what packaging/macos/make sets: ZIG, the compiler; MACOS_OLDEST, the version; MACOS_LIBRARIES, the
# folder with a processor's libraries.
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES TOVRA_MACOS_PROCESSOR)
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR ${TOVRA_MACOS_PROCESSOR})
string(REPLACE arm64 aarch64 target ${TOVRA_MACOS_PROCESSOR}-macos.$ENV{MACOS_OLDEST})
set(libraries $ENV{MACOS_LIBRARIES}/${TOVRA_MACOS_PROCESSOR})

set(CMAKE_CXX_COMPILER $ENV{ZIG} c++ -target ${target})
# Not to be found out: the trial would be linked, for which the compiler first makes its libraries.
set(CMAKE_CXX_COMPILER_FORCED TRUE)
set(CMAKE_CXX_COMPILER_ID Clang)
set(CMAKE_CXX_COMPILER_ID_RUN TRUE)
set(CMAKE_CXX_COMPILER_VERSION 16.0)
set(CMAKE_CXX_STANDARD_COMPUTED_DEFAULT 17)
set(CMAKE_CXX_EXTENSIONS_COMPUTED_DEFAULT ON)
set(CMAKE_SIZEOF_VOID_P 8)
set(CMAKE_CXX_FLAGS_INIT "-isystem ${CMAKE_CURRENT_LIST_DIR}/../../scripts/macos")
set(CMAKE_AR llvm-ar-19)
set(CMAKE_RANLIB llvm-ranlib-19)
set(CMAKE_INSTALL_NAME_TOOL llvm-install-name-tool-19)
set(CMAKE_OSX_SYSROOT "")
set(CMAKE_OSX_DEPLOYMENT_TARGET "")
set(CMAKE_PREFIX_PATH ${libraries})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)

# Not the compiler's own linker: it signs for one of the processors only.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
set(CMAKE_CXX_LINK_EXECUTABLE
    "ld64.lld-19 -arch ${TOVRA_MACOS_PROCESSOR} -platform_version macos $ENV{MACOS_OLDEST} $ENV{MACOS_OLDEST} \
-adhoc_codesign -x <LINK_FLAGS> <OBJECTS> -o <TARGET> <LINK_LIBRARIES> \
-F ${CMAKE_CURRENT_LIST_DIR}/../../scripts/macos \
${libraries}/lib/libc++.a ${libraries}/lib/libc++abi.a ${libraries}/lib/libcompiler_rt.a \
${libraries}/lib/libSystem.tbd")
