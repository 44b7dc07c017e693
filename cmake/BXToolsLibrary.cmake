# bxtools_add_library( <name> BUILD_MACRO <macro> [SOVERSION <number>] [LINK <target>...] [LINK_PUBLIC <target>...] )
#
# One library in three forms, made from one set of objects:
#   <name>_objects  all its code; folders add their files to it with target_sources
#   <name>          the library as shipped: exports what is marked for export, nothing else
#   <name>_inspect  the same objects with everything reachable, for tests of what is not exported
function( bxtools_add_library name )
    cmake_parse_arguments( PARSE_ARGV 1 arg "" "BUILD_MACRO;SOVERSION" "LINK;LINK_PUBLIC" )

    add_library( ${name}_objects OBJECT )
    set_target_properties( ${name}_objects PROPERTIES
                           POSITION_INDEPENDENT_CODE ON
                           CXX_VISIBILITY_PRESET hidden
                           C_VISIBILITY_PRESET hidden
                           VISIBILITY_INLINES_HIDDEN ON )
    target_compile_definitions( ${name}_objects PRIVATE ${arg_BUILD_MACRO} BXTOOLS_VERSION="${PROJECT_VERSION}" )
    target_include_directories( ${name}_objects PRIVATE "${PROJECT_SOURCE_DIR}" "${PROJECT_SOURCE_DIR}/include" )
    target_link_libraries( ${name}_objects PRIVATE bxtools_warnings ${arg_LINK} ${arg_LINK_PUBLIC} )
    if( NOT WIN32 )
        # As the link below binds the library's calls to itself, the compiler may inline them; clang does so unasked.
        target_compile_options( ${name}_objects PRIVATE -fno-semantic-interposition )
    endif()
    if( CMAKE_CXX_COMPILER_ID MATCHES "Clang" )
        # Nothing may run before main but the library's one global object, which says so itself.
        target_compile_options( ${name}_objects PRIVATE -Wglobal-constructors )
    endif()

    if( WIN32 AND BXTOOLS_PRECOMPILE )
        # <windows.h> takes longer than most of what includes it.
        target_precompile_headers( ${name}_objects PRIVATE <bxtools/wintypes.h> )
    endif()

    add_library( ${name} SHARED )
    bxtools_finish_shared( ${name} ${name} LINK ${arg_LINK} LINK_PUBLIC ${arg_LINK_PUBLIC} )
    if( WIN32 )
        bxtools_list_exports( ${name} )
    endif()
    if( arg_SOVERSION )
        set_target_properties( ${name} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${arg_SOVERSION} )
    endif()
    if( WIN32 )
        add_library( ${name}_inspect SHARED )
        bxtools_finish_shared( ${name}_inspect ${name} LINK ${arg_LINK} LINK_PUBLIC ${arg_LINK_PUBLIC} )
        target_link_options( ${name}_inspect PRIVATE -Wl,--export-all-symbols )
        if( CMAKE_SIZEOF_VOID_P EQUAL 8 AND name STREQUAL "bxtools" )
            target_sources( ${name}_inspect PRIVATE "${PROJECT_SOURCE_DIR}/cmake/entry_point.def" )
        endif()
        target_include_directories( ${name}_inspect INTERFACE "${PROJECT_SOURCE_DIR}" )
    else()
        add_library( ${name}_inspect INTERFACE )
        target_link_libraries( ${name}_inspect INTERFACE $<TARGET_OBJECTS:${name}_objects>
                               ${arg_LINK} ${arg_LINK_PUBLIC} )
        target_include_directories( ${name}_inspect INTERFACE "${PROJECT_SOURCE_DIR}" "${PROJECT_SOURCE_DIR}/include" )
    endif()
endfunction()

# A shared library from the objects of <base>: its name on either system, and a link that leaves nothing open.
function( bxtools_finish_shared name base )
    cmake_parse_arguments( PARSE_ARGV 2 arg "" "" "LINK;LINK_PUBLIC" )
    string( TOUPPER ${name} upper )
    target_sources( ${name} PRIVATE $<TARGET_OBJECTS:${base}_objects> )
    target_include_directories( ${name} INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
                                                  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}> )
    target_link_libraries( ${name} PRIVATE ${arg_LINK} PUBLIC ${arg_LINK_PUBLIC} )
    target_compile_features( ${name} INTERFACE cxx_std_20 )
    set_target_properties( ${name} PROPERTIES LINKER_LANGUAGE CXX )
    if( WIN32 )
        set_target_properties( ${name} PROPERTIES PREFIX "" SUFFIX ".DLL" RUNTIME_OUTPUT_NAME ${upper} )
        if( CMAKE_SIZEOF_VOID_P EQUAL 4 AND name STREQUAL "bxtools" )
            target_sources( ${name} PRIVATE "${PROJECT_SOURCE_DIR}/cmake/plain_names.def" )
        endif()
        add_dependencies( ${name} compiler_dlls )
        return()
    endif()
    set( script "${PROJECT_SOURCE_DIR}/cmake/exports.map" )
    # Calls among the library's own exported functions go straight there, past the loader's tables.
    target_link_options( ${name} PRIVATE -Wl,--version-script=${script} -Wl,-z,now -Wl,-z,relro
                                         -Wl,-Bsymbolic-functions )
    if( NOT BXTOOLS_SANITIZE )
        # A sanitizer's own names come from the program.
        target_link_options( ${name} PRIVATE -Wl,--no-undefined )
    endif()
    set_target_properties( ${name} PROPERTIES LINK_DEPENDS "${script}"
                           INSTALL_RPATH "$ORIGIN" BUILD_WITH_INSTALL_RPATH ON )
endfunction()

# bxtools_twin_sources( <target> <stem>... ): what has no common form on the two systems, <stem>_posix.cpp and
# <stem>_windows.cpp of one shape, of which the build takes one.
function( bxtools_twin_sources target )
    if( WIN32 )
        set( system windows )
    else()
        set( system posix )
    endif()
    foreach( stem ${ARGN} )
        target_sources( ${target} PRIVATE ${stem}_${system}.cpp )
    endforeach()
endfunction()

# A library whose folders list no file yet still links.
function( bxtools_fill_empty_targets )
    foreach( name ${ARGN} )
        get_target_property( sources ${name}_objects SOURCES )
        if( NOT sources )
            file( WRITE "${PROJECT_BINARY_DIR}/empty_${name}.cpp" "" )
            target_sources( ${name}_objects PRIVATE "${PROJECT_BINARY_DIR}/empty_${name}.cpp" )
        endif()
    endforeach()
endfunction()
