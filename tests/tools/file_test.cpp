#include "tools/runprogram.h"

using FileTool = ToolTest;

TEST_F( FileTool, ExplainsNumbersAsReportsDo )
{
    EXPECT_TRUE( Tool( "file cause 32 0xFFFFFFFF" )
                     .Is( 0, { "32\n  cause   11, SHARE.EXE was not loaded, or a shared region was locked.\n"
                               "  system  ",
                               "\n-1\n  cause   1, An unspecified error occurred.\n  system  no text\n" } ) );
    EXPECT_TRUE( Tool( "file cause 0x70 --json" )
                     .Is( 0, { R"({"errors":[{"number":112,"cause":13,"causeText":"The disk is full.",)"
                               R"("systemText":")" } ) );
    EXPECT_EQ( "2 ", Outcome( "file cause two" ) );
}
