#include "config/settingskey.h"

#include <algorithm>
#include <iterator>

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

bool IsSwitchedOn( const MString& rText )
{
    constexpr LPCTSTR WORDS[] = { "Yes", "1", "TRUE" };
    return std::any_of( std::begin( WORDS ), std::end( WORDS ),
                        [&]( LPCTSTR pWord ) { return rText.CompareNoCase( pWord ) == 0; } );
}
