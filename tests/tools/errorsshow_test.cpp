#include "tools/runprogram.h"

#include <bxtools/wintypes.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

using Json = nlohmann::json;
using ErrorsShow = ToolTest;

TEST_F( ErrorsShow, PrintsALineForEachRecordWhereTheOutputIsAFile )
{
    const ProgramResult aResult = Tool( "errors show", StreamOf( { RECORD_A, RECORD_B } ) );
    EXPECT_TRUE(
        aResult.Is( 0, { "  SYSTEM ERROR  ", "\n0  BXTOOLS.ERRCLS_SYS_LASTERROR  12 (hex: 0x0000000C) ",
                         "  CreateFile failed  c:\\data\\a.txt | read\n",
                         "\n1  BXTOOLS.ERRCLS_SYS_HRESULT    -2147024891 (hex: 0x80070005) " } ) );
    EXPECT_EQ( 3, std::ranges::count( aResult.strOutput, '\n' ) );
    EXPECT_FALSE( Holds( aResult.strOutput, "OPTIONAL" ) ) << "no record has one";
    EXPECT_FALSE( Holds( aResult.strOutput, "\x1b" ) ) << "colour is for terminals";
    EXPECT_TRUE( Tool( "errors show --layout blocks", StreamOf( { RECORD_B, RECORD_A } ) )
                     .Is( 0, { "record 0\n  class         BXTOOLS.ERRCLS_SYS_HRESULT\n", "\nrecord 1\n",
                               "\n  parameter 0   c:\\data\\a.txt\n  parameter 1   read\n" } ) );
}

TEST_F( ErrorsShow, GivesEveryValueAsJson )
{
    const ProgramResult aResult = Tool( "errors show --json", StreamOf( { RECORD_A, RECORD_B } ) );
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
    EXPECT_EQ( -2147024891, aSecond["number"] );
    EXPECT_FALSE( aSecond["numberMeaning"].get<std::string>().empty() );
    EXPECT_EQ( "", aSecond["systemText"] ) << "0 is no error, and not this program's last one";
    EXPECT_EQ( Json::array(), aSecond["parameters"] );
}

TEST_F( ErrorsShow, ShowsTheGoodRecordsAndNamesTheBrokenOnes )
{
    const std::string strStream =
        StreamOf( { RECORD_A, "1.0.0+?+APP+?+7+?+0+?+cut", "1.0.1+?+APP+?+7+?+0+?++?++?+", "", RECORD_B } );
    const ProgramResult aTable = Tool( "errors show", strStream );
    EXPECT_TRUE( aTable.Is( 4, { "\n0  BXTOOLS.ERRCLS_SYS_LASTERROR", "\n4  BXTOOLS.ERRCLS_SYS_HRESULT" },
                            { "standard input: record 1 is broken: it has 5 fields instead of 7",
                              "record 2 is broken: it begins with \"1.0.1\" instead of the version \"1.0.0\"",
                              "record 3 is broken: it is empty" } ) );
    EXPECT_EQ( 3, std::ranges::count( aTable.strOutput, '\n' ) );
    EXPECT_EQ( 3, std::ranges::count( aTable.strErrors, '\n' ) );

    const ProgramResult aJson = Tool( "errors show --json", strStream );
    EXPECT_EQ( 4, aJson.nExitCode );
    const Json aDocument = Json::parse( aJson.strOutput );
    EXPECT_EQ( 2u, aDocument["records"].size() );
    ASSERT_EQ( 3u, aDocument["broken"].size() );
    EXPECT_EQ( 2, aDocument["broken"][1]["index"] );

    const ProgramResult aAllBroken = Tool( "errors show", StreamOf( Texts( 1000 ) ) );
    EXPECT_TRUE( aAllBroken.Is( 4, { "" }, { ": 900 more records are broken" } ) );
    EXPECT_EQ( 101, std::ranges::count( aAllBroken.strErrors, '\n' ) );
}

TEST_F( ErrorsShow, TellsWhatTheInputIsInsteadOfAStream )
{
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
        EXPECT_TRUE( Tool( "errors show", strInput ).Is( 3, {}, { pReason } ) ) << strInput;
    EXPECT_TRUE( Tool( "errors show missing.stream" ).Is( 3, {}, { "cannot read missing.stream: " } ) );
    EXPECT_EQ( "3 ", Outcome( "errors show ." ) ) << "a folder";
    WriteBytes( Path( "huge" ), "#" );
    std::filesystem::resize_file( Path( "huge" ), ( uintmax_t( 1 ) << 30 ) + 1 );
    EXPECT_TRUE( Tool( "errors show huge" ).Is( 3, {}, { "huge holds more than 1 GiB" } ) );
}

TEST_F( ErrorsShow, DropsOneLineEndOfAPipeAndTakesABareRecord )
{
    const std::tuple<const char*, const char*, const char*> aCases[] = {
        { "\n", "read", "errors show --json" },
        { "\r\n", "read", "errors show --json" },
        { "\n\n", "read\n", "errors show --json" },
        { "\r", "read\r", "errors show --json" },
        { "\r\n", "read\r\n", "errors show --json --keep-line-end" },
    };
    for ( const auto& [pEnd, pExpected, pWords] : aCases )
    {
        const ProgramResult aResult = Tool( pWords, StreamOf( { RECORD_A } ) + pEnd );
        EXPECT_EQ( pExpected, Json::parse( aResult.strOutput )["records"][0]["parameters"][1] );
    }
    WriteBytes( Path( "bare" ), std::string( RECORD_A ) + "\n" );
    EXPECT_TRUE( Tool( "errors show bare" )
                     .Is( 0, { "CreateFile failed" },
                          { "bare holds a single error record without a stream's header" } ) );
}

TEST_F( ErrorsShow, LetsNoTextReachTheTerminalsControls )
{
    const std::string strStream = StreamOf(
        { "1.0.0+?+A+?+1+?+0+?+\x1b[2J\r\nx\xff\xc0\xafy\xed\xa0\x80z+?+\xc2\x9b\xe2\x80\xae+?+gr\xc3\xbc\xc3\x9f" } );
    const std::string R = "\xEF\xBF\xBD";
    // What is not UTF-8 may be of the code page, where there is one.
    const std::string strOrigin = MYCH_DELIMDIR == '/'
                                      ? "x" + R + R + R + "y" + R + R + R + "z"
                                      : "x\xc3\xbf\xc3\x80\xc2\xafy\xc3\xad\xc2\xa0\xe2\x82\xacz";
    EXPECT_TRUE( Tool( "errors show", strStream )
                     .Is( 0, { "\\x1B[2J\\r\\n" + strOrigin + "  \\x9B\\u{202E}  gr\xc3\xbc\xc3\x9f\n" } ) );
    const Json aDocument = Json::parse( Tool( "errors show --json", strStream ).strOutput );
    EXPECT_EQ( "\x1b[2J\r\n" + strOrigin, aDocument["records"][0]["origin"] );
}
