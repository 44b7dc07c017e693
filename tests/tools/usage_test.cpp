#include "tools/runprogram.h"

#include <gtest/gtest.h>

TEST( Usage, EveryLevelHasHelpWithExamplesOnStandardOutput )
{
    ProgramFolder aFolder;
    const std::vector<std::vector<std::string>> aLevels = {
        {},
        { "errors" },
        { "errors", "show" },
        { "errors", "make" },
        { "errors", "find" },
        { "errors", "count" },
        { "errors", "reverse" },
        { "errors", "append" },
    };
    for ( std::vector<std::string> aLevel : aLevels )
    {
        aLevel.push_back( "--help" );
        const ProgramResult aResult = aFolder.Run( BXTOOL_PROGRAM, aLevel );
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
    const std::string strStream = StreamOf( { "1.0.0+?+cut" } );
    const ProgramResult aQuiet = aFolder.Errors( { "show" }, strStream );
    EXPECT_EQ( 4, aQuiet.nExitCode );
    EXPECT_FALSE( Holds( aQuiet.strErrors, "From " ) ) << aQuiet.strErrors;
    const std::string strReport = "BXTOOLS.DLL -> From BOOL ErrObjectBase::FromStream";
    EXPECT_TRUE( Holds( aFolder.Errors( { "show", "--debug" }, strStream ).strErrors, strReport ) );
    EXPECT_TRUE(
        Holds( aFolder.Run( BXTOOL_PROGRAM, { "errors", "show" }, strStream, { "BXTOOLS_DEBUG_SINK=stderr" } )
                   .strErrors,
               strReport ) );
}

TEST( Usage, OutputThatCannotBeWrittenIsAFailure )
{
    ProgramFolder aFolder;
    const std::string strCommand = "\"" BXTOOL_PROGRAM "\" errors make --class A >/dev/full";
    const ProgramResult aResult = aFolder.Run( "/bin/sh", { "-c", strCommand } );
    EXPECT_EQ( 5, aResult.nExitCode );
    EXPECT_TRUE( Holds( aResult.strErrors, "cannot write to standard output: " ) ) << aResult.strErrors;
}
