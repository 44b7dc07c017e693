// What the registry says about debug messages, and the monitor of the Windows 95 family.

#include "diag/dbwin.h"
#include "diag/debugsettings.h"
#include "diag/sharedvalues.h"
#include "support/recorder.h"
#include "support/secondprocess.h"

#include <bxtools/debug.h>
#include <bxtools/platform.h>
#include <bxtools/registry.h>

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace
{

constexpr char HEADER[] =
    "From static void MyCheckDebugOption( LPCTSTR pIniFile, LPCTSTR pIniSec, LPCTSTR pIniKey0, LPCTSTR pIniKey1, BOOL fDef )";

class DebugSettings : public ::testing::Test
{
protected:
    DebugSettings() { m_aRegistry.Connect( (HKEY)CRegistry::keyLocalMachine ); }
    ~DebugSettings() override
    {
        m_aRegistry.DeleteKey( DEBUG_SETTINGS_KEY );
        SetDebugEnabled( true );
        SetDebugLevel( 0 );
    }

    // Null: without this value.
    void Store( LPCTSTR pOut, LPCTSTR pLevel )
    {
        m_aRegistry.DeleteKey( DEBUG_SETTINGS_KEY );
        ASSERT_TRUE( m_aRegistry.Create( DEBUG_SETTINGS_KEY ) );
        if ( pOut != NULL )
            m_aRegistry.SetValue( "Out", MString( pOut ) );
        if ( pLevel != NULL )
            m_aRegistry.SetValue( "Level", MString( pLevel ) );
    }
    void ExpectRead( BOOL fOn, ULONG ulLevel )
    {
        SetDebugEnabled( FALSE );
        SetDebugLevel( 0xFFFF );
        OnGlobalValuesChanged();
        EXPECT_EQ( fOn, IsDbgMessage() );
        EXPECT_EQ( ulLevel, GetDebugLevel() );
    }

    CRegistry m_aRegistry;
};

} // namespace

TEST_F( DebugSettings, AreReadToTheLetter )
{
    DebugRecorder aRecorder;
    using Case = std::tuple<LPCTSTR, LPCTSTR, BOOL, ULONG>;
    for ( const auto& [pOut, pLevel, fOn, ulLevel] : {
              Case{ "Yes", "1;3", TRUE, 0x101 }, Case{ "TRUE", "2;all;1", TRUE, 0x11111 },
              Case{ "yEs", "1;2;3;4;5;1", TRUE, 0x11111 }, Case{ "1", "6;x", TRUE, 0 },
              Case{ "no", "5", FALSE, 0x10000 }, Case{ "Yes ", "01;1 ;4", FALSE, 0x1000 },
              Case{ "", "", FALSE, 0 }, Case{ "true", ";;1;2;3;4", TRUE, 0x111 },
              Case{ "1", "1;1;1;1;1;2", TRUE, 0x1 },
              Case{ "1", "3;ALL;0123456789012345678901234567890123456789012", TRUE, 0x100 }, // 49 characters
          } )
    {
        SCOPED_TRACE( pLevel );
        Store( pOut, pLevel );
        ExpectRead( fOn, ulLevel );
    }
}

TEST_F( DebugSettings, ReportWhatIsMissingAndLeaveMessagesOn )
{
    DebugRecorder aRecorder;
    m_aRegistry.DeleteKey( DEBUG_SETTINGS_KEY );
    SetLastError( 4711 );
    ExpectRead( TRUE, 0 );
    EXPECT_EQ( 4711u, GetLastError() );
    Store( NULL, NULL );
    ExpectRead( TRUE, 0 );
    EXPECT_TRUE( aRecorder.OnlyReports(
        { { HEADER,
            " Error: !aCRegistry.Open( aRoot, (CRegistry::CreatePermissions)( CRegistry::permissionRead ) )"
            "aRoot = Software\\Q.R.N. GmbH\\brindlex\\1.0\\DBG" },
          { HEADER,
            " Error: !aCRegistry.GetValue( QRN_CTRL_REG_DBG_OUT, stTemp ) QRN_CTRL_REG_DBG_OUT = Out" },
          { HEADER,
            " Error: !aCRegistry.GetValue( QRN_CTRL_REG_DBG_LEVEL, stTemp ) QRN_CTRL_REG_DBG_LEVEL = Level" } } ) );

    // Cut to 49 characters, so the last item is a 1.
    Store( "No", ( "2;" + std::string( 45, 'x' ) + ";15" ).c_str() );
    ExpectRead( TRUE, 0x11 );
    const std::string strReports = aRecorder.Take();
    EXPECT_NE( std::string::npos,
               strReports.find( " Error: !SafeCopy( szBuff1, stTemp, BUF_SIZE( szBuff1 ) )\r\n" ) )
        << strReports;
}

// Shows each message that comes, as the monitors of old systems do.
BX_ROLE( debug_monitor )
{
    const HANDLE hBufferReady = CreateEventA( NULL, FALSE, FALSE, "DBWIN_BUFFER_READY" );
    const HANDLE hDataReady = CreateEventA( NULL, FALSE, FALSE, "DBWIN_DATA_READY" );
    const HANDLE hMapping =
        CreateFileMappingA( INVALID_HANDLE_VALUE, NULL, PAGE_READWRITE, 0, 4096, "DBWIN_BUFFER" );
    const char* const pView = static_cast<const char*>( MapViewOfFile( hMapping, FILE_MAP_READ, 0, 0, 0 ) );
    TellTest( "ready" );
    for ( int i = 0; i < 2; ++i )
    {
        WaitForTest();
        SetEvent( hBufferReady );
        WaitForSingleObject( hDataReady, INFINITE );
        DWORD dwProcess = 0;
        memcpy( &dwProcess, pView, sizeof( dwProcess ) );
        const std::string strText( pView + sizeof( dwProcess ) );
        TellTest( std::to_string( dwProcess ) + " " + strText.substr( 0, strText.size() - 2 ) );
    }
    return 0;
}

TEST( DebugMonitor, GetsTheMessagesOneByOneWhereTheSystemDoesNotServeIt )
{
    DebugRecorder aRecorder;
    ServeDebugMonitor( true );
    DebugMessage( "M", NULL, "nobody looks" );
    {
        SecondProcess aMonitor( "debug_monitor", {} );
        EXPECT_EQ( "ready", aMonitor.ReadLine() );
        // What does not fit into the monitor's memory is not shown.
        DebugMessage( "M", NULL, std::string( 5000, 'x' ).c_str() );
        const std::string strProcess = std::to_string( GetCurrentProcessId() );
        for ( const char* pMessage : { "first", "second" } )
        {
            aMonitor.WriteLine( "go on" );
            DebugMessage( "M", NULL, pMessage );
            EXPECT_EQ( strProcess + " M -> " + pMessage, aMonitor.ReadLine() );
        }
        EXPECT_EQ( 0, aMonitor.Wait() );
    }
    {
        SecondProcess aKilled( "debug_monitor", {} );
        EXPECT_EQ( "ready", aKilled.ReadLine() );
        aKilled.Kill();
    }
    // Neither monitor is there any more: nothing waits for it.
    DebugMessage( "M", NULL, "nobody looks any more" );
    ServeDebugMonitor( false );
    aRecorder.Take();
}
