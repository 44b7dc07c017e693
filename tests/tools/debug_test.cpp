#include "tools/runprogram.h"

using DebugTool = ToolTest;

TEST_F( DebugTool, SwitchesAllProcessesAndKeepsTheSettings )
{
    EXPECT_TRUE( Tool( "debug off" ).Is( 0, {} ) );
    EXPECT_TRUE( Tool( "debug status" )
                     .Is( 0, { "messages  off\nlevels    none\nsettings  Out = No, Level = 0\n" } ) );
    EXPECT_TRUE( Tool( "debug send unwanted" ).Is( 1, {} ) );
    EXPECT_TRUE( Tool( "debug level all" ).Is( 0, {} ) );
    EXPECT_EQ( "0 {\"on\":false,\"levels\":\"1;2;3;4;5\"}\n", Outcome( "debug status --json" ) );
    EXPECT_TRUE( Tool( "debug on" ).Is( 0, {} ) );
    EXPECT_TRUE( Tool( "debug level 5;2" ).Is( 0, {} ) );
    EXPECT_TRUE( Tool( "debug status" )
                     .Is( 0, { "messages  on\nlevels    2;5\nsettings  Out = Yes, Level = 5;2\n" } ) );
}

TEST_F( DebugTool, ShowsWhatProgramsWroteThatHaveEnded )
{
    Tool( "debug on" );
    EXPECT_TRUE( Tool( "debug send one" ).Is( 0, {} ) );
    EXPECT_TRUE( Tool( "debug send 'two\nlines \x1B'" ).Is( 0, {} ) );
    EXPECT_TRUE( Tool( "debug last --process bxtool" )
                     .Is( 0, { "]  bxtool -> one\n", "]  bxtool -> two\n    lines \\x1B\n" } ) );
    EXPECT_FALSE( Holds( Outcome( "debug last 1" ), "one" ) );
    EXPECT_TRUE( Tool( "debug last --text one --json" ).Is( 0, { "\"text\":\"bxtool -> one\\r\\n\"" } ) );
    EXPECT_TRUE( Tool( "debug last --process another" ).Is( 1, {} ) );
    // Of a long name the beginning is kept.
    RunProgram( "/bin/sh", { "-c", "ln -s \"" BXTOOL_PROGRAM "\" a-tool-of-a-long-name; "
                                   "./a-tool-of-a-long-name debug send three" } );
    EXPECT_TRUE( Tool( "debug last --process a-tool-of-a-long-name" ).Is( 0, { "-> three\n" } ) );
}

TEST_F( DebugTool, WatchersSeeMessagesAsTheyCome )
{
    Tool( "debug on" );
    // What is looked for is out before they are ended; were there a watcher that sees nothing, this would not end. One may
    // begin to watch between the two messages, so the wanted one of each is waited for.
    const std::string strTool = "\"" BXTOOL_PROGRAM "\" debug ";
    EXPECT_TRUE(
        RunProgram(
            "/bin/sh",
            { "-c",
              strTool + "watch --text live >w1 2>e1 & A=$!; " + strTool +
                  "watch --process bxtool --json >w2 & B=$!; until grep -q live w1 && grep -q quiet w2; do " +
                  strTool + "send 'quiet'; " + strTool + "send 'live'; done; kill $A $B; wait" } )
            .Is( 0, {}, { "" } ) );
    EXPECT_EQ( "bxtool: watching; end with Ctrl-C\n", ReadBytes( Path( "e1" ) ) );
    EXPECT_FALSE( Holds( ReadBytes( Path( "w1" ) ), "quiet" ) );
    EXPECT_TRUE( Holds( ReadBytes( Path( "w2" ) ), "\"text\":\"bxtool -> quiet\\r\\n\"" ) );
}
