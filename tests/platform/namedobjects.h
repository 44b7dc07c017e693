// Objects by their names, and the files that they stand in; short forms for tests.
#pragma once

#include <bxtools/platform.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

constexpr DWORD LONG_TIME = 10000;

inline HANDLE MakeEvent( const std::string& strName, BOOL fSet = FALSE )
{
    return CreateEventA( NULL, FALSE, fSet, strName.c_str() );
}

inline HANDLE MakeMutex( const std::string& strName, BOOL fOwned = FALSE )
{
    return CreateMutexA( NULL, fOwned, strName.c_str() );
}

inline HANDLE MakeMapping( const std::string& strName, DWORD dwBytes = 5000 )
{
    return CreateFileMappingA( INVALID_HANDLE_VALUE, NULL, PAGE_READWRITE, 0, dwBytes, strName.c_str() );
}

inline char* WritableView( HANDLE hMapping )
{
    return static_cast<char*>( MapViewOfFile( hMapping, FILE_MAP_WRITE, 0, 0, 0 ) );
}

// One life of an object of each kind, each of which must be new and usable: 0, or the number of the step that failed.
inline int LiveOnce( const std::string& strName )
{
    const HANDLE hMutex = MakeMutex( strName + "m" );
    if ( hMutex == NULL || GetLastError() != 0 )
        return 1;
    if ( WaitForSingleObject( hMutex, LONG_TIME ) != WAIT_OBJECT_0 || !ReleaseMutex( hMutex ) ||
         !CloseHandle( hMutex ) )
        return 2;
    const HANDLE hEvent = MakeEvent( strName + "e" );
    if ( hEvent == NULL || GetLastError() != 0 || WaitForSingleObject( hEvent, 0 ) != WAIT_TIMEOUT )
        return 3;
    if ( !SetEvent( hEvent ) || WaitForSingleObject( hEvent, 0 ) != WAIT_OBJECT_0 || !CloseHandle( hEvent ) )
        return 4;
    const HANDLE hMapping = MakeMapping( strName + "p" );
    if ( hMapping == NULL || GetLastError() != 0 )
        return 5;
    char* const pView = WritableView( hMapping );
    if ( pView == NULL || pView[0] != 0 )
        return 6;
    pView[0] = 'x';
    return UnmapViewOfFile( pView ) && CloseHandle( hMapping ) ? 0 : 7;
}

inline std::string ObjectFolder()
{
    return std::getenv( "BXTOOLS_OBJECT_DIR" );
}

// Objects and bells alike.
inline std::vector<std::string> ObjectFiles()
{
    std::vector<std::string> aNames;
    for ( const auto& rEntry : std::filesystem::directory_iterator( ObjectFolder() ) )
    {
        const std::string strName = rEntry.path().filename();
        if ( strName.starts_with( "object-" ) || strName.find( "bell-" ) != std::string::npos )
            aNames.push_back( strName );
    }
    return aNames;
}
