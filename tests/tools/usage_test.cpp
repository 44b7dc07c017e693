#include "tools/runprogram.h"

using Usage = ToolTest;

TEST_F( Usage, EveryLevelHasHelpWithExamplesOnStandardOutput )
{
    EXPECT_TRUE( Tool( "--help" ).Is( 0, { "Examples:\n  ", "Exit codes:" } ) );
    for ( const std::string strCommand :
          { "", "show", "explain", "make", "find", "count", "reverse", "append" } )
        EXPECT_TRUE( Tool( "errors " + strCommand + " --help" ).Is( 0, { "Examples:\n  " } ) );
    EXPECT_EQ( "0 bxtool " BXTOOLS_VERSION "\n", Outcome( "--version" ) );
}

TEST_F( Usage, AWrongCommandLineIsExplainedOnStandardError )
{
    for ( const char* pWords :
          { "", "errors", "nothing", "errors nothing", "errors show --nothing", "errors show a b",
            "errors show --layout round", "errors show --json --layout table",
            "errors make --json-in --class A", "debug level 6", "debug level 1;1;1;1;1;1" } )
        EXPECT_TRUE( Tool( pWords, StreamOf( { RECORD_A } ) ).Is( 2, {}, { "--help" } ) ) << pWords;
}

TEST_F( Usage, TheLibrarysDebugMessagesAppearOnRequestOnly )
{
    const std::string strStream = StreamOf( { "1.0.0+?+cut" } );
    EXPECT_FALSE( Holds( Tool( "errors show", strStream ).strErrors, "BXTOOLS.DLL" ) );
    const std::string strCommand = "BXTOOLS_DEBUG_SINK=stderr \"" BXTOOL_PROGRAM "\" errors show";
    EXPECT_TRUE( RunProgram( "/bin/sh", { "-c", strCommand }, strStream )
                     .Is( 4, { "" }, { "BXTOOLS.DLL -> From BOOL ErrObjectBase::FromStream" } ) );
}

TEST_F( Usage, OutputThatCannotBeWrittenIsAFailure )
{
    const std::string strCommand = "\"" BXTOOL_PROGRAM "\" errors make --class A >/dev/full";
    EXPECT_TRUE(
        RunProgram( "/bin/sh", { "-c", strCommand } ).Is( 5, {}, { "cannot write to standard output: " } ) );
}

TEST_F( Usage, ATerminalGetsWhatFitsIt )
{
    const std::string strLong = "one two three four five six seven eight nine ten eleven twelve";
    WriteBytes( Path( "s" ), StreamOf( { "1.0.0+?+A+?+1+?+0+?+" + strLong + "+?++?+" } ) );
    const auto ShowAt = [&]( const std::string& strColumns, const std::string& strNoColour )
    {
        const std::string strCommand = "stty cols " + strColumns + "; env " + strNoColour +
                                       " TERM=xterm \"" BXTOOL_PROGRAM "\" errors show s";
        ProgramResult aResult = RunProgram( "/usr/bin/script", { "-qec", strCommand, "/dev/null" } );
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
    EXPECT_TRUE( ShowAt( "40", "-u NO_COLOR" ).starts_with( "\x1b[1mrecord 0\x1b[0m\n" ) );
}
