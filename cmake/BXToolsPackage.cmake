# What cpack makes of an installation: one folder that needs nothing from elsewhere, as .zip for Windows and as .tar.gz for
# Linux. It packs what is built; it builds nothing itself.

if( WIN32 )
    math( EXPR bits "8 * ${CMAKE_SIZEOF_VOID_P}" )
    set( CPACK_GENERATOR ZIP )
    set( CPACK_SYSTEM_NAME "win${bits}" )
else()
    set( CPACK_GENERATOR TGZ )
    string( TOLOWER "${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR}" CPACK_SYSTEM_NAME )
endif()
set( CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/package" )
set( CPACK_STRIP_FILES ON )
set( CPACK_VERBATIM_VARIABLES ON )
include( CPack )
