// New files under names that nobody has.
#include "core/callreport.h"
#include "core/guards.h"
#include "file/ownpath.h"

#include <bxtools/buffers.h>
#include <bxtools/file.h>
#include <bxtools/path.h>
#include <bxtools/platform.h>

#include <cstring>
#include <memory>
#include <new>

namespace
{

constexpr int MOST_ATTEMPTS = 20;

// Deletes a file, under the name that it has by then, unless it is kept.
class UnkeptFile
{
public:
    explicit UnkeptFile( const MString& rName ) noexcept : m_rName( rName ) {}
    ~UnkeptFile()
    {
        if ( m_fKept )
            return;
        const LastErrorGuard aLastError;
        DeleteFileA( m_rName );
    }
    UnkeptFile( const UnkeptFile& ) = delete;
    UnkeptFile& operator=( const UnkeptFile& ) = delete;

    void Keep() noexcept { m_fKept = true; }

private:
    const MString& m_rName;
    bool m_fKept = false;
};

BOOL IsValidDir( LPCTSTR szDstDir, MString& aFullPath )
{
    CallReport aReport( "From static BOOL IsValidDir( LPCTSTR szDstDir, MString& aFullPath )" );
    if ( szDstDir == NULL )
        return aReport.Fail( " Error: szDstDir == NULL" );
    if ( szDstDir[0] == '\0' )
        return aReport.Fail( " Error: STRLEN( szDstDir ) == 0" );
    TCHAR szBuffer[_MAX_PATH + 1] = {};
    if ( !FileExists( szDstDir, FILE_ACCESS_READWRITE, szBuffer, _MAX_PATH ) )
        return aReport.Fail(
            " Error: !FileExists( szDstDir, FILE_ACCESS_READWRITE, aFullPath.GetBuffer( _MAX_PATH ), _MAX_PATH )" );
    aFullPath = OwnPath( szBuffer );
    return TRUE;
}

BOOL FailWithFile( CallReport& rReport, LPCTSTR pText, const MString& aFile )
{
    rReport.Fail( pText );
    rReport.Tail( " aFile = " ).Tail( aFile ).Tail( "\r\n" );
    return FALSE;
}

BOOL CreateZeroFile( const MString& aFile )
{
    CallReport aReport( "From static BOOL CreateZeroFile( const MString& aFile )" );
    const std::unique_ptr<MFileWrapper> pDestFileObj( new ( std::nothrow ) MFileWrapper() );
    if ( pDestFileObj == NULL )
        return FailWithFile( aReport, " Error: ( pDestFileObj = new MFileWrapper() ) == NULL", aFile );
    if ( !pDestFileObj->MyOpen( aFile, MFileWrapper::modeCreate | MFileWrapper::modeReadWrite |
                                           MFileWrapper::shareExclusive ) )
        return FailWithFile(
            aReport,
            " Error: !pDestFileObj->MyOpen( aFile, MFileWrapper::modeCreate | MFileWrapper::modeReadWrite | MFileWrapper::shareExclusive )",
            aFile );
    if ( !pDestFileObj->MyClose() )
        return FailWithFile( aReport, " Error: !pDestFileObj->MyClose()", aFile );
    return TRUE;
}

// Renaming takes the new name in one step and only from nobody, which opening a file to be emptied would not; and the file
// stays for its user's eyes only.
//   aCheckOutFileName  in: the system's file; out: the name it has, TRUE or FALSE.
BOOL ReplaceExtensionAndCreateZeroFile( MString& aCheckOutFileName, LPCTSTR szNewExt )
{
    CallReport aReport(
        "From static BOOL ReplaceExtensionAndCreateZeroFile( MString& aCheckOutFileName, LPCTSTR szNewExt )" );
    const size_t ulDot = aCheckOutFileName.findLast( '.' );
    if ( ulDot == aCheckOutFileName.npos )
        return aReport.Fail(
            " Error: ( lIndex = aCheckOutFileName.ReverseFind( _T('.') ) ) == MY_STRINGNOTFOUND" );
    MString aNewName( aCheckOutFileName );
    CutTo( aNewName, ulDot + 1 );
    aNewName.append( szNewExt, std::strlen( szNewExt ) );
    if ( !MoveFileA( aCheckOutFileName, aNewName ) )
        return aReport.Fail( " Error: !::CreateZeroFile( aCheckOutFileName )" );
    aCheckOutFileName = std::move( aNewName );
    if ( !CreateZeroFile( aCheckOutFileName ) )
        return aReport.Fail( " Error: !::CreateZeroFile( aCheckOutFileName )" );
    return TRUE;
}

// The system's new file; the empty name where it makes none. Throws before there is a file, if at all.
MString MakeSystemFile( LPCTSTR pFolder, LPCTSTR pName )
{
    const auto Make = [pFolder, pName]( char* pStr )
    { return GetTempFileNameA( pFolder, pName, 0, pStr ) != 0 ? pStr + std::strlen( pStr ) : pStr; };
    MString aName;
    static_cast<RWCString&>( aName ) = RWCString::written( _MAX_PATH, Make );
    return aName;
}

// The system's own extension goes with no other, and with itself.
bool IsExtensionReplaced( LPCTSTR szExt )
{
    return szExt != NULL && MString( "TMP" ).CompareNoCase( szExt ) != 0;
}

BOOL MakeFile( CallReport& rReport, LPCTSTR pFolder, LPCTSTR pName, LPCTSTR szExt, MString& aFile )
{
    const bool fReplace = IsExtensionReplaced( szExt );
    for ( int i = 0; i < MOST_ATTEMPTS; ++i )
    {
        aFile = MakeSystemFile( pFolder, pName );
        if ( aFile.IsEmpty() )
            return rReport.Fail( " Error: GetTempFileName( aFullPath, pName, 0, pStr ) == 0" );
        UnkeptFile aUnkept( aFile );
        if ( !fReplace || ReplaceExtensionAndCreateZeroFile( aFile, szExt ) )
        {
            aUnkept.Keep();
            return TRUE;
        }
    }
    return rReport.Fail( " Error: cannot create file with desired extension" );
}

} // namespace

BOOL DLL_EXPORT CreateTempFile( LPCTSTR szDstDir, LPCTSTR pName, LPCTSTR szExt, LPTSTR pFullFileName,
                                USHORT usSize )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT CreateTempFile( LPCTSTR szDstDir, LPCTSTR pName, LPCTSTR szExt, LPTSTR pFullFileName, USHORT usSize )" );
    if ( pFullFileName == NULL )
        return aReport.Fail( " Error: pFullFileName == NULL" );
    if ( usSize == 0 )
        return aReport.Fail( " Error: usSize == 0" );
    return aReport.Guard(
        [&]() -> BOOL
        {
            MString aFullPath;
            if ( !IsValidDir( szDstDir, aFullPath ) )
            {
                aReport.Fail( " Error: !IsValidDir( szDstDir, aFullPath ), szDstDir = " );
                aReport.Tail( szDstDir );
                return FALSE;
            }
            MString aFile;
            if ( !MakeFile( aReport, aFullPath, pName, szExt, aFile ) )
                return FALSE;
            // That the name is cut is not a failure, and what would be said about it is kept to ourselves.
            if ( !SafeCopy( pFullFileName, aFile, usSize ) )
            {
                aReport.Fail( " Error: Destination buffer pFullFileName too small" );
                aReport.Drop();
            }
            return TRUE;
        } );
}
