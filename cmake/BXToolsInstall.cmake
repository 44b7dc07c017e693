# What an installation holds: the two libraries, the public headers, the documents, and a package for callers that use CMake:
# find_package( BXTools ) and BXTools::bxtools. Folders that build what is installed besides say so themselves.

include( CMakePackageConfigHelpers )

set( package_folder "${CMAKE_INSTALL_LIBDIR}/cmake/BXTools" )
install( TARGETS bxtools bxruntime EXPORT BXToolsTargets
         LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
         ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
         RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" )
install( DIRECTORY include/bxtools DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" FILES_MATCHING PATTERN "*.h" )
install( FILES README.md CHANGELOG.md DESTINATION "${CMAKE_INSTALL_DOCDIR}" )
install( DIRECTORY docs DESTINATION "${CMAKE_INSTALL_DOCDIR}" FILES_MATCHING PATTERN "*.md" PATTERN "*.png" )

# bxtools_install_licence( <name> <package> ): the terms of what others wrote and an installation holds, as the package of
# Debian that it is from has them.
function( bxtools_install_licence name package )
    set( text "/usr/share/doc/${package}/copyright" )
    if( EXISTS "${text}" )
        install( FILES "${text}" DESTINATION "${CMAKE_INSTALL_DOCDIR}/licences" RENAME "${name}.txt" )
    endif()
endfunction()

if( WIN32 )
    install( FILES ${BXTOOLS_COMPILER_DLLS} DESTINATION "${CMAKE_INSTALL_BINDIR}" )
    bxtools_install_licence( gcc gcc-mingw-w64-base )
    bxtools_install_licence( mingw-w64 mingw-w64-common )
endif()
if( BXTOOLS_BUILD_TOOLS )
    # Both are compiled into bxtool.
    bxtools_install_licence( cli11 libcli11-dev )
    bxtools_install_licence( json nlohmann-json3-dev )
endif()

install( EXPORT BXToolsTargets NAMESPACE BXTools:: FILE BXToolsConfig.cmake DESTINATION "${package_folder}" )
write_basic_package_version_file( BXToolsConfigVersion.cmake COMPATIBILITY SameMajorVersion )
install( FILES "${PROJECT_BINARY_DIR}/BXToolsConfigVersion.cmake" DESTINATION "${package_folder}" )
