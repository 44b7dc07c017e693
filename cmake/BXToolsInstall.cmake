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
if( WIN32 )
    install( FILES ${BXTOOLS_COMPILER_DLLS} DESTINATION "${CMAKE_INSTALL_BINDIR}" )
endif()

install( EXPORT BXToolsTargets NAMESPACE BXTools:: FILE BXToolsConfig.cmake DESTINATION "${package_folder}" )
write_basic_package_version_file( BXToolsConfigVersion.cmake COMPATIBILITY SameMajorVersion )
install( FILES "${PROJECT_BINARY_DIR}/BXToolsConfigVersion.cmake" DESTINATION "${package_folder}" )
