# What only the Windows build has: the compiler's shared libraries, copied beside our DLLs without what debuggers want of them,
# which is nine tenths of their size, and lists of what our DLLs export.

# No NOMINMAX, no WIN32_LEAN_AND_MEAN: wintypes.h alone decides how <windows.h> is taken.
add_compile_definitions( _WIN32_WINNT=0x0601 )

set( BXTOOLS_COMPILER_DLLS "" )
foreach( pattern libstdc++-6.dll libgcc_s_*.dll libwinpthread-1.dll )
    set( found "" )
    foreach( folder ${BXTOOLS_COMPILER_DLL_FOLDERS} )
        file( GLOB found "${folder}/${pattern}" )
        if( found )
            break()
        endif()
    endforeach()
    if( NOT found )
        message( FATAL_ERROR "${pattern} of the cross compiler was not found in ${BXTOOLS_COMPILER_DLL_FOLDERS}" )
    endif()
    list( APPEND BXTOOLS_COMPILER_DLLS ${found} )
endforeach()

set( copies "" )
foreach( dll ${BXTOOLS_COMPILER_DLLS} )
    cmake_path( GET dll FILENAME name )
    set( copy "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name}" )
    add_custom_command( OUTPUT "${copy}" DEPENDS "${dll}"
                        COMMAND ${CMAKE_STRIP} -o "${copy}" "${dll}" VERBATIM )
    list( APPEND copies "${copy}" )
endforeach()
add_custom_target( compiler_dlls ALL DEPENDS ${copies} )
set( BXTOOLS_COMPILER_DLLS ${copies} )

# bxtools_list_exports( <name> ): lib/<NAME>.def beside the import library, for linkers that make their own of it.
function( bxtools_list_exports name )
    string( TOUPPER ${name} upper )
    set( linked "${PROJECT_BINARY_DIR}/CMakeFiles/${upper}.def" )
    set( written "${CMAKE_ARCHIVE_OUTPUT_DIRECTORY}/${upper}.def" )
    target_link_options( ${name} PRIVATE "-Wl,--output-def,${linked}" )
    add_custom_command( TARGET ${name} POST_BUILD BYPRODUCTS "${written}"
                        COMMAND ${CMAKE_COMMAND} -D LINKED=${linked} -D LIBRARY=${upper}.DLL -D WRITTEN=${written}
                                -P "${PROJECT_SOURCE_DIR}/cmake/exports_def.cmake" VERBATIM )
    install( FILES "${written}" DESTINATION "${CMAKE_INSTALL_LIBDIR}" )
endfunction()

if( NOT CMAKE_CROSSCOMPILING_EMULATOR AND CMAKE_CROSSCOMPILING )
    set( CMAKE_CROSSCOMPILING_EMULATOR "${PROJECT_SOURCE_DIR}/scripts/lib/under-wine" "${PROJECT_BINARY_DIR}/wine" )
endif()
