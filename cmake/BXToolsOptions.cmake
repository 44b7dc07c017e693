# What holds for every target: language level, output folders, warnings, sanitizers, installed paths.

include( CMakeDependentOption )

option( BXTOOLS_BUILD_TESTS "Build the test programs" ON )
option( BXTOOLS_BUILD_TOOLS "Build bxtool, its tests and the examples" ON )
option( BXTOOLS_BUILD_BENCH "Build the bench program" OFF )
option( BXTOOLS_BUILD_FUZZ "Build the fuzzers" OFF )
# Windows and its dialogs are the system's own there.
cmake_dependent_option( BXTOOLS_BUILD_UI "Build the display library, and with Qt 6 the window system" ON "NOT WIN32" OFF )
set( BXTOOLS_SANITIZE "" CACHE STRING "Sanitizers for -fsanitize=, for example address,undefined" )
set( BXTOOLS_WINDOWS_DIR "${CMAKE_INSTALL_FULL_SYSCONFDIR}/bxtools" CACHE PATH "What PATH_WINDOWS_DIR names on Linux" )
set( BXTOOLS_SYSTEM_DIR "${CMAKE_INSTALL_FULL_LIBDIR}/bxtools" CACHE PATH "What PATH_SYSTEM_DIR names on Linux" )

if( NOT CMAKE_BUILD_TYPE )
    set( CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE )
endif()
set( CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG" )
set( CMAKE_C_FLAGS_RELEASE "-O2 -DNDEBUG" )

set( CMAKE_CXX_STANDARD 20 )
set( CMAKE_CXX_STANDARD_REQUIRED ON )
set( CMAKE_CXX_EXTENSIONS OFF )
set( CMAKE_C_STANDARD 11 )
set( CMAKE_C_STANDARD_REQUIRED ON )
set( CMAKE_C_EXTENSIONS OFF )
set( CMAKE_EXPORT_COMPILE_COMMANDS ON )

# The two libraries lie in one folder and find each other there, wherever that folder is moved to.
set( CMAKE_LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib" )
set( CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib" )
set( CMAKE_BUILD_RPATH_USE_ORIGIN ON )
if( WIN32 )
    # A program finds its DLLs beside itself and nowhere else, so all of them share one folder.
    set( CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin" )
endif()

# Precompiled headers and a compiler cache do not go together; either saves about the same.
if( NOT CMAKE_CXX_COMPILER_LAUNCHER )
    set( BXTOOLS_PRECOMPILE ON )
endif()

set( THREADS_PREFER_PTHREAD_FLAG ON )
find_package( Threads REQUIRED )

# Warnings for our own targets only, never for what is built from elsewhere.
add_library( bxtools_warnings INTERFACE )
target_compile_options( bxtools_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion )
if( CMAKE_CXX_COMPILER_ID MATCHES "Clang" )
    target_compile_options( bxtools_warnings INTERFACE -Wthread-safety )
endif()

if( BXTOOLS_SANITIZE )
    add_compile_options( -fsanitize=${BXTOOLS_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer )
    add_link_options( -fsanitize=${BXTOOLS_SANITIZE} )
    if( BXTOOLS_SANITIZE MATCHES "thread" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU" )
        # It says that it does not follow fences. Those here order words that processes share, which it cannot see anyway.
        add_compile_options( $<$<COMPILE_LANGUAGE:CXX>:-Wno-tsan> )
    endif()
endif()

if( WIN32 )
    # Exceptions cross the boundary of the libraries, so the compiler's own libraries are shared, too; they travel with ours.
    include( BXToolsMingw )
endif()
