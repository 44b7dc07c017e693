// Paths in the program's folder and in the system's.
#include "core/callreport.h"
#include "file/ownpath.h"

#include <bxtools/path.h>
#include <bxtools/platform.h>

namespace
{

// A name that does not fit is none; the calls then give the buffer's size, or more.
bool IsGiven( DWORD dwLength )
{
    return dwLength != 0 && dwLength < _MAX_PATH;
}

BOOL GetModuleFolder( CallReport& rReport, MString& aFolder )
{
    TCHAR szBuf[_MAX_PATH] = {};
    if ( !IsGiven( GetModuleFileNameA( NULL, szBuf, _MAX_PATH ) ) )
        return rReport.Fail( " Error: GetModuleFileName( NULL, szBuf, uCharCount ) == 0" );
    const std::string_view aTempStr( szBuf );
    const size_t nIndex = aTempStr.rfind( MYCH_DELIMDIR );
    if ( nIndex == aTempStr.npos )
        return rReport.Fail(
            " Error: ( nIndex = aTempStr.ReverseFind( MYCH_DELIMDIR ) ) == MY_STRINGNOTFOUND" );
    aFolder.assign( szBuf, nIndex );
    return TRUE;
}

BOOL GetSystemFolder( CallReport& rReport, MString& aFolder, UINT( WINAPI* pGetFolder )( LPSTR, UINT ),
                      LPCTSTR pFailure )
{
    TCHAR szBuf[_MAX_PATH] = {};
    if ( !IsGiven( pGetFolder( szBuf, _MAX_PATH ) ) )
        return rReport.Fail( pFailure );
    aFolder.assign( szBuf, std::string_view( szBuf ).size() );
    return TRUE;
}

BOOL GetFolder( CallReport& rReport, int nMode, MString& aFolder )
{
    switch ( nMode )
    {
    case PATH_MODULE_DIR: return GetModuleFolder( rReport, aFolder );
    case PATH_WINDOWS_DIR:
        return GetSystemFolder( rReport, aFolder, &GetWindowsDirectoryA,
                                " Error: GetWindowsDirectory( szBuf, uCharCount ) == 0" );
    case PATH_SYSTEM_DIR:
        return GetSystemFolder( rReport, aFolder, &GetSystemDirectoryA,
                                " Error: GetSystemDirectory( szBuf, uCharCount ) == 0" );
    default: return rReport.Fail( " Error: unknown mode switch ( nMode ) -> default" );
    }
}

void Append( MString& aPath, char cDivider, LPCTSTR szPiece )
{
    const MString aPiece = OwnPath( szPiece );
    aPath.append( &cDivider, 1 );
    aPath.append( aPiece.data(), aPiece.length() );
}

} // namespace

BOOL DLL_EXPORT BuildFilePath( LPTSTR szFullPath, USHORT uSize, int nMode, LPCTSTR szFName, LPCTSTR szExt )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT BuildFilePath( LPTSTR szFullPath, USHORT uSize, int nMode, LPCTSTR szFName, LPCTSTR szExt )" );
    if ( szFullPath == NULL || szFName == NULL || uSize == 0 )
        return aReport.Fail( " Error: szFullPath == NULL || szFName == NULL || uSize == 0" );
    szFullPath[0] = '\0';
    return aReport.Guard(
        [&]() -> BOOL
        {
            MString aPath;
            if ( !GetFolder( aReport, nMode, aPath ) )
                return FALSE;
            Append( aPath, MYCH_DELIMDIR, szFName );
            if ( szExt != NULL )
                Append( aPath, '.', szExt );
            szFullPath[View( aPath ).copy( szFullPath, uSize - 1u )] = '\0';
            return TRUE;
        } );
}
