#include "diag/sharedvalues.h"
#include "support/recorder.h"
#include "support/secondprocess.h"

#include <bxtools/debug.h>
#include <bxtools/platform.h>

#include <gtest/gtest.h>

#include <string>

namespace
{

struct Case
{
    LPCTSTR pModule;
    LPCTSTR pHeader;
    LPCTSTR pMessage;
    LPCTSTR pWritten;
};

} // namespace

TEST( DebugMessages, WriteModuleAndHeaderAsOneLineAndTheMessageAsTheNext )
{
    DebugRecorder aRecorder;
    for ( const Case& rCase : std::initializer_list<Case>{
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
          } )
    {
        EXPECT_EQ( 0, DebugMessage( rCase.pModule, rCase.pHeader, rCase.pMessage ) );
        EXPECT_EQ( rCase.pWritten, aRecorder.Take() );
    }
}

TEST( DebugMessages, AreWrittenWholeWhateverTheirLength )
{
    DebugRecorder aRecorder;
    for ( const size_t uLength : { 2030u, 2035u, 2036u, 2037u, 2038u, 2039u, 2048u, 100000u } )
    {
        const std::string strMessage( uLength, 'x' );
        DebugMessage( "M", "h", strMessage.c_str() );
        EXPECT_EQ( "M -> h\r\n" + strMessage + "\r\n", aRecorder.Take() ) << uLength;
    }
}

TEST( DebugMessages, AreSwitchedOffAndSortedByLevel )
{
    DebugRecorder aRecorder;
    SetDebugEnabled( false );
    EXPECT_FALSE( IsDbgMessage() );
    EXPECT_EQ( 0, DebugMessage( "M", "h", "m" ) );
    EXPECT_TRUE( aRecorder.Silent() );
    SetDebugEnabled( true );
    EXPECT_EQ( TRUE, IsDbgMessage() );

    SetDebugLevel( 0x101 );
    EXPECT_EQ( TRUE, internalIsDbgMessageLevel( 0x11100 ) );
    EXPECT_FALSE( internalIsDbgMessageLevel( 0x10 ) );
    EXPECT_FALSE( internalIsDbgMessageLevel( 0 ) );
    SetDebugLevel( 0 );
    EXPECT_FALSE( internalIsDbgMessageLevel( 0xFFFFFFFF ) );
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
    SecondProcess aOther( "debug_switch", {} );
    EXPECT_EQ( "started", aOther.ReadLine() );
    SetDebugEnabled( false );
    SetDebugLevel( 0x1000 );
    aOther.WriteLine( "look" );
    EXPECT_EQ( 0, aOther.Wait() );
    EXPECT_EQ( TRUE, IsDbgMessage() );
    EXPECT_TRUE( internalIsDbgMessageLevel( 0x10000 ) );
    EXPECT_FALSE( internalIsDbgMessageLevel( 0x1000 ) );
    SetDebugLevel( 0 );
}

TEST( DebugMessages, KeepTheLastError )
{
    DebugRecorder aRecorder;
    SetLastError( 1234 );
    DebugMessage( "M", "h", "m" );
    DebugMessage( "M", "h", std::string( 5000, 'x' ).c_str() );
    EXPECT_EQ( 1234u, GetLastError() );
}
