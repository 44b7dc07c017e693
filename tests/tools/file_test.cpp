#include "tools/runprogram.h"

#include <gtest/gtest.h>

TEST( FileTool, ExplainsNumbersAsReportsDo )
{
    ProgramFolder aFolder;
    const ProgramResult aText = aFolder.Run( BXTOOL_PROGRAM, { "file", "cause", "32", "0xFFFFFFFF" } );
    EXPECT_EQ( 0, aText.nExitCode );
    EXPECT_EQ( "", aText.strErrors );
    EXPECT_TRUE( aText.strOutput.starts_with(
        "32\n  cause   11, SHARE.EXE was not loaded, or a shared region was locked.\n  system  " ) );
    EXPECT_TRUE(
        Holds( aText.strOutput, "\n-1\n  cause   1, An unspecified error occurred.\n  system  no text\n" ) )
        << aText.strOutput;
    const ProgramResult aJson = aFolder.Run( BXTOOL_PROGRAM, { "file", "cause", "0x70", "--json" } );
    EXPECT_TRUE( aJson.strOutput.starts_with(
        R"({"errors":[{"number":112,"cause":13,"causeText":"The disk is full.","systemText":")" ) )
        << aJson.strOutput;
    EXPECT_EQ( 2, aFolder.Run( BXTOOL_PROGRAM, { "file", "cause", "two" } ).nExitCode );
}
