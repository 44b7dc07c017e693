#include "tools/runprogram.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

using Json = nlohmann::json;

namespace
{

size_t CountLines( const std::string& strText )
{
    return static_cast<size_t>( std::count( strText.begin(), strText.end(), '\n' ) );
}

} // namespace

TEST( ErrorsShow, PrintsALineForEachRecordWhereTheOutputIsAFile )
{
    ProgramFolder aFolder;
    const ProgramResult aResult = aFolder.Errors( { "show" }, StreamOf( { RECORD_A, RECORD_B } ) );
    EXPECT_EQ( 0, aResult.nExitCode );
    EXPECT_EQ( "", aResult.strErrors );
    EXPECT_EQ( 3u, CountLines( aResult.strOutput ) );
    const std::string strHeading = aResult.strOutput.substr( 0, aResult.strOutput.find( '\n' ) );
    EXPECT_TRUE( Holds( strHeading, "SYSTEM ERROR" ) );
    EXPECT_FALSE( Holds( strHeading, "OPTIONAL" ) ) << "no record has one";
    EXPECT_TRUE( Holds( aResult.strOutput, "\n0  BXTOOLS.ERRCLS_SYS_LASTERROR  12 (hex: 0x0000000C) " ) );
    EXPECT_TRUE( Holds( aResult.strOutput, "  CreateFile failed  c:\\data\\a.txt | read\n" ) );
    EXPECT_TRUE(
        Holds( aResult.strOutput, "\n1  BXTOOLS.ERRCLS_SYS_HRESULT    -2147024891 (hex: 0x80070005) " ) );
    EXPECT_FALSE( Holds( aResult.strOutput, "\x1b" ) ) << "colour is for terminals";

    // Blocks on request.
    const std::string strOutput =
        aFolder.Errors( { "show", "--layout", "blocks" }, StreamOf( { RECORD_B, RECORD_A } ) ).strOutput;
    EXPECT_TRUE( strOutput.starts_with( "record 0\n  class         BXTOOLS.ERRCLS_SYS_HRESULT\n" ) )
        << strOutput;
    EXPECT_TRUE( Holds( strOutput, "\nrecord 1\n" ) );
    EXPECT_TRUE( Holds( strOutput, "\n  parameter 0   c:\\data\\a.txt\n  parameter 1   read\n" ) )
        << strOutput;
}

TEST( ErrorsShow, GivesEveryValueAsJson )
{
    ProgramFolder aFolder;
    const ProgramResult aResult = aFolder.Errors( { "show", "--json" }, StreamOf( { RECORD_A, RECORD_B } ) );
    EXPECT_EQ( 0, aResult.nExitCode );
    const Json aDocument = Json::parse( aResult.strOutput );
    ASSERT_EQ( 2u, aDocument["records"].size() );
    EXPECT_EQ( 0u, aDocument["broken"].size() );
    Json aFirst = aDocument["records"][0];
    // What the system calls its errors is the system's business, but error 2 has a text on all of them.
    EXPECT_FALSE( aFirst["systemText"].get<std::string>().empty() );
    aFirst.erase( "systemText" );
    const Json aExpected = { { "index", 0 },       { "class", "BXTOOLS.ERRCLS_SYS_LASTERROR" },
                             { "number", 12 },     { "numberText", "12 (hex: 0x0000000C)" },
                             { "systemError", 2 }, { "origin", "CreateFile failed" },
                             { "optional", "" },   { "parameters", { "c:\\data\\a.txt", "read" } } };
    EXPECT_EQ( aExpected, aFirst );
    const Json aSecond = aDocument["records"][1];
    EXPECT_EQ( -2147024891, aSecond["number"].get<int>() );
    EXPECT_FALSE( aSecond["numberMeaning"].get<std::string>().empty() );
    EXPECT_EQ( "", aSecond["systemText"].get<std::string>() )
        << "0 is no error, and not this program's last one";
    EXPECT_TRUE( aSecond["parameters"].is_array() && aSecond["parameters"].empty() );
}

TEST( ErrorsShow, ShowsTheGoodRecordsAndNamesTheBrokenOnes )
{
    ProgramFolder aFolder;
    const std::string strStream =
        StreamOf( { RECORD_A, "1.0.0+?+APP+?+7+?+0+?+cut", "1.0.1+?+APP+?+7+?+0+?++?++?+", "", RECORD_B } );
    const ProgramResult aTable = aFolder.Errors( { "show" }, strStream );
    EXPECT_EQ( 4, aTable.nExitCode );
    EXPECT_EQ( 3u, CountLines( aTable.strOutput ) );
    EXPECT_TRUE( Holds( aTable.strOutput, "\n4  BXTOOLS.ERRCLS_SYS_HRESULT" ) )
        << "the index is that in the stream";
    EXPECT_EQ( 3u, CountLines( aTable.strErrors ) ) << aTable.strErrors;
    EXPECT_TRUE(
        Holds( aTable.strErrors, "standard input: record 1 is broken: it has 5 fields instead of 7" ) );
    EXPECT_TRUE( Holds( aTable.strErrors,
                        "record 2 is broken: it begins with \"1.0.1\" instead of the version \"1.0.0\"" ) );
    EXPECT_TRUE( Holds( aTable.strErrors, "record 3 is broken: it is empty" ) );

    const ProgramResult aJson = aFolder.Errors( { "show", "--json" }, strStream );
    EXPECT_EQ( 4, aJson.nExitCode );
    const Json aDocument = Json::parse( aJson.strOutput );
    EXPECT_EQ( 2u, aDocument["records"].size() );
    ASSERT_EQ( 3u, aDocument["broken"].size() );
    EXPECT_EQ( 2, aDocument["broken"][1]["index"].get<int>() );

    const ProgramResult aAllBroken =
        aFolder.Errors( { "show" }, StreamOf( std::vector<std::string>( 1000 ) ) );
    EXPECT_EQ( 4, aAllBroken.nExitCode );
    EXPECT_EQ( 101u, CountLines( aAllBroken.strErrors ) );
    EXPECT_TRUE( Holds( aAllBroken.strErrors, ": 900 more records are broken" ) );
}

TEST( ErrorsShow, TellsWhatTheInputIsInsteadOfAStream )
{
    ProgramFolder aFolder;
    const std::pair<std::string, const char*> aInputs[] = {
        { "", "standard input is empty" },
        { "\n", "standard input is empty" },
        { "no such thing", "is no error stream" },
        { std::string( 4096, '\0' ), "is no error stream" },
        { "##HDRMSG0", "no record separator" },
        { "##HDRMSG0$", "no record separator" },
        { std::string( "##HDRMSG0$\xC2\xB0" ) + RECORD_A, "converted to UTF-8" },
        { "1.0.0+?+APP+?+7", "it has 3 fields instead of 7" },
    };
    for ( const auto& [strInput, pReason] : aInputs )
    {
        const ProgramResult aResult = aFolder.Errors( { "show" }, strInput );
        EXPECT_EQ( 3, aResult.nExitCode ) << pReason;
        EXPECT_TRUE( Holds( aResult.strErrors, pReason ) ) << pReason << ": " << aResult.strErrors;
        EXPECT_EQ( "", aResult.strOutput );
    }
    const ProgramResult aMissing = aFolder.Errors( { "show", "missing.stream" } );
    EXPECT_EQ( 3, aMissing.nExitCode );
    EXPECT_TRUE( Holds( aMissing.strErrors, "cannot read missing.stream: " ) ) << aMissing.strErrors;
    EXPECT_EQ( 3, aFolder.Errors( { "show", "." } ).nExitCode ) << "a folder";

    std::ofstream( aFolder.Path( "huge" ) ).put( '#' );
    std::filesystem::resize_file( aFolder.Path( "huge" ), ( uintmax_t( 1 ) << 30 ) + 1 );
    const ProgramResult aHuge = aFolder.Errors( { "show", "huge" } );
    EXPECT_EQ( 3, aHuge.nExitCode );
    EXPECT_TRUE( Holds( aHuge.strErrors, "huge holds more than 1 GiB" ) ) << aHuge.strErrors;
}

TEST( ErrorsShow, DropsOneLineEndOfAPipeAndTakesABareRecord )
{
    ProgramFolder aFolder;
    const std::tuple<const char*, const char*, std::vector<std::string>> aCases[] = {
        { "\n", "read", { "show", "--json" } },
        { "\r\n", "read", { "show", "--json" } },
        { "\n\n", "read\n", { "show", "--json" } },
        { "\r", "read\r", { "show", "--json" } },
        { "\r\n", "read\r\n", { "show", "--json", "--keep-line-end" } }
    };
    for ( const auto& [pEnd, pExpected, aArguments] : aCases )
    {
        const ProgramResult aResult = aFolder.Errors( aArguments, StreamOf( { RECORD_A } ) + pEnd );
        EXPECT_EQ( pExpected, Json::parse( aResult.strOutput )["records"][0]["parameters"][1] );
    }
    WriteBytes( aFolder.Path( "bare" ), std::string( RECORD_A ) + "\n" );
    const ProgramResult aResult = aFolder.Errors( { "show", "bare" } );
    EXPECT_EQ( 0, aResult.nExitCode );
    EXPECT_TRUE( Holds( aResult.strOutput, "CreateFile failed" ) );
    EXPECT_TRUE( Holds( aResult.strErrors, "bare holds a single error record without a stream's header" ) );
}

TEST( ErrorsShow, LetsNoTextReachTheTerminalsControls )
{
    ProgramFolder aFolder;
    const std::string strStream = StreamOf(
        { "1.0.0+?+A+?+1+?+0+?+\x1b[2J\r\nx\xff\xc0\xafy\xed\xa0\x80z+?+\xc2\x9b\xe2\x80\xae+?+gr\xc3\xbc\xc3\x9f" } );
    const std::string strTable = aFolder.Errors( { "show" }, strStream ).strOutput;
    const char R[] = "\xEF\xBF\xBD";
    const std::string strOrigin = std::string( "\\x1B[2J\\r\\nx" ) + R + R + R + "y" + R + R + R + "z";
    EXPECT_TRUE( Holds( strTable, strOrigin + "  \\x9B\\u{202E}  gr\xc3\xbc\xc3\x9f\n" ) ) << strTable;

    const ProgramResult aJson = aFolder.Errors( { "show", "--json" }, strStream );
    EXPECT_EQ( 0, aJson.nExitCode );
    EXPECT_TRUE( Holds( Json::parse( aJson.strOutput )["records"][0]["origin"].get<std::string>(), R ) );
}
