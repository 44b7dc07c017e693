# The test programs. They are compiled without optimisation, which takes a fraction of the time, and spares them what g++ 12
# says of optimised strings out of precompiled headers. The library itself is compiled as ever.

include( GoogleTest )

set( BXTOOLS_TEST_OPTIONS -O0 )
# Wine takes seconds to start a process while it is busy, and some tests start ten.
if( BXTOOLS_SANITIZE OR WIN32 )
    set( BXTOOLS_TEST_TIMEOUT 120 )
else()
    set( BXTOOLS_TEST_TIMEOUT 30 )
endif()

if( WIN32 )
    # What tests there are is asked when they are run: a build alone needs no Wine.
    set( CMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE PRE_TEST )
endif()

# bxtools_add_test_support( SOURCES <file>... ): target test_support, what the test programs share.
function( bxtools_add_test_support )
    cmake_parse_arguments( PARSE_ARGV 0 arg "" "" "SOURCES" )
    add_library( test_support STATIC ${arg_SOURCES} )
    target_link_libraries( test_support PUBLIC GTest::gtest PRIVATE bxtools_warnings )
    target_include_directories( test_support PUBLIC "${PROJECT_SOURCE_DIR}/include" "${PROJECT_SOURCE_DIR}/tests" )
    target_compile_definitions( test_support PUBLIC BXTOOLS_SANITIZE="${BXTOOLS_SANITIZE}" )
    target_compile_options( test_support PRIVATE ${BXTOOLS_TEST_OPTIONS} )
    if( BXTOOLS_PRECOMPILE )
        target_precompile_headers( test_support PRIVATE <gtest/gtest.h> <bxtools/wintypes.h> )
    endif()
endfunction()

# What test programs have in common with test_support, the headers that it has precompiled among it.
function( bxtools_set_up_test_target program )
    target_compile_options( ${program} PRIVATE ${BXTOOLS_TEST_OPTIONS} )
    if( BXTOOLS_PRECOMPILE )
        target_precompile_headers( ${program} REUSE_FROM test_support )
        get_target_property( sources ${program} SOURCES )
        list( FILTER sources INCLUDE REGEX "[.]c$" )
        set_source_files_properties( ${sources} PROPERTIES SKIP_PRECOMPILE_HEADERS ON )
    endif()
endfunction()

# bxtools_add_test( <subsystem> [API | RUNTIME | LOADED] SOURCES <file>... )
#
# Program test_<subsystem>; each test in it is a process of its own for ctest, with a time limit. It reaches everything
# in the library; with API it sees what a caller sees, and with RUNTIME everything in the run-time library instead. With
# LOADED it has no library but what it loads itself: BXTOOLS_LIBRARY names the file. With ALONE no other test runs beside its
# tests on Windows, where all share one switch of the debug messages and one registry.
function( bxtools_add_test subsystem )
    cmake_parse_arguments( PARSE_ARGV 1 arg "API;RUNTIME;LOADED;ALONE" "" "SOURCES" )
    if( NOT arg_SOURCES )
        return()
    endif()
    set( program test_${subsystem} )
    if( arg_API )
        set( library bxtools bxruntime )
    elseif( arg_RUNTIME )
        set( library bxruntime_inspect )
    elseif( arg_LOADED )
        set( library Threads::Threads ${CMAKE_DL_LIBS} )
    else()
        set( library bxtools_inspect )
    endif()
    bxtools_add_program( ${program} SOURCES ${arg_SOURCES} LINK test_support ${library} )
    bxtools_set_up_test_target( ${program} )
    if( arg_LOADED )
        add_dependencies( ${program} bxtools )
        target_compile_definitions( ${program} PRIVATE
            BXTOOLS_LIBRARY="$<IF:$<BOOL:${WIN32}>,$<TARGET_FILE_NAME:bxtools>,$<TARGET_FILE:bxtools>>" )
    endif()
    set( alone FALSE )
    if( arg_ALONE AND WIN32 )
        set( alone TRUE )
    endif()
    gtest_discover_tests( ${program} DISCOVERY_TIMEOUT 60 TEST_FILTER "${BXTOOLS_TEST_FILTER}"
                          PROPERTIES TIMEOUT ${BXTOOLS_TEST_TIMEOUT} LABELS ${subsystem} RUN_SERIAL ${alone} )
endfunction()

# The tests that a list file "<Suite.Name> - <reason>" takes out on this system, as a GoogleTest filter. Files of tests that it
# lists are not in the build.
function( bxtools_read_test_filter file result )
    set_property( DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${file}" )
    file( STRINGS "${file}" lines REGEX "^[^#/ ]+ - " )
    set( filter "" )
    foreach( line ${lines} )
        string( REGEX REPLACE " - .*" "" test "${line}" )
        string( APPEND filter ":${test}" )
    endforeach()
    string( REGEX REPLACE "^:" "-" filter "${filter}" )
    set( ${result} "${filter}" PARENT_SCOPE )
endfunction()
