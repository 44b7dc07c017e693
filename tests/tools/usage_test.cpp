#include "tools/runprogram.h"

#include <gtest/gtest.h>

TEST( Usage, EveryLevelHasHelpWithExamplesOnStandardOutput )
{
    ProgramFolder aFolder;
    EXPECT_TRUE( Holds( aFolder.Run( BXTOOL_PROGRAM, { "--help" } ).strOutput, "Examples:\n  " ) );
    for ( const char* pCommand :
          { "--help", "show", "explain", "make", "find", "count", "reverse", "append" } )
    {
        const ProgramResult aResult = aFolder.Errors( { pCommand, "--help" } );
        EXPECT_EQ( 0, aResult.nExitCode );
        EXPECT_TRUE( Holds( aResult.strOutput, "Examples:\n  " ) ) << aResult.strOutput;
        EXPECT_EQ( "", aResult.strErrors );
    }
    EXPECT_TRUE( Holds( aFolder.Run( BXTOOL_PROGRAM, { "--help" } ).strOutput, "Exit codes:" ) );
    EXPECT_EQ( "bxtool " BXTOOLS_VERSION "\n", aFolder.Run( BXTOOL_PROGRAM, { "--version" } ).strOutput );
}

TEST( Usage, AWrongCommandLineIsExplainedOnStandardError )
{
    ProgramFolder aFolder;
    const std::vector<std::vector<std::string>> aLines = {
        {},
        { "errors" },
        { "nothing" },
        { "errors", "nothing" },
        { "errors", "show", "--nothing" },
        { "errors", "show", "a", "b" },
        { "errors", "show", "--layout", "round" },
        { "errors", "show", "--json", "--layout", "table" },
        { "errors", "make", "--json-in", "--class", "A" },
        { "debug", "level", "6" },
        { "debug", "level", "1;1;1;1;1;1" },
    };
    for ( const std::vector<std::string>& aLine : aLines )
    {
        const ProgramResult aResult = aFolder.Run( BXTOOL_PROGRAM, aLine, StreamOf( { RECORD_A } ) );
        EXPECT_EQ( 2, aResult.nExitCode ) << testing::PrintToString( aLine );
        EXPECT_EQ( "", aResult.strOutput ) << testing::PrintToString( aLine );
        EXPECT_TRUE( Holds( aResult.strErrors, "--help" ) ) << aResult.strErrors;
    }
}

TEST( Usage, TheLibrarysDebugMessagesAppearOnRequestOnly )
{
    ProgramFolder aFolder;
    const auto ShowsReport = [&]( const std::vector<std::string>& aEnvironment )
    {
        const ProgramResult aResult =
            aFolder.Run( BXTOOL_PROGRAM, { "errors", "show" }, StreamOf( { "1.0.0+?+cut" } ), aEnvironment );
        EXPECT_EQ( 4, aResult.nExitCode );
        return Holds( aResult.strErrors, "BXTOOLS.DLL -> From BOOL ErrObjectBase::FromStream" );
    };
    EXPECT_FALSE( ShowsReport( {} ) );
    EXPECT_TRUE( ShowsReport( { "BXTOOLS_DEBUG_SINK=stderr" } ) );
}

TEST( Usage, OutputThatCannotBeWrittenIsAFailure )
{
    ProgramFolder aFolder;
    const std::string strCommand = "\"" BXTOOL_PROGRAM "\" errors make --class A >/dev/full";
    const ProgramResult aResult = aFolder.Run( "/bin/sh", { "-c", strCommand } );
    EXPECT_EQ( 5, aResult.nExitCode );
    EXPECT_TRUE( Holds( aResult.strErrors, "cannot write to standard output: " ) ) << aResult.strErrors;
}

TEST( Usage, ATerminalGetsWhatFitsIt )
{
    ProgramFolder aFolder;
    const std::string strLong = "one two three four five six seven eight nine ten eleven twelve";
    WriteBytes( aFolder.Path( "s" ), StreamOf( { "1.0.0+?+A+?+1+?+0+?+" + strLong + "+?++?+" } ) );
    const auto ShowAt = [&]( const char* pColumns, const char* pNoColour )
    {
        const std::string strCommand =
            std::string( "stty cols " ) + pColumns + "; \"" BXTOOL_PROGRAM "\" errors show s";
        ProgramResult aResult = aFolder.Run( "/usr/bin/script", { "-qec", strCommand, "/dev/null" }, "",
                                             { "TERM=xterm", pNoColour } );
        std::erase( aResult.strOutput, '\r' );
        return aResult.strOutput;
    };
    EXPECT_EQ( "#  CLASS  NUMBER               SYSTEM ERROR  ORIGIN\n"
               "0  A      1 (hex: 0x00000001)  0             " +
                   strLong + "\n",
               ShowAt( "107", "NO_COLOR=1" ) );
    EXPECT_EQ( "record 0\n"
               "  class         A\n"
               "  number        1 (hex: 0x00000001)\n"
               "  system error  0\n"
               "  origin        one two three four five\n"
               "                six seven eight nine ten\n"
               "                eleven twelve\n",
               ShowAt( "40", "NO_COLOR=1" ) );
    EXPECT_TRUE( ShowAt( "40", "NO_COLOR=" ).starts_with( "\x1b[1mrecord 0\x1b[0m\n" ) );
}
