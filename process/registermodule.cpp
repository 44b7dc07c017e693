// The registration of modules by themselves.
#include "core/callreport.h"
#include "core/guards.h"

#include <bxtools/error.h>
#include <bxtools/mstring.h>
#include <bxtools/sync.h>

namespace
{

constexpr int MODE_REGISTER = 1;
constexpr int MODE_UNREGISTER = 2;

typedef HRESULT( DLL_EXPORT* REGISTRYFUNC )();

void ShowToUser( LPCTSTR pText )
{
    MessageBoxA( NULL, pText, "Info", MB_OK | MB_ICONERROR );
}

// Shows a text, with the system's one for an error number.
BOOL GetOriginErrText( LPCTSTR pAddText, ERR lCurErr )
{
    CallReport aReport( "From BOOL GetOriginErrText( LPTSTR pAddText, ERR lCurErr )" );
    MString aOut( pAddText );
    BOOL pfMessageFound = FALSE;
    if ( !AppendLastErrMsg( aOut, static_cast<DWORD>( lCurErr ), pfMessageFound ) )
        return aReport.Fail( " Error: !AppendLastErrMsg( aOut, lCurErr, pfMessageFound )" );
    ShowToUser( aOut );
    return TRUE;
}

// The call fails; the user is shown aText, with the system's text for the last error as it was.
BOOL FailAndShow( CallReport& rReport, LPCTSTR pReason, MString& aText, DWORD dwLastError )
{
    aText += "\r\nGetLastError() reports: ";
    aText += static_cast<ULONG>( dwLastError );
    const BOOL fShown = GetOriginErrText( aText, static_cast<ERR>( dwLastError ) );
    SetLastError( dwLastError );
    return rReport.Fail( fShown ? pReason : " Error: !GetOriginErrText( szOut, lCurErr )" );
}

BOOL RunRegistryFunction( CallReport& rReport, const LoadedLibrary& rModule, LPCTSTR pModuleName,
                          LPCTSTR pFunctionName )
{
    if ( !rModule )
    {
        const DWORD dwLastError = GetLastError();
        MString aText( " Error: LoadLibrary( pModuleName ) failed.\r\npModuleName = " );
        aText += pModuleName != NULL ? pModuleName : "";
        return FailAndShow( rReport, " Error: hInst == NULL", aText, dwLastError );
    }
    const REGISTRYFUNC aFunc = rModule.Get<REGISTRYFUNC>( pFunctionName );
    if ( aFunc == NULL )
    {
        const DWORD dwLastError = GetLastError();
        MString aText( " Error: GetProcAddress( hInst, pFunctionName ) failed.\r\n pFunctionName = " );
        aText += pFunctionName;
        return FailAndShow( rReport, " Error: aFunc == NULL", aText, dwLastError );
    }
    const HRESULT aResult = ( *aFunc )();
    if ( aResult == 0 )
        return TRUE;
    MString aText( " Error: Called function -> " );
    aText += pFunctionName;
    aText += "\r\n reports error:";
    aText += static_cast<LONG>( aResult );
    ShowToUser( aText );
    return rReport.Fail( " Error: ( aResult = (*aFunc)() ) != S_OK" );
}

BOOL CallRegistryFunction( LPCTSTR pModuleName, LPCTSTR pFunctionName )
{
    CallReport aReport( "From BOOL CallRegistryFunction( LPCTSTR pModuleName, LPCTSTR pFunctionName )" );
    // Outside the guard: what the module throws is destroyed there, by code of the module.
    const LoadedLibrary aModule( pModuleName );
    return aReport.Guard( [&]
                          { return RunRegistryFunction( aReport, aModule, pModuleName, pFunctionName ); } );
}

LPCTSTR EntryOf( int nRegisterMode )
{
    if ( nRegisterMode == MODE_REGISTER )
        return "DllRegisterServer";
    return nRegisterMode == MODE_UNREGISTER ? "DllUnregisterServer" : NULL;
}

} // namespace

BOOL DLL_EXPORT RegisterModule( LPCTSTR pModuleName, int nRegisterMode )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT RegisterModule( LPCTSTR pModuleName,int nRegisterMode )" );
    const LPCTSTR pFunctionName = EntryOf( nRegisterMode );
    if ( pFunctionName == NULL )
        return aReport.Fail( " Error: nRegisterMode wrong mode -> default case" );
    if ( !CallRegistryFunction( pModuleName, pFunctionName ) )
        return aReport.Fail( " Error: !CallRegistryFunction( pModuleName, pFunctionName )" );
    return TRUE;
}
