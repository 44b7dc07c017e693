# The compiler's shared libraries, copied beside our DLLs as part of every Windows build.

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
                        COMMAND ${CMAKE_COMMAND} -E copy "${dll}" "${copy}" VERBATIM )
    list( APPEND copies "${copy}" )
endforeach()
add_custom_target( compiler_dlls ALL DEPENDS ${copies} )

if( NOT CMAKE_CROSSCOMPILING_EMULATOR AND CMAKE_CROSSCOMPILING )
    set( CMAKE_CROSSCOMPILING_EMULATOR "${PROJECT_SOURCE_DIR}/scripts/lib/under-wine" "${PROJECT_BINARY_DIR}/wine" )
endif()
