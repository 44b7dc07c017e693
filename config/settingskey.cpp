#include "config/settingskey.h"

BOOL OpenSettingsKey( CallReport& rReport, CRegistry& aCRegistry, LPCTSTR aRoot )
{
    if ( !aCRegistry.Connect( (HKEY)CRegistry::keyLocalMachine ) )
        rReport.Fail( " Error: !aCRegistry.Connect( (HKEY)CRegistry::keyLocalMachine )" );
    else if ( !aCRegistry.Open( aRoot, ( CRegistry::CreatePermissions )( CRegistry::permissionRead ) ) )
    {
        rReport.Fail(
            " Error: !aCRegistry.Open( aRoot, (CRegistry::CreatePermissions)( CRegistry::permissionRead ) )" );
        rReport.Tail( "aRoot = " ).Tail( aRoot );
    }
    if ( !rReport.Failed() )
        return TRUE;
    rReport.ReportNow();
    return FALSE;
}
