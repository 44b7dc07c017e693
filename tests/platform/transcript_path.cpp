// Folders, searches, temporary names and paths.

#include "platform/transcript.h"
#include "support/scratchfolder.h"

#include <filesystem>
#include <set>
#include <string>

namespace
{
std::string g_strFolder; // absolute, with '/'

std::string PathOf( const std::string& strName )
{
    return g_strFolder + "/" + strName;
}

void MakeFile( const char* pName )
{
    WriteBytes( PathOf( pName ), "0123456789" );
}

// The same on both systems: '/' between the pieces, no drive, "~" for the scratch folder.
std::string Plain( std::string strPath )
{
    for ( char& rChar : strPath )
        rChar = rChar == '\\' ? '/' : rChar;
    const size_t nFolder = strPath.find( g_strFolder );
    if ( nFolder != std::string::npos )
        strPath.replace( 0, nFolder + g_strFolder.size(), "~" );
    return strPath.size() > 1 && strPath[1] == ':' ? strPath.substr( 2 ) : strPath;
}

void SayFolders()
{
    struct Case
    {
        const char* pName;
        const char* pFolder;
    };
    const Case aMakes[] = {
        { "make a folder", "a" },           { "make it again", "a" },
        { "make one over a file", "file" }, { "make one in it, separator behind", "a/b/" },
        { "missing parent", "none/b" },     { "parent is a file", "file/b" },
        { "a star for a name", "st*r" },
    };
    for ( const Case& rMake : aMakes )
        SayOutcome( rMake.pName, CreateDirectoryA( PathOf( rMake.pFolder ).c_str(), NULL ) );
    SayOutcome( "make nothing", CreateDirectoryA( "", NULL ) );
    const Case aRemovals[] = {
        { "remove one that is not empty", "a" },
        { "remove an empty one", "a\\b" },
        { "remove it again", "a/b" },
        { "remove from a missing parent", "none/b" },
        { "remove a file", "file" },
    };
    for ( const Case& rRemoval : aRemovals )
        SayOutcome( rRemoval.pName, RemoveDirectoryA( PathOf( rRemoval.pFolder ).c_str() ) );
}

void SayAccess()
{
    for ( const char* pName : { "file", "a", "none", "none/none", "file/none", "" } )
    {
        std::string strModes;
        for ( const int nMode : { 0, 2, 4, 6 } )
        {
            errno = 0;
            const int nResult = _access( *pName ? PathOf( pName ).c_str() : "", nMode );
            strModes += nResult == 0 ? "yes " : errno == ENOENT ? "missing " : "no ";
        }
        Say( std::string( "access of '" ) + pName + "'", "%s", strModes.c_str() );
    }
    const HANDLE hFile = CreateFileA( PathOf( "file" ).c_str(), GENERIC_READ, 0, NULL, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL, NULL );
    SayNumber( "access of an open file", _access( PathOf( "file" ).c_str(), 6 ) );
    CloseHandle( hFile );
}

void SaySearch( const std::string& rName, const std::string& strPattern )
{
    WIN32_FIND_DATAA aData;
    const HANDLE hSearch = FindFirstFileA( strPattern.c_str(), &aData );
    if ( hSearch == INVALID_HANDLE_VALUE )
        return SayOutcome( rName, false );
    std::string strFinds = std::string( aData.cFileName ) + " first:";
    std::set<std::string> aFinds;
    do
        aFinds.insert( aData.cFileName );
    while ( FindNextFileA( hSearch, &aData ) );
    const DWORD dwError = GetLastError();
    for ( const std::string& rFind : aFinds )
        strFinds += " " + rFind;
    Say( rName, "%s, last error %u", strFinds.c_str(), static_cast<unsigned>( dwError ) );
    SayOutcome( rName + ", closed", FindClose( hSearch ) );
}

void SaySearches()
{
    for ( const char* pName : { "x.txt", "xy.txt", "x.t", "noextension", "a/inner" } )
        MakeFile( pName );
    SaySearch( "by name", PathOf( "x.txt" ) );
    SaySearch( "a folder", PathOf( "a" ) );
    SaySearch( "question mark", PathOf( "x?.txt" ) );
    SaySearch( "star before the extension", PathOf( "x*.txt" ) );
    SaySearch( "star in the middle", PathOf( "n*t*n" ) );
    SaySearch( "all in a folder, backslashes", PathOf( "a\\*.*" ) );
    SaySearch( "one only, missing", PathOf( "none" ) );
    SaySearch( "none by wildcard", PathOf( "none*" ) );
    SaySearch( "in a missing folder", PathOf( "none/*" ) );
    SaySearch( "in a file", PathOf( "file/*" ) );
    SaySearch( "separator at the end", PathOf( "a/" ) );
    SaySearch( "nothing", "" );
    SayOutcome( "close no search", FindClose( NULL ) );

    WIN32_FIND_DATAA aData;
    for ( const auto& [pName, pWhat] : { std::pair( "a file's data", "file" ), { "a folder's data", "a" } } )
    {
        FindClose( FindFirstFileA( PathOf( pWhat ).c_str(), &aData ) );
        Say( pName, "%u bytes, attributes %X", static_cast<unsigned>( aData.nFileSizeLow ),
             static_cast<unsigned>( aData.dwFileAttributes ) );
    }
}

void SayTemporary( const char* pName, const std::string& strFolder, const char* pPrefix, UINT uNumber )
{
    char aName[MAX_PATH] = "";
    const UINT uResult = GetTempFileNameA( strFolder.c_str(), pPrefix, uNumber, aName );
    if ( uResult == 0 )
        return SayOutcome( pName, false );
    char aNumber[20];
    std::snprintf( aNumber, sizeof( aNumber ), "%x.", static_cast<unsigned>( uResult ) );
    std::string strName = Plain( aName );
    if ( uNumber == 0 )
        strName.replace( strName.find( aNumber ), std::string( aNumber ).size(), "N." );
    Say( pName, "%s, %u, there %d", strName.c_str(), static_cast<unsigned>( uNumber == 0 ? 0 : uResult ),
         std::filesystem::exists( aName ) );
}

void SayTemporaries()
{
    SayTemporary( "temporary", g_strFolder, "CFG", 0 );
    SayTemporary( "long prefix, separator behind", g_strFolder + "\\", "abcdef", 0 );
    SayTemporary( "empty prefix", g_strFolder, "", 0 );
    SayTemporary( "a number", g_strFolder, "ab", 0x1F );
    SayTemporary( "a number of more than 16 bits", g_strFolder, "ab", 0x12345 );
    SayTemporary( "temporary in a missing folder", PathOf( "none" ), "ab", 0 );
    SayTemporary( "number in a missing folder", PathOf( "none" ), "ab", 1 );
    SayTemporary( "temporary in a file", PathOf( "file" ), "ab", 0 );
    SayTemporary( "temporary in too long a folder", PathOf( std::string( 250, 'a' ) ), "ab", 0 );
}

void SayFull( const char* pName, const std::string& strPath )
{
    char aBuffer[1000];
    char* pPart = aBuffer;
    const DWORD dwLength = GetFullPathNameA( strPath.c_str(), sizeof( aBuffer ), aBuffer, &pPart );
    if ( dwLength == 0 )
        return SayOutcome( pName, false );
    Say( pName, "%s, length %d, part %s", Plain( aBuffer ).c_str(), dwLength == std::string( aBuffer ).size(),
         pPart != NULL ? pPart : "null" );
}

// A path call's sizes: enough, one too few, none.
template <class Call>
void SaySizes( const char* pName, Call aCall )
{
    char aBuffer[1000];
    const DWORD dwLength = aCall( aBuffer, static_cast<DWORD>( sizeof( aBuffer ) ) );
    const DWORD dwText = static_cast<DWORD>( std::string( aBuffer ).size() );
    Say( pName, "length %d, just enough %d, too few %+d, none %+d", dwLength == dwText,
         aCall( aBuffer, dwLength + 1 ) == dwLength,
         static_cast<int>( aCall( aBuffer, dwLength ) - dwLength ),
         static_cast<int>( aCall( NULL, 0 ) - dwLength ) );
}

void SayPaths()
{
    std::filesystem::current_path( g_strFolder );
    SayFull( "full", "file" );
    SayFull( "full, in a missing folder", "none/./x/../../a\\b" );
    SayFull( "full, separators", PathOf( "a//b\\\\c/" ) );
    SayFull( "full, dots at the end", PathOf( "a/b/.." ) );
    SayFull( "full, here", "a/." );
    SayFull( "full, above the root", "/../../x" );
    SayFull( "full, the root", "/" );
    SayFull( "full, nothing", "" );
    SaySizes( "full path's sizes", []( char* pBuffer, DWORD dwSize )
              { return GetFullPathNameA( "file", dwSize, pBuffer, NULL ); } );
    SaySizes( "short path's sizes", []( char* pBuffer, DWORD dwSize )
              { return GetShortPathNameA( PathOf( "a" ).c_str(), pBuffer, dwSize ); } );
    SaySizes( "temporary folder's sizes",
              []( char* pBuffer, DWORD dwSize ) { return GetTempPathA( dwSize, pBuffer ); } );
    SaySizes( "Windows folder's sizes",
              []( char* pBuffer, DWORD dwSize ) { return GetWindowsDirectoryA( pBuffer, dwSize ); } );
    SaySizes( "system folder's sizes",
              []( char* pBuffer, DWORD dwSize ) { return GetSystemDirectoryA( pBuffer, dwSize ); } );
    char aBuffer[1000] = "";
    GetTempPathA( sizeof( aBuffer ), aBuffer );
    SayNumber( "temporary folder ends in a separator", Plain( aBuffer ).ends_with( '/' ) );
    SayOutcome( "short path of a missing file",
                GetShortPathNameA( PathOf( "none" ).c_str(), aBuffer, sizeof( aBuffer ) ) );
    SayOutcome( "short path in a missing folder",
                GetShortPathNameA( PathOf( "none/none" ).c_str(), aBuffer, sizeof( aBuffer ) ) );
    std::filesystem::current_path( std::filesystem::temp_directory_path() );
}
} // namespace

int main()
{
    const ScratchFolder aFolder;
    g_strFolder = aFolder.Path();
    MakeFile( "file" );
    SayFolders();
    SayAccess();
    SaySearches();
    SayTemporaries();
    SayPaths();
    return 0;
}
