// Reads the settings of the debug messages. Runs while the process-wide object is being constructed: what is used here
// needs no object of the thread's.
#include "diag/debugsettings.h"

#include "config/settingskey.h"
#include "core/callreport.h"
#include "core/guards.h"
#include "diag/dbwin.h"
#include "diag/sharedvalues.h"

#include <bxtools/buffers.h>
#include <bxtools/debug.h>
#include <bxtools/platform.h>
#include <bxtools/registry.h>

#include <algorithm>
#include <string_view>

namespace
{

constexpr size_t MOST_LEVEL_ITEMS = 5;
constexpr DWORD WINDOWS_95_FAMILY = 1;

struct LevelItem
{
    std::string_view aItem;
    ULONG ulBits;
};

constexpr std::string_view ALL_LEVELS = "all";
constexpr LevelItem LEVEL_ITEMS[] = {
    { "1", 0x00001 }, { "2", 0x00010 }, { "3", 0x00100 },
    { "4", 0x01000 }, { "5", 0x10000 }, { ALL_LEVELS, 0x11111 },
};

ULONG ParseLevel( std::string_view aText ) noexcept
{
    ULONG ulLevel = 0;
    for ( size_t i = 0; i < MOST_LEVEL_ITEMS; ++i )
    {
        const size_t uEnd = std::min( aText.find( ';' ), aText.size() );
        const std::string_view aItem = aText.substr( 0, uEnd );
        for ( const LevelItem& rItem : LEVEL_ITEMS )
            if ( aItem == rItem.aItem )
                ulLevel |= rItem.ulBits;
        if ( aItem == ALL_LEVELS || uEnd == aText.size() )
            break;
        aText.remove_prefix( uEnd + 1 );
    }
    return ulLevel;
}

void ReadSwitch( CallReport& rReport, CRegistry& rRegistry, LPCTSTR pName )
{
    MString stTemp;
    if ( rRegistry.GetValue( pName, stTemp ) )
    {
        SetDebugEnabled( IsSwitchedOn( stTemp ) );
        return;
    }
    rReport.Fail( " Error: !aCRegistry.GetValue( QRN_CTRL_REG_DBG_OUT, stTemp )" );
    rReport.Tail( " QRN_CTRL_REG_DBG_OUT = " ).Tail( pName );
    rReport.ReportNow();
}

ULONG ReadLevel( CallReport& rReport, CRegistry& rRegistry, LPCTSTR pName )
{
    char szBuff1[50] = "0";
    MString stTemp;
    if ( !rRegistry.GetValue( pName, stTemp ) )
    {
        rReport.Fail( " Error: !aCRegistry.GetValue( QRN_CTRL_REG_DBG_LEVEL, stTemp )" );
        rReport.Tail( " QRN_CTRL_REG_DBG_LEVEL = " ).Tail( pName );
    }
    else if ( !SafeCopy( szBuff1, stTemp, sizeof( szBuff1 ) ) )
        rReport.Fail( " Error: !SafeCopy( szBuff1, stTemp, BUF_SIZE( szBuff1 ) )" );
    if ( rReport.Failed() )
    {
        SetDebugEnabled( true );
        rReport.ReportNow();
    }
    return ParseLevel( szBuff1 );
}

// The level; 0 where there are no settings.
ULONG ReadSettings( CallReport& rReport, LPCTSTR pSwitch, LPCTSTR pLevel )
{
    CRegistry aCRegistry;
    if ( !OpenSettingsKey( rReport, aCRegistry, DEBUG_SETTINGS_KEY ) )
        return 0;
    ReadSwitch( rReport, aCRegistry, pSwitch );
    return ReadLevel( rReport, aCRegistry, pLevel );
}

void ServeMonitorOfOldSystems() noexcept
{
    OSVERSIONINFOA aVersion{};
    aVersion.dwOSVersionInfoSize = sizeof( aVersion );
    if ( GetVersionExA( &aVersion ) && aVersion.dwPlatformId == WINDOWS_95_FAMILY )
        ServeDebugMonitor( true );
}

} // namespace

static void MyCheckDebugOption( LPCTSTR, LPCTSTR, LPCTSTR pIniKey0, LPCTSTR pIniKey1, BOOL )
{
    CallReport aReport(
        "From static void MyCheckDebugOption( LPCTSTR pIniFile, LPCTSTR pIniSec, LPCTSTR pIniKey0, LPCTSTR pIniKey1, BOOL fDef )" );
    // What fails on the way to the settings is to be seen.
    SetDebugEnabled( true );
    SetDebugLevel( aReport.Guard( ULONG( 0 ), SEVERE_ERROR,
                                  [&]() { return ReadSettings( aReport, pIniKey0, pIniKey1 ); } ) );
    ServeMonitorOfOldSystems();
}

void DLL_EXPORT OnGlobalValuesChanged()
{
    const LastErrorGuard aLastError;
    // The call's own: it keeps nobody out, and whoever writes last has written.
    CriticalSection aSection;
    const LockGuard aLock( aSection );
    MyCheckDebugOption( "QRN.INI", "Trace", QRN_CTRL_REG_DBG_OUT, QRN_CTRL_REG_DBG_LEVEL, FALSE );
}
