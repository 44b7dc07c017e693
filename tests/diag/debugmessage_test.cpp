#include "diag/sharedvalues.h"
#include "support/failnew.h"
#include "support/recorder.h"
#include "support/secondprocess.h"

#include <bxtools/debug.h>
#include <bxtools/platform.h>

#include <gtest/gtest.h>

#include <string>

TEST( DebugMessages, WriteModuleAndHeaderAsOneLineAndTheMessageAsTheNext )
{
    DebugRecorder aRecorder;
    constexpr LPCTSTR CASES[][4] = {
        { "M", "From f", "Error: x", "M -> From f\r\nError: x\r\n" },
        { NULL, "h", "m", " -> h\r\nm\r\n" },
        { "M", NULL, "m", "M -> m\r\n" },
        { "M", "h", NULL, "" },
        { NULL, NULL, NULL, "" },
        { NULL, NULL, "", " -> \r\n" },
        { "M", "", "", "M -> \r\n" },
        { "M", "h", "", "M -> h\r\n" },
        // a leading new line
        { "M", "\nh", "m", "\r\nM -> h\r\nm\r\n" },
        { "M", "\\nh", "m", "\r\nM -> h\r\nm\r\n" },
        { "M", "\\n", "m", "\r\nM -> \r\nm\r\n" },
        { "M", "\n", "m", "M -> \r\nm\r\n" },
        { "M", "\n\nh", "m", "\r\nM -> \nh\r\nm\r\n" },
        { "M", "\rh", "m", "M -> \rh\r\nm\r\n" },
        // line ends
        { "M", "h\n", "m\r", "M -> h\r\nm\r\n" },
        { "M", "h\r\n", "m\r\n", "M -> h\r\nm\r\n" },
        { "M", "h\\n", "m\\r", "M -> h\r\nm\r\n" },
        { "M", "h\n\n", "m\n\r", "M -> h\n\r\nm\n\r\n" },
        { "M", "h\\n\n", "m\\t", "M -> h\\n\r\nm\\t\r\n" },
    };
    for ( const auto& [pModule, pHeader, pMessage, pWritten] : CASES )
    {
        EXPECT_EQ( 0, DebugMessage( pModule, pHeader, pMessage ) );
        EXPECT_EQ( pWritten, aRecorder.Take() );
    }
}

TEST( DebugMessages, AreWrittenWholeWhateverTheirLengthAndKeepTheLastError )
{
    DebugRecorder aRecorder;
    for ( const size_t uLength : { 2030u, 2035u, 2036u, 2037u, 2038u, 2039u, 2048u, 100000u } )
    {
        const std::string strMessage( uLength, 'x' );
        SetLastError( 1234 );
        DebugMessage( "M", "h", strMessage.c_str() );
        EXPECT_EQ( 1234u, GetLastError() );
        EXPECT_EQ( "M -> h\r\n" + strMessage + "\r\n", aRecorder.Take() ) << uLength;
    }
}

// Says what it finds, and sets the two values.
BX_ROLE( debug_switch )
{
    TellTest( "started" );
    WaitForTest();
    const bool fFound = IsDbgMessage() == FALSE && internalIsDbgMessageLevel( 0x1000 );
    SetDebugEnabled( true );
    SetDebugLevel( 0x10010 );
    return fFound ? 0 : 1;
}

TEST( DebugMessages, AreSwitchedForAllProcessesAtOnce )
{
    DebugRecorder aRecorder;
    SecondProcess aOther( "debug_switch", {} );
    EXPECT_EQ( "started", aOther.ReadLine() );
    SetDebugEnabled( false );
    SetDebugLevel( 0x1000 );
    EXPECT_EQ( 0, DebugMessage( "M", "h", "m" ) );
    aOther.WriteLine( "look" );
    EXPECT_EQ( 0, aOther.Wait() );
    EXPECT_EQ( TRUE, IsDbgMessage() );
    EXPECT_EQ( TRUE, internalIsDbgMessageLevel( 0x11000 ) );
    for ( const ULONG ulLevel : { 0x1000u, 0u, 0x101u } )
        EXPECT_FALSE( internalIsDbgMessageLevel( ulLevel ) );
    SetDebugLevel( 0 );
    EXPECT_FALSE( internalIsDbgMessageLevel( 0xFFFFFFFF ) );
}

TEST( OutOfMemory, DebugMessagesNeedMemoryOnlyWhenTheyAreLong )
{
    DebugRecorder aRecorder;
    for ( const size_t uLength : { 1u, 5000u } )
    {
        const std::string strText( uLength, 'x' );
        const auto Write = [&]( NewFault& rFault )
        {
            rFault.Arm();
            DebugMessage( "M", "h", strText.c_str() );
            rFault.Disarm();
            EXPECT_EQ( rFault.Hit() ? "" : "M -> h\r\n" + strText + "\r\n", aRecorder.Take() );
        };
        EXPECT_EQ( uLength == 1 ? 0u : 1u, ForEachFailingNew( Write ) );
    }
}
