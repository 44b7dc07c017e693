#include "tools/runprogram.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

TEST( Tour, CarriesTheErrorsOfItsThreadsToAnotherProcess )
{
    ProgramFolder aFolder;
    ProgramResult aTour = aFolder.Run( BXTOUR_PROGRAM, {} );
    std::erase( aTour.strOutput, '\r' );
    EXPECT_EQ( 0, aTour.nExitCode ) << aTour.strErrors;
    EXPECT_TRUE( Holds( aTour.strOutput, "together  8 errors in " ) ) << aTour.strOutput;
    EXPECT_TRUE( Holds( aTour.strOutput, "3 of 3 end when they are told to." ) ) << aTour.strOutput;

    // What the second process printed.
    for ( const char* pLine :
          { "\n     1. settings: cannot open the file\n", "concerns    no-such-settings.ini, r\n",
            "concerns    ., w\n", "class       BXTOOLS.ERRCLS_SYS_LASTERROR\n", "origin      LoadLibraryA\n",
            "concerns    NOSUCHPLUGIN.DLL\n", "\n     8. texts: the text is left out\n",
            "number      -2147024890 (hex: 0x80070006)\n" } )
        EXPECT_TRUE( Holds( aTour.strOutput, pLine ) ) << pLine << aTour.strOutput;

    // The library's own words.
    EXPECT_TRUE( Holds( aTour.strOutput, "From BOOL MString::IsValidRange( int nType ) const\n" ) )
        << aTour.strOutput;
    EXPECT_TRUE( Holds( aTour.strOutput, "Error number 71 was not taken any more." ) ) << aTour.strOutput;

    // Its debug messages, which were switched off and on.
    EXPECT_TRUE( Holds( aTour.strOutput, "they are off, and this one is not seen\n     they are on again" ) )
        << aTour.strOutput;

    // The file that two processes edited.
    EXPECT_TRUE( Holds( aTour.strOutput, "50 edits were counted, and 50 keys added: nothing was lost\n" ) )
        << aTour.strOutput;

    // What users read.
    for (
        const char* pLine :
        { "     2. Die Einstellungen in no-such-settings.ini sind nicht lesbar (Zugriffsart r). Es gelten die Vorgaben.\n",
          "        Schweregrad: Fehler\n", "     1. There is no such file or directory.\n",
          "     4. The settings in . cannot be used (mode w). The defaults apply.\n",
          "        Severity: Error\n" } )
        EXPECT_TRUE( Holds( aTour.strOutput, pLine ) ) << pLine << aTour.strOutput;

    // What it recommends to look at next.
    const ProgramResult aShown = aFolder.Errors( { "show", "--json", "tour.stream" } );
    EXPECT_EQ( 0, aShown.nExitCode ) << aShown.strErrors;
    const nlohmann::json aRecords = nlohmann::json::parse( aShown.strOutput )["records"];
    ASSERT_EQ( 8u, aRecords.size() );
    EXPECT_EQ( 126, aRecords[4]["systemError"].get<int>() );
    EXPECT_EQ( 127, aRecords[5]["systemError"].get<int>() );
}

TEST( Tour, TheReaderRefusesWhatIsNoStream )
{
    ProgramFolder aFolder;
    const ProgramResult aResult = aFolder.Run( BXTOUR_READER_PROGRAM, {}, "##HDRMSG0" );
    EXPECT_EQ( 1, aResult.nExitCode );
    EXPECT_EQ( "bxtour-reader: standard input is no error stream\n", aResult.strErrors );
}
