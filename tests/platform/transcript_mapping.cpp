// Shared memory.

#include "platform/transcript.h"

#include <algorithm>
#include <cstring>

namespace
{
constexpr char NAME[] = "bxtools mapping";
constexpr DWORD BYTES = 100000; // 25 pages hold 102,400

HANDLE Make( DWORD dwBytes, const char* pName = NAME, DWORD dwProtect = PAGE_READWRITE )
{
    SetLastError( UNTOUCHED );
    return CreateFileMappingA( INVALID_HANDLE_VALUE, NULL, dwProtect, 0, dwBytes, pName );
}

char* View( HANDLE hMapping, DWORD dwAccess, DWORD dwOffset = 0, SIZE_T nBytes = 0 )
{
    return static_cast<char*>( MapViewOfFile( hMapping, dwAccess, 0, dwOffset, nBytes ) );
}

void SayView( const char* pName, HANDLE hMapping, DWORD dwAccess, DWORD dwOffset = 0, SIZE_T nBytes = 0 )
{
    const char* const pView = View( hMapping, dwAccess, dwOffset, nBytes );
    SayOutcome( pName, pView != NULL );
    UnmapViewOfFile( pView );
}

void SayMemory( const std::string& rPrefix, const char* pObject )
{
    const HANDLE hMapping = Make( BYTES, pObject );
    char* const pWrite = View( hMapping, FILE_MAP_WRITE );
    SayNumber( rPrefix + "zero at first",
               std::all_of( pWrite, pWrite + BYTES, []( char c ) { return c == 0; } ) );
    char* const pRead = View( hMapping, FILE_MAP_READ );
    std::strcpy( pWrite + 65536, "written" );
    Say( rPrefix + "coherent", "%s, %d", pRead + 65536, pRead != pWrite );
    char* const pPart = View( hMapping, FILE_MAP_ALL_ACCESS, 65536, 100 );
    Say( rPrefix + "offset", "%s", pPart );
    CloseHandle( hMapping );
    pWrite[65536] = 'W';
    Say( rPrefix + "after the handle was closed", "%s", pRead + 65536 );
    for ( const char* const pView : { pWrite, pRead, pPart } )
        UnmapViewOfFile( pView );
}

void SaySizes()
{
    const HANDLE hMapping = Make( BYTES );
    SayMade( "new", hMapping );
    const HANDLE hAgain = Make( 10 * BYTES );
    SayMade( "with another size", hAgain );
    SayView( "rounded up to pages", hAgain, FILE_MAP_WRITE, 0, 102400 );
    SayView( "one byte more", hAgain, FILE_MAP_WRITE, 0, 102401 );
    SayView( "from an offset, rounded up", hAgain, FILE_MAP_WRITE, 65536, 102400 - 65536 );
    SayView( "from an offset, one byte more", hAgain, FILE_MAP_WRITE, 65536, 102400 - 65536 + 1 );
    SayView( "offset not aligned", hAgain, FILE_MAP_WRITE, 4096 );
    SayView( "offset behind the end", hAgain, FILE_MAP_WRITE, 131072 );
    SayView( "offset behind the end, one byte", hAgain, FILE_MAP_WRITE, 131072, 1 );
    CloseHandle( hMapping );
    const HANDLE hThird = Make( 10 * BYTES );
    SayMade( "while one handle is left", hThird );
    CloseHandle( hAgain );
    CloseHandle( hThird );
    SayMade( "size 0", Make( 0 ) );
    SayMade( "protection 0", Make( BYTES, NULL, 0 ) );
}

void SayNames()
{
    const HANDLE hMapping = Make( BYTES, "bxtools gone" );
    char* const pView = View( hMapping, FILE_MAP_WRITE );
    pView[0] = 'x';
    CloseHandle( hMapping );
    SayOutcome( "open after the last handle", OpenFileMappingA( FILE_MAP_READ, FALSE, "bxtools gone" ) );
    const HANDLE hAnew = Make( 2 * BYTES, "bxtools gone" );
    SayMade( "anew while a view stands", hAnew );
    char* const pAnew = View( hAnew, FILE_MAP_READ, 0, 2 * BYTES );
    Say( "old and new", "%d %d", pView[0], pAnew[0] );
    UnmapViewOfFile( pView );
    UnmapViewOfFile( pAnew );
    SayOutcome( "open null", OpenFileMappingA( FILE_MAP_READ, FALSE, NULL ) );
    SayOutcome( "open missing", OpenFileMappingA( FILE_MAP_READ, FALSE, "bxtools missing" ) );
    SayOutcome( "as an event", CreateEventA( NULL, FALSE, FALSE, "bxtools gone" ) );
    SayWait( "wait", hAnew );
    CloseHandle( hAnew );
}

void SayRights()
{
    const HANDLE hReadOnly = Make( BYTES, "bxtools read", PAGE_READONLY );
    SayView( "read a read-only one", hReadOnly, FILE_MAP_READ );
    SayView( "write a read-only one", hReadOnly, FILE_MAP_WRITE );
    const HANDLE hOther = OpenFileMappingA( FILE_MAP_WRITE, FALSE, "bxtools read" );
    SayView( "write a read-only one, opened to write", hOther, FILE_MAP_WRITE );
    CloseHandle( hReadOnly );
    CloseHandle( hOther );
    const HANDLE hMapping = Make( BYTES );
    const HANDLE hRead = OpenFileMappingA( FILE_MAP_READ, FALSE, NAME );
    SayView( "read, opened to read", hRead, FILE_MAP_READ );
    SayView( "write, opened to read", hRead, FILE_MAP_WRITE );
    const HANDLE hWrite = OpenFileMappingA( FILE_MAP_WRITE, FALSE, NAME );
    SayView( "write, opened to write", hWrite, FILE_MAP_WRITE );
    SayView( "read, opened to write", hWrite, FILE_MAP_READ );
    const HANDLE hAgain = Make( BYTES, NAME, PAGE_READONLY );
    SayView( "write, made again to read", hAgain, FILE_MAP_WRITE );
    for ( const HANDLE hHandle : { hMapping, hRead, hWrite, hAgain } )
        CloseHandle( hHandle );
}

void SayUnmap()
{
    const HANDLE hMapping = Make( BYTES, NULL );
    char* const pView = View( hMapping, FILE_MAP_WRITE );
    SayOutcome( "unmap", UnmapViewOfFile( pView ) );
    SayOutcome( "unmap twice", UnmapViewOfFile( pView ) );
    SayOutcome( "unmap null", UnmapViewOfFile( NULL ) );
    int nForeign = 0;
    SayOutcome( "unmap what is no view", UnmapViewOfFile( &nForeign ) );
    SayView( "view of null", NULL, FILE_MAP_READ );
    CloseHandle( hMapping );
    SayView( "view of a closed one", hMapping, FILE_MAP_READ );
    const HANDLE hEvent = CreateEventA( NULL, FALSE, FALSE, NULL );
    SayView( "view of an event", hEvent, FILE_MAP_READ );
    CloseHandle( hEvent );
}

// Memory without room, which is asked for page by page.
void SayReserved()
{
    const HANDLE hMapping = Make( BYTES, NULL, PAGE_READWRITE | SEC_RESERVE );
    char* const pView = View( hMapping, FILE_MAP_WRITE );
    SayOutcome( "room for a byte", VirtualAlloc( pView, 1, MEM_COMMIT, PAGE_READWRITE ) );
    std::strcpy( pView + 4000, "kept" );
    SayNumber( "room is where it was asked for",
               VirtualAlloc( pView, BYTES, MEM_COMMIT, PAGE_READWRITE ) == pView );
    Say( "what was there stays, what comes is zero", "%s %d", pView + 4000, pView[BYTES - 1] );
    SayOutcome( "room that is there already", VirtualAlloc( pView, BYTES, MEM_COMMIT, PAGE_READWRITE ) );
    SayOutcome( "room beyond the view", VirtualAlloc( pView, 2 * BYTES, MEM_COMMIT, PAGE_READWRITE ) );
    SayOutcome( "room for nothing", VirtualAlloc( pView, 0, MEM_COMMIT, PAGE_READWRITE ) );
    SayOutcome( "room of no kind", VirtualAlloc( pView, 1, MEM_COMMIT, 0 ) );
    UnmapViewOfFile( pView );
    CloseHandle( hMapping );
}
} // namespace

int main()
{
    SayMemory( "", NULL );
    SayMemory( "named, ", NAME );
    SaySizes();
    SayNames();
    SayRights();
    SayUnmap();
    SayReserved();
    return 0;
}
