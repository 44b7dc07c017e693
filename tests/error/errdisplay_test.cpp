// Each case runs in a process of its own, which finds another display library, or none.
#include "error/bxboxcall.h"
#include "error/records.h"
#include "support/recorder.h"
#include "support/secondprocess.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <list>

namespace
{

constexpr char SERVER_HEADER[] = "From BOOL ERRServer::DisplayError( HWND hWndParent, BOOL fModeless )";

BOOL Display( DisplayCall& rCall, BOOL fModeless )
{
    EXPECT_TRUE( SetLastErr( "TEST.CLASS", 7, 0, "origin", "", "" ) );
    return DisplayError( reinterpret_cast<HWND>( &rCall ), fModeless );
}

void ExpectShown()
{
    DebugRecorder aDebug;
    DisplayCall aCall;
    EXPECT_TRUE( Display( aCall, TRUE ) );
    EXPECT_TRUE( aCall.fModeless );
    EXPECT_EQ( StreamOf( { NumberedRecord( 7 ) } ), aCall.strStream );
    EXPECT_TRUE( DisplayError( reinterpret_cast<HWND>( &aCall ), FALSE ) );
    EXPECT_FALSE( aCall.fModeless );
    EXPECT_EQ( "", aCall.strStream ) << "taken the first time";
}

// The error is gone all the same.
void ExpectNotShown( std::vector<Report> aReports )
{
    DebugRecorder aDebug;
    DisplayCall aCall;
    aCall.fResult = FALSE;
    EXPECT_FALSE( Display( aCall, FALSE ) );
    aReports.emplace_back(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT DisplayError( HWND hWndParent, BOOL fModeless )",
        " Error: !pERRServer->DisplayError( hWndParent, fModeless )" );
    EXPECT_TRUE( aDebug.OnlyReports( aReports ) );
    ULONG ulCount = 9;
    EXPECT_TRUE( GetAvailableErrorCount( ulCount ) );
    EXPECT_EQ( 0u, ulCount );
}

void ExpectNotLoaded( const char* pReason, long lError )
{
    MString aText;
    BOOL fFound = FALSE;
    ExpandLastError( aText, pReason, lError, fFound );
    ExpectNotShown( { { "From BOOL ERRServer::CheckErrDisplayFunc()", ToText( aText ) },
                      { SERVER_HEADER, " Error: !CheckErrDisplayFunc()" } } );
}

// Runs the role where the loaders of the two systems find what lies in a folder.
int RunBeside( const char* pFolder, const char* pCase )
{
    // The environment keeps the texts themselves.
    static std::list<std::string> aPaths;
    putenv( aPaths.emplace_back( std::string( "LD_LIBRARY_PATH=" ) + pFolder ).data() );
    std::filesystem::current_path( pFolder );
    return RunInRole( "display", { pCase } );
}

} // namespace

BX_ROLE( display )
{
    if ( Arguments.at( 0 ) == "whole" )
    {
        ExpectShown();
        ExpectNotShown(
            { { SERVER_HEADER,
                " Error: !(*m_pErrDisplayFunc)( (HWND)hWndParent, (BOOL)fModeless, (LPCTSTR)aStream )" } } );
    }
    else if ( Arguments.at( 0 ) == "without function" )
        ExpectNotLoaded(
            " Error: m_pErrDisplayFunc == NULL, GetProcAddress( m_hHMODULE, ERRDISPFUNCNAME ) failed., ERRDISPFUNCNAME = DisplayErrorFromStream",
            127 );
    else
        ExpectNotLoaded(
            " Error: ( hTempModule = LoadLibrary( DISP_ERR_LIB ) ) == NULL, DISP_ERR_LIB = BXBox.DLL", 126 );
    return ::testing::Test::HasFailure();
}

TEST( ErrDisplay, ShowsTheStreamOrSaysWhyNot )
{
    EXPECT_EQ( 0, RunBeside( BX_DISPLAY_FOLDER, "whole" ) );
    EXPECT_EQ( 0, RunBeside( BX_NO_DISPLAY_FOLDER, "without function" ) );
    const std::string strEmpty = BX_EMPTY_FOLDER;
    EXPECT_EQ( 0, strEmpty.empty() ? 0 : RunBeside( strEmpty.c_str(), "missing" ) );
}
