#include "tools/runprogram.h"

#include <nlohmann/json.hpp>

using Tour = ToolTest;

TEST_F( Tour, CarriesTheErrorsOfItsThreadsToAnotherProcess )
{
    ProgramResult aTour = RunProgram( BXTOUR_PROGRAM, {} );
    std::erase( aTour.strOutput, '\r' );
    EXPECT_TRUE( aTour.Is(
        0,
        { "together  8 errors in ", "3 of 3 end when they are told to.",
          // What the second process printed.
          "\n     1. settings: cannot open the file\n", "concerns    no-such-settings.ini, r\n",
          "concerns    ., w\n", "class       BXTOOLS.ERRCLS_SYS_LASTERROR\n", "origin      LoadLibraryA\n",
          "concerns    NOSUCHPLUGIN.DLL\n", "\n     8. texts: the text is left out\n",
          "number      -2147024890 (hex: 0x80070006)\n",
          // The library's own words.
          "From BOOL MString::IsValidRange( int nType ) const\n", "Error number 71 was not taken any more.",
          // Its debug messages, which were switched off and on.
          "they are off, and this one is not seen\n     they are on again",
          // The file that two processes edited.
          "50 edits were counted, and 50 keys added: nothing was lost\n",
          // What users read.
          "     2. Die Einstellungen in no-such-settings.ini sind nicht lesbar (Zugriffsart r). Es gelten die Vorgaben.\n",
          "        Schweregrad: Fehler\n", "     1. There is no such file or directory.\n",
          "     4. The settings in . cannot be used (mode w). The defaults apply.\n",
          "        Severity: Error\n" },
        { "" } ) );

    // What it recommends to look at next.
    const ProgramResult aShown = Tool( "errors show --json tour.stream" );
    EXPECT_EQ( 0, aShown.nExitCode ) << aShown.strErrors;
    const nlohmann::json aRecords = nlohmann::json::parse( aShown.strOutput )["records"];
    ASSERT_EQ( 8u, aRecords.size() );
    EXPECT_EQ( 126, aRecords[4]["systemError"] );
    EXPECT_EQ( 127, aRecords[5]["systemError"] );

    EXPECT_TRUE( RunProgram( BXTOUR_READER_PROGRAM, {}, "##HDRMSG0" )
                     .Is( 1, {}, { "bxtour-reader: standard input is no error stream\n" } ) );
}
