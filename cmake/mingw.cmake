# What the two mingw-w64 toolchains have in common. The -posix compilers, because their exceptions and libraries are
# the ones that Debian ships as shared DLLs together with winpthread.
set( CMAKE_SYSTEM_NAME Windows )
set( CMAKE_C_COMPILER ${BXTOOLS_MINGW_TRIPLE}-gcc-posix )
set( CMAKE_CXX_COMPILER ${BXTOOLS_MINGW_TRIPLE}-g++-posix )
set( CMAKE_RC_COMPILER ${BXTOOLS_MINGW_TRIPLE}-windres )
set( CMAKE_FIND_ROOT_PATH /usr/${BXTOOLS_MINGW_TRIPLE} )
set( CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER )
set( CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY )
set( CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY )
set( CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY )

file( GLOB BXTOOLS_COMPILER_DLL_FOLDERS /usr/lib/gcc/${BXTOOLS_MINGW_TRIPLE}/*-posix )
list( APPEND BXTOOLS_COMPILER_DLL_FOLDERS /usr/${BXTOOLS_MINGW_TRIPLE}/lib )
