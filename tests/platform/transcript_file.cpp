// Files: opening, sharing, reading and writing, ranges, duplicates, deleting and renaming.

#include "platform/transcript.h"
#include "support/scratchfolder.h"

#include <filesystem>
#include <string>

namespace
{
std::string g_strFolder;

std::string PathOf( const char* pName )
{
    return g_strFolder + "/" + pName;
}

std::string MakeFile( const char* pName, const char* pText = "0123456789" )
{
    WriteBytes( PathOf( pName ), pText );
    return PathOf( pName );
}

HANDLE Open( const std::string& strPath, DWORD dwAccess, DWORD dwShare, DWORD dwDisposition = OPEN_EXISTING )
{
    SetLastError( UNTOUCHED );
    return CreateFileA( strPath.c_str(), dwAccess, dwShare, NULL, dwDisposition, FILE_ATTRIBUTE_NORMAL,
                        NULL );
}

HANDLE OpenForAll( const std::string& strPath )
{
    return Open( strPath, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE );
}

// A failure, or success with the last error, which opening sets. The handle is closed.
void SayOpening( const char* pName, HANDLE hFile )
{
    const DWORD dwError = GetLastError();
    Say( pName, "%s %u", hFile != INVALID_HANDLE_VALUE ? "ok" : "failed", static_cast<unsigned>( dwError ) );
    if ( hFile != INVALID_HANDLE_VALUE )
        CloseHandle( hFile );
}

void SayDispositions()
{
    constexpr DWORD BOTH = GENERIC_READ | GENERIC_WRITE;
    const struct
    {
        const char* pName;
        const char* pFile;
        DWORD dwAccess;
        DWORD dwDisposition;
    } aCases[] = {
        { "missing", "none", GENERIC_READ, OPEN_EXISTING },
        { "missing, nothing wanted", "none", 0, OPEN_EXISTING },
        { "missing, to be emptied", "none", GENERIC_WRITE, TRUNCATE_EXISTING },
        { "missing folder", "none/none", GENERIC_READ, OPEN_EXISTING },
        { "missing folder, new file", "none/none", GENERIC_WRITE, CREATE_ALWAYS },
        { "file used as folder", "old/none", GENERIC_READ, OPEN_EXISTING },
        { "file with a separator", "old/", GENERIC_READ, OPEN_EXISTING },
        { "new file with a separator", "none/", GENERIC_WRITE, CREATE_ALWAYS },
        { "star", "o*", GENERIC_READ, OPEN_EXISTING },
        { "question mark, new file", "ol?", GENERIC_WRITE, CREATE_ALWAYS },
        { "folder", "folder", GENERIC_READ, OPEN_EXISTING },
        { "folder, create always", "folder", GENERIC_WRITE, CREATE_ALWAYS },
        { "folder, create new", "folder", GENERIC_WRITE, CREATE_NEW },
        { "disposition 0", "old", GENERIC_READ, 0 },
        { "disposition 6", "old", GENERIC_READ, 6 },
        { "open existing", "old", BOTH, OPEN_EXISTING },
        { "open always, there", "old", BOTH, OPEN_ALWAYS },
        { "open always, new", "new1", BOTH, OPEN_ALWAYS },
        { "open always for reading, new", "new2", GENERIC_READ, OPEN_ALWAYS },
        { "open always for nothing, new", "new3", 0, OPEN_ALWAYS },
        { "create new", "new4", BOTH, CREATE_NEW },
        { "create new, there", "new4", BOTH, CREATE_NEW },
        { "create always, new", "new5", GENERIC_WRITE, CREATE_ALWAYS },
        { "create always, there", "old", GENERIC_WRITE, CREATE_ALWAYS },
        { "truncate", "old", GENERIC_WRITE, TRUNCATE_EXISTING },
    };
    MakeFile( "old" );
    std::filesystem::create_directory( PathOf( "folder" ) );
    for ( const auto& rCase : aCases )
        SayOpening( rCase.pName, Open( PathOf( rCase.pFile ), rCase.dwAccess, 0, rCase.dwDisposition ) );
    SayOpening( "empty name", Open( "", GENERIC_READ, 0 ) );
    SayOpening( "too long a name", Open( PathOf( std::string( 5000, 'a' ).c_str() ), GENERIC_READ, 0 ) );
    SayOpening( "a piece too long", Open( PathOf( std::string( 300, 'a' ).c_str() ), GENERIC_READ, 0 ) );
    SayOpening( "emptied through reading", Open( MakeFile( "old" ), GENERIC_READ, 0, CREATE_ALWAYS ) );
    SayNumber( "size then", std::filesystem::file_size( PathOf( "old" ) ) );
    SayOpening( "emptied through nothing", Open( MakeFile( "old" ), 0, 0, CREATE_ALWAYS ) );
    SayNumber( "size after nothing", std::filesystem::file_size( PathOf( "old" ) ) );
}

// Every way to open a file against every way: which second openings a first one allows.
void SayShares()
{
    const std::string strPath = MakeFile( "shared" );
    constexpr DWORD ACCESSES[] = { 0, GENERIC_READ, GENERIC_WRITE, GENERIC_READ | GENERIC_WRITE };
    for ( unsigned uFirst = 0; uFirst < 16; ++uFirst )
    {
        const HANDLE hFirst = Open( strPath, ACCESSES[uFirst / 4], uFirst % 4 );
        std::string strAllowed;
        for ( unsigned uSecond = 0; uSecond < 16; ++uSecond )
        {
            const HANDLE hSecond = Open( strPath, ACCESSES[uSecond / 4], uSecond % 4 );
            strAllowed += hSecond != INVALID_HANDLE_VALUE             ? '+'
                          : GetLastError() == ERROR_SHARING_VIOLATION ? '-'
                                                                      : '?';
            CloseHandle( hSecond );
        }
        Say( "access " + std::to_string( uFirst / 4 ) + ", share " + std::to_string( uFirst % 4 ), "%s",
             strAllowed.c_str() );
        SayOutcome( "delete beside " + std::to_string( uFirst ),
                    uFirst < 4 || DeleteFileA( strPath.c_str() ) );
        CloseHandle( hFirst );
    }

    const HANDLE hReader = Open( strPath, GENERIC_READ, FILE_SHARE_READ );
    SayOpening( "refused create always", Open( strPath, GENERIC_WRITE, 3, CREATE_ALWAYS ) );
    SayOpening( "create always through reading, beside a reader that denies writing",
                Open( strPath, GENERIC_READ, 3, CREATE_ALWAYS ) );
    SayOpening( "create always through nothing, likewise", Open( strPath, 0, 3, CREATE_ALWAYS ) );
    SayNumber( "nothing was emptied", std::filesystem::file_size( strPath ) );
    SayOpening( "another spelling", Open( g_strFolder + "\\folder/..//shared", GENERIC_WRITE, 3 ) );
    SayOutcome( "rename of an open file", MoveFileA( strPath.c_str(), PathOf( "renamed" ).c_str() ) );
    CloseHandle( hReader );
}

DWORD Seek( HANDLE hFile, LONG lDistance, DWORD dwMethod )
{
    SetLastError( UNTOUCHED );
    return SetFilePointer( hFile, lDistance, NULL, dwMethod );
}

void SaySeek( const char* pName, HANDLE hFile, LONG lDistance, DWORD dwMethod )
{
    const DWORD dwResult = Seek( hFile, lDistance, dwMethod );
    const DWORD dwError = GetLastError();
    Say( pName, "%X, last error %u, at %u", static_cast<unsigned>( dwResult ),
         static_cast<unsigned>( dwError ), static_cast<unsigned>( Seek( hFile, 0, FILE_CURRENT ) ) );
}

void SayRead( const char* pName, HANDLE hFile, DWORD dwBytes )
{
    char aBuffer[100] = "";
    DWORD dwRead = 4711;
    const BOOL fRead = ReadFile( hFile, aBuffer, dwBytes, &dwRead, NULL );
    const DWORD dwError = fRead ? 0 : GetLastError();
    Say( pName, "%d, error %u, %u bytes, %s", fRead != FALSE, static_cast<unsigned>( dwError ),
         static_cast<unsigned>( dwRead ), aBuffer );
}

void SayWrite( const char* pName, HANDLE hFile, const char* pText, DWORD dwBytes )
{
    DWORD dwWritten = 4711;
    const BOOL fWritten = WriteFile( hFile, pText, dwBytes, &dwWritten, NULL );
    const DWORD dwError = fWritten ? 0 : GetLastError();
    Say( pName, "%d, error %u, %u bytes", fWritten != FALSE, static_cast<unsigned>( dwError ),
         static_cast<unsigned>( dwWritten ) );
}

void SaySize( const char* pName, HANDLE hFile )
{
    DWORD dwHigh = 4711;
    const DWORD dwLow = GetFileSize( hFile, &dwHigh );
    Say( pName, "%u %u", static_cast<unsigned>( dwHigh ), static_cast<unsigned>( dwLow ) );
}

void SayPositions( HANDLE hFile )
{
    SaySeek( "from the beginning", hFile, 4, FILE_BEGIN );
    SayRead( "read there", hFile, 3 );
    SaySeek( "from here, back", hFile, -2, FILE_CURRENT );
    SaySeek( "from the end", hFile, -1, FILE_END );
    SayRead( "read over the end", hFile, 10 );
    SayRead( "read at the end", hFile, 10 );
    SayRead( "read nothing", hFile, 0 );
    SaySeek( "before the beginning", hFile, -11, FILE_END );
    SaySeek( "a negative beginning", hFile, -1, FILE_BEGIN );
    SaySeek( "method 3", hFile, 0, 3 );
    SaySeek( "beyond the end", hFile, 20, FILE_BEGIN );
    SayRead( "read beyond the end", hFile, 10 );
    SayWrite( "write nothing beyond the end", hFile, "", 0 );
    SaySize( "size still", hFile );
    SayWrite( "write beyond the end", hFile, "ab", 2 );
    SaySize( "size with the gap", hFile );
    SaySeek( "to the gap", hFile, 8, FILE_BEGIN );
    SayRead( "gap begins with a zero", hFile, 3 );
    SayOutcome( "end here", SetEndOfFile( hFile ) );
    SaySize( "size cut", hFile );
    SaySeek( "farther", hFile, 30, FILE_BEGIN );
    SayOutcome( "end there", SetEndOfFile( hFile ) );
    SaySize( "size grown", hFile );
    SaySeek( "position stays", hFile, 0, FILE_CURRENT );
    SayOutcome( "flush", FlushFileBuffers( hFile ) );

    LONG lHigh = 0;
    SetLastError( UNTOUCHED );
    Say( "a position of all ones", "%X",
         static_cast<unsigned>( SetFilePointer( hFile, -1, &lHigh, FILE_BEGIN ) ) );
    Say( "is no error", "%u, high %d", static_cast<unsigned>( GetLastError() ), static_cast<int>( lHigh ) );
    SaySeek( "one farther without a high half", hFile, 1, FILE_CURRENT );
    lHigh = 1;
    Say( "beyond 32 bits", "%u, high %d",
         static_cast<unsigned>( SetFilePointer( hFile, 5, &lHigh, FILE_BEGIN ) ), static_cast<int>( lHigh ) );
}

void SayReadingAndWriting()
{
    const std::string strPath = MakeFile( "data" );
    const HANDLE hBoth = OpenForAll( strPath );
    SayPositions( hBoth );
    CloseHandle( hBoth );

    const HANDLE hReader = Open( strPath, GENERIC_READ, 3 );
    const HANDLE hWriter = Open( strPath, GENERIC_WRITE, 3 );
    const HANDLE hNothing = Open( strPath, 0, 3 );
    SayWrite( "write to a reader", hReader, "x", 1 );
    SayWrite( "write nothing to a reader", hReader, "x", 0 );
    SayRead( "read from a writer", hWriter, 1 );
    SayRead( "read nothing from a writer", hWriter, 0 );
    SayRead( "read with no access", hNothing, 1 );
    SaySize( "size with no access", hNothing );
    SayOutcome( "end through a reader", SetEndOfFile( hReader ) );
    SayOutcome( "flush a reader", FlushFileBuffers( hReader ) );
    CloseHandle( hReader );
    CloseHandle( hWriter );
    CloseHandle( hNothing );
    SayRead( "read from a closed handle", hReader, 1 );
    SayOutcome( "close twice", CloseHandle( hReader ) );
    const HANDLE hEvent = CreateEventA( NULL, TRUE, FALSE, NULL );
    SayWrite( "write to an event", hEvent, "x", 1 );
    SaySeek( "seek in an event", hEvent, 0, FILE_BEGIN );
    CloseHandle( hEvent );
}

void SayLock( const char* pName, HANDLE hFile, DWORD dwStart, DWORD dwBytes )
{
    SayOutcome( pName, LockFile( hFile, dwStart, 0, dwBytes, 0 ) );
}

void SayUnlock( const char* pName, HANDLE hFile, DWORD dwStart, DWORD dwBytes )
{
    SayOutcome( pName, UnlockFile( hFile, dwStart, 0, dwBytes, 0 ) );
}

void SayRanges()
{
    const std::string strPath = MakeFile( "ranges" );
    const HANDLE hOne = OpenForAll( strPath );
    const HANDLE hTwo = OpenForAll( strPath );
    const HANDLE hReader = Open( strPath, GENERIC_READ, 3 );
    const HANDLE hOther = Open( strPath, GENERIC_READ, 3 );
    SayLock( "lock", hOne, 2, 4 );
    SayLock( "the same again", hOne, 2, 4 );
    SayLock( "overlap by the same handle", hOne, 5, 1 );
    SayLock( "overlap by another handle", hTwo, 0, 3 );
    SayLock( "overlap by a reader", hReader, 5, 10 );
    SayLock( "adjacent", hTwo, 6, 4 );
    SayLock( "beyond the end, by a reader", hReader, 100, 10 );
    SayLock( "overlap of readers", hOther, 109, 1 );
    SayLock( "overlap of a reader's", hTwo, 90, 20 );
    SayLock( "as far as it goes", hTwo, 1000, 0xFFFFFFFF );
    SayRead( "read one's own range", hOne, 6 );
    SayRead( "read another's range", hTwo, 6 );
    SayRead( "read before another's range", hReader, 2 );
    Seek( hTwo, 5, FILE_BEGIN );
    SayWrite( "write into another's range", hTwo, "x", 1 );
    SayUnlock( "unlock a part", hOne, 2, 3 );
    SayUnlock( "unlock another's", hTwo, 2, 4 );
    SayUnlock( "unlock", hOne, 2, 4 );
    SayUnlock( "unlock twice", hOne, 2, 4 );
    SayLock( "free again", hTwo, 2, 4 );
    CloseHandle( Open( strPath, GENERIC_READ, 3 ) );
    SayLock( "held after some handle was closed", hOne, 2, 1 );
    CloseHandle( hTwo );
    SayLock( "free after its handle was closed", hOne, 2, 4 );
    const HANDLE hEvent = CreateEventA( NULL, TRUE, FALSE, NULL );
    SayOutcome( "lock through nothing", LockFile( hEvent, 0, 0, 1, 0 ) );
    CloseHandle( hEvent );
    CloseHandle( hOne );
    CloseHandle( hReader );
    CloseHandle( hOther );
}

HANDLE Duplicate( const char* pName, HANDLE hFile )
{
    HANDLE hDuplicate = NULL;
    SayOutcome( pName, DuplicateHandle( GetCurrentProcess(), hFile, GetCurrentProcess(), &hDuplicate, 0,
                                        FALSE, DUPLICATE_SAME_ACCESS ) );
    return hDuplicate;
}

void SayDuplicates()
{
    const std::string strPath = MakeFile( "doubled" );
    const HANDLE hFile = Open( strPath, GENERIC_READ, 0 );
    const HANDLE hDuplicate = Duplicate( "duplicate", hFile );
    Seek( hFile, 4, FILE_BEGIN );
    SaySeek( "one position", hDuplicate, 0, FILE_CURRENT );
    SayWrite( "the same access", hDuplicate, "x", 1 );
    SayLock( "a range of the one", hFile, 0, 4 );
    SayUnlock( "is a range of the other", hDuplicate, 0, 4 );
    SayLock( "a range once more", hFile, 0, 4 );
    CloseHandle( hFile );
    SayRead( "read from the other", hDuplicate, 3 );
    SayOpening( "sharing stays", Open( strPath, GENERIC_READ, 3 ) );
    SayLock( "so does the range", hDuplicate, 3, 1 );
    CloseHandle( hDuplicate );
    SayOpening( "sharing ends", Open( strPath, GENERIC_READ, 0 ) );
    Duplicate( "duplicate of a closed handle", hFile );
    Duplicate( "duplicate of null", NULL );
}

void SayWithoutAFile()
{
    const HANDLE hEvent = CreateEventA( NULL, FALSE, FALSE, NULL );
    for ( const auto& [strWhat, hObject] :
          { std::pair<std::string, HANDLE>( "of null", NULL ), { "of an event", hEvent } } )
    {
        SayOutcome( "end " + strWhat, SetEndOfFile( hObject ) );
        SayOutcome( "flush " + strWhat, FlushFileBuffers( hObject ) );
        SayOutcome( "lock " + strWhat, LockFile( hObject, 0, 0, 1, 0 ) );
        SayOutcome( "unlock " + strWhat, UnlockFile( hObject, 0, 0, 1, 0 ) );
        SetLastError( UNTOUCHED );
        SayWithError( "size " + strWhat, GetFileSize( hObject, NULL ) );
    }
    CloseHandle( hEvent );
}

void SayRemoval()
{
    const std::string strOne = MakeFile( "one" );
    const std::string strTwo = MakeFile( "two" );
    const std::string strFree = PathOf( "free" );
    const struct
    {
        const char* pName;
        std::string strFrom;
        std::string strTo;
    } aMoves[] = {
        { "move", strOne, strFree },
        { "move a missing file", strOne, PathOf( "other" ) },
        { "move from a missing folder", PathOf( "none/a" ), PathOf( "other" ) },
        { "move into a missing folder", strTwo, PathOf( "none/a" ) },
        { "move onto another", strTwo, strFree },
        { "move onto itself", strTwo, strTwo },
        { "move a folder", PathOf( "folder" ), PathOf( "moved" ) },
        { "move a folder back", PathOf( "moved" ), PathOf( "folder" ) },
        { "move a file onto a folder", strTwo, PathOf( "folder" ) },
        { "move to a star", strTwo, PathOf( "a*" ) },
        { "move to nothing", strTwo, "" },
    };
    for ( const auto& rMove : aMoves )
        SayOutcome( rMove.pName, MoveFileA( rMove.strFrom.c_str(), rMove.strTo.c_str() ) );
    SayOutcome( "delete", DeleteFileA( strTwo.c_str() ) );
    SayOutcome( "delete a missing file", DeleteFileA( strTwo.c_str() ) );
    SayOutcome( "delete in a missing folder", DeleteFileA( PathOf( "none/a" ).c_str() ) );
    SayOutcome( "delete a folder", DeleteFileA( PathOf( "folder" ).c_str() ) );
    SayOutcome( "delete with a wildcard", DeleteFileA( PathOf( "fre?" ).c_str() ) );
    SayOutcome( "delete nothing", DeleteFileA( "" ) );
}
} // namespace

int main()
{
    const ScratchFolder aFolder;
    g_strFolder = aFolder.Path();
    SayDispositions();
    SayShares();
    SayReadingAndWriting();
    SayRanges();
    SayDuplicates();
    SayWithoutAFile();
    SayRemoval();
    return 0;
}
