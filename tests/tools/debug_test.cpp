#include "tools/runprogram.h"

#include <gtest/gtest.h>

namespace
{

class DebugTool : public ::testing::Test
{
protected:
    // Exit code, blank, output without the times.
    std::string Debug( std::vector<std::string> aArguments )
    {
        aArguments.insert( aArguments.begin(), "debug" );
        const ProgramResult aResult = m_aFolder.Run( BXTOOL_PROGRAM, aArguments );
        return std::to_string( aResult.nExitCode ) + " " + aResult.strOutput + aResult.strErrors;
    }

    ProgramFolder m_aFolder;
};

} // namespace

TEST_F( DebugTool, SwitchesAllProcessesAndKeepsTheSettings )
{
    EXPECT_EQ( "0 ", Debug( { "off" } ) );
    EXPECT_EQ( "0 messages  off\nlevels    none\nsettings  Out = No, Level = 0\n", Debug( { "status" } ) );
    EXPECT_EQ( "1 ", Debug( { "send", "unwanted" } ) );
    EXPECT_EQ( "0 ", Debug( { "level", "all" } ) );
    EXPECT_EQ( "0 {\"on\":false,\"levels\":\"1;2;3;4;5\"}\n", Debug( { "status", "--json" } ) );
    EXPECT_EQ( "0 ", Debug( { "on" } ) );
    EXPECT_EQ( "0 ", Debug( { "level", "5;2" } ) );
    EXPECT_EQ( "0 messages  on\nlevels    2;5\nsettings  Out = Yes, Level = 5;2\n", Debug( { "status" } ) );
}

TEST_F( DebugTool, ShowsWhatProgramsWroteThatHaveEnded )
{
    Debug( { "on" } );
    EXPECT_EQ( "0 ", Debug( { "send", "one" } ) );
    EXPECT_EQ( "0 ", Debug( { "send", "two\nlines \x1B" } ) );
    const std::string strBoth = Debug( { "last", "--process", "bxtool" } );
    EXPECT_TRUE( Holds( strBoth, "]  bxtool -> one\n" ) ) << strBoth;
    EXPECT_TRUE( Holds( strBoth, "]  bxtool -> two\n    lines \\x1B\n" ) ) << strBoth;
    EXPECT_FALSE( Holds( Debug( { "last", "1" } ), "one" ) );
    EXPECT_TRUE(
        Holds( Debug( { "last", "--text", "one", "--json" } ), "\"text\":\"bxtool -> one\\r\\n\"" ) );
    EXPECT_EQ( "1 ", Debug( { "last", "--process", "another" } ) );
    // Of a long name the beginning is kept.
    m_aFolder.Run( "/bin/sh", { "-c", "ln -s \"" BXTOOL_PROGRAM "\" a-tool-of-a-long-name; "
                                      "./a-tool-of-a-long-name debug send three" } );
    EXPECT_TRUE( Holds( Debug( { "last", "--process", "a-tool-of-a-long-name" } ), "-> three\n" ) );
}

TEST_F( DebugTool, WatchersSeeMessagesAsTheyCome )
{
    Debug( { "on" } );
    // What is looked for is out before they are ended; were there a watcher that sees nothing, this would not end. One may
    // begin to watch between the two messages, so the wanted one of each is waited for.
    const std::string strTool = "\"" BXTOOL_PROGRAM "\" debug ";
    const ProgramResult aResult = m_aFolder.Run(
        "/bin/sh",
        { "-c",
          strTool + "watch --text live >w1 2>e1 & A=$!; " + strTool +
              "watch --process bxtool --json >w2 & B=$!; until grep -q live w1 && grep -q quiet w2; do " +
              strTool + "send 'quiet'; " + strTool + "send 'live'; done; kill $A $B; wait" } );
    EXPECT_EQ( 0, aResult.nExitCode ) << aResult.strErrors;
    EXPECT_EQ( "bxtool: watching; end with Ctrl-C\n", ReadBytes( m_aFolder.Path( "e1" ) ) );
    EXPECT_FALSE( Holds( ReadBytes( m_aFolder.Path( "w1" ) ), "quiet" ) );
    EXPECT_TRUE( Holds( ReadBytes( m_aFolder.Path( "w2" ) ), "\"text\":\"bxtool -> quiet\\r\\n\"" ) );
}
