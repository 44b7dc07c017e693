// A file together with the folders of its path: made from the drive downwards, removed from the file upwards.
#include "core/callreport.h"
#include "file/ownpath.h"

#include <bxtools/path.h>
#include <bxtools/platform.h>

namespace
{

// Of a drive with its delimiter.
constexpr USHORT DRIVE_LENGTH = 3;

BOOL FailWithPath( CallReport& rReport, LPCTSTR pText, LPCTSTR pLabel, LPCTSTR pPath )
{
    rReport.Fail( pText );
    rReport.Tail( pLabel ).Tail( pPath ).Tail( "\r\n" );
    return FALSE;
}

constexpr char RELEASE_FILE[] = " stReleaseFile = ";

// Refuses what is no path of its own below a drive.
//   ulIndex  out: where the last delimiter stands.
BOOL FindLastDelimiter( CallReport& rReport, const MString& stReleaseFile, size_t& ulIndex )
{
    if ( static_cast<USHORT>( stReleaseFile.GetLength() ) <= DRIVE_LENGTH )
        return FailWithPath( rReport, " Error: ( uLen = stReleaseFile.GetLength() ) <= 3\r\n", RELEASE_FILE,
                             stReleaseFile );
    ulIndex = stReleaseFile.findLast( MYCH_DELIMDIR );
    if ( ulIndex == stReleaseFile.npos )
        return FailWithPath(
            rReport,
            " Error: ( nIndex = stReleaseFile.ReverseFind( MYCH_DELIMDIR ) ) == MY_STRINGNOTFOUND\r\n",
            RELEASE_FILE, stReleaseFile );
    return TRUE;
}

BOOL IsThere( const MString& aPath )
{
    return FileExists( aPath, FILE_ACCESS_EXISTS, NULL, 0 );
}

// Another process may be making the same chain, and be first.
BOOL MakeFolder( const MString& aTempDir )
{
    return IsThere( aTempDir ) || CreateDirectoryA( aTempDir, NULL ) ||
           ( GetLastError() == ERROR_ALREADY_EXISTS && IsThere( aTempDir ) );
}

BOOL MakeFolders( CallReport& rReport, std::string_view aFolders )
{
    MString aTempDir;
    size_t ulEnd = aFolders.find( MYCH_DELIMDIR );
    while ( ulEnd != aFolders.npos )
    {
        ulEnd = aFolders.find( MYCH_DELIMDIR, ulEnd + 1 );
        const std::string_view aFolder = aFolders.substr( 0, ulEnd );
        aTempDir.assign( aFolder.data(), aFolder.size() );
        if ( !MakeFolder( aTempDir ) )
            return FailWithPath( rReport, " Error: MKDIR( aTempDir ) != 0\r\n", " aTempDir = ", aTempDir );
    }
    return TRUE;
}

BOOL MakeEmptyFile( CallReport& rReport, const MString& stReleaseFile )
{
    const HANDLE hFile = CreateFileA( stReleaseFile, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, NULL,
                                      CREATE_ALWAYS, FILE_ATTRIBUTE_ARCHIVE, NULL );
    if ( hFile == INVALID_HANDLE_VALUE )
        return FailWithPath( rReport, " Error: ( hFile = CreateFile(...) ) == INVALID_HANDLE_VALUE\r\n",
                             RELEASE_FILE, stReleaseFile );
    return CloseHandle( hFile ) ? TRUE : rReport.Fail( " Error: !CloseHandle( hFile )" );
}

// The folders from the innermost up to the one below the first piece.
BOOL RemoveFolders( CallReport& rReport, MString& stReleaseFile )
{
    size_t ulIndex = stReleaseFile.npos;
    while ( ( ulIndex = stReleaseFile.findLast( MYCH_DELIMDIR ) ) != stReleaseFile.npos )
    {
        if ( !IsThere( stReleaseFile ) )
            return rReport.Fail( " Error: !FileExists( stReleaseFile, FILE_ACCESS_EXISTS, NULL, 0 )\r\n" );
        if ( !RemoveDirectoryA( stReleaseFile ) )
            return FailWithPath( rReport, " Error: RMDIR( stReleaseFile ) != 0\r\n", RELEASE_FILE,
                                 stReleaseFile );
        CutTo( stReleaseFile, ulIndex );
    }
    return TRUE;
}

} // namespace

BOOL DLL_EXPORT CreatePathAndFile( LPCTSTR szPath )
{
    CallReport aReport( "From DLL_EXPORT_MOD BOOL DLL_EXPORT CreatePathAndFile( LPCTSTR szPath )" );
    return aReport.Guard(
        [&]() -> BOOL
        {
            const MString stReleaseFile = OwnPath( szPath );
            size_t ulIndex = 0;
            if ( !FindLastDelimiter( aReport, stReleaseFile, ulIndex ) )
                return FALSE;
            const bool fFile = ulIndex + 1 != stReleaseFile.length();
            return MakeFolders( aReport, View( stReleaseFile ).substr( 0, ulIndex ) ) &&
                   ( !fFile || MakeEmptyFile( aReport, stReleaseFile ) );
        } );
}

BOOL DLL_EXPORT RemoveFileAndPath( LPCTSTR szPath )
{
    CallReport aReport( "From DLL_EXPORT_MOD BOOL DLL_EXPORT RemoveFileAndPath( LPCTSTR szPath )" );
    return aReport.Guard(
        [&]() -> BOOL
        {
            MString stReleaseFile = OwnPath( szPath );
            size_t ulIndex = 0;
            if ( !FindLastDelimiter( aReport, stReleaseFile, ulIndex ) )
                return FALSE;
            const bool fFile = ulIndex + 1 != stReleaseFile.length();
            if ( fFile && !DeleteFileA( stReleaseFile ) )
                return aReport.Fail( " Error: REMOVE( stReleaseFile ) != 0" );
            CutTo( stReleaseFile, ulIndex );
            return RemoveFolders( aReport, stReleaseFile );
        } );
}
