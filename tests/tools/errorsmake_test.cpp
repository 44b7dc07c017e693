#include "tools/runprogram.h"

#include <gtest/gtest.h>

#include <cstring>
#include <nlohmann/json.hpp>

TEST( ErrorsMake, WritesTheBytesOfTheFormat )
{
    ProgramFolder aFolder;
    const ProgramResult aResult = aFolder.Errors(
        { "make", "--class", "BXTOOLS.ERRCLS_SYS_LASTERROR", "--number", "12", "--system-error", "2",
          "--origin", "CreateFile failed", "--param", "c:\\data\\a.txt", "--param", "read", "--record",
          "--class", "BXTOOLS.ERRCLS_SYS_HRESULT", "--number", "0x80070005" } );
    EXPECT_EQ( StreamOf( { RECORD_A, RECORD_B } ), aResult.strOutput );
    EXPECT_EQ( "", aResult.strErrors );
    EXPECT_EQ( "0 " + StreamOf( { "1.0.0+?+A+?+0+?+0+?++?++?+a!;!", "1.0.0+?+B+?+-1+?+0+?++?+t+?+",
                                  "1.0.0+?+C+?+0+?+0+?++?++?+!;!c" } ),
               aFolder.Outcome( { "make",    "--record", "--param",  "a",        "--class", "A",
                                  "--param", "",         "--record", "--class",  "B",       "--text",
                                  "t",       "--number", "-1",       "--record", "--class", "C",
                                  "--param", "",         "--param",  "c" } ) );
    // The error is set as a program would.
    const std::string strErrno = "1.0.0+?+BXTOOLS.ERRCLS_SYS_ERRNO+?+2+?+0+?+";
    EXPECT_EQ( "0 " + StreamOf( { strErrno + strerror( 2 ) + "+?++?+" } ),
               aFolder.Outcome( { "make", "--class", "BXTOOLS.ERRCLS_SYS_ERRNO", "--number", "2" } ) );
    EXPECT_EQ( "0 " + StreamOf( { "1.0.0+?+BXTOOLS.ERRCLS_SYS_LASTERROR+?+0+?+0+?++?++?+" } ),
               aFolder.Outcome( { "make", "--class", "BXTOOLS.ERRCLS_SYS_LASTERROR" } ) );
}

TEST( ErrorsMake, RefusesWhatTheFormatCannotCarry )
{
    ProgramFolder aFolder;
    const std::pair<std::vector<std::string>, const char*> aCases[] = {
        { { "--origin", "a+?+b" }, "the origin text holds the field separator" },
        { { "--text", "x$\xB0y" }, "the optional text holds the record separator" },
        { { "--param", "a!;!b" }, "a parameter holds the parameter separator" },
        { { "--origin", "ends in +?" }, "ends in the beginning of a separator" },
        { { "--param", "ends in !;", "--param", "b" }, "ends in the beginning of a separator" },
        { { "--param", "" }, "its only parameter is empty" },
        { { "--record" }, "record 1 has no error class" },
        { { "--class", "B" }, "record 0 has --class twice" },
    };
    for ( const auto& [aFurther, pReason] : aCases )
    {
        std::vector<std::string> aArguments = { "make", "--class", "A" };
        aArguments.insert( aArguments.end(), aFurther.begin(), aFurther.end() );
        const ProgramResult aResult = aFolder.Errors( aArguments );
        EXPECT_EQ( 2, aResult.nExitCode ) << pReason;
        EXPECT_EQ( "", aResult.strOutput ) << pReason;
        EXPECT_TRUE( Holds( aResult.strErrors, pReason ) ) << aResult.strErrors;
    }
    EXPECT_EQ( "2 ", aFolder.Outcome( { "make" } ) );
    for ( const char* pNumber : { "2147483648", "0x100000000", "12a", "", "0x", "-0x1", "1.5" } )
        EXPECT_EQ( "2 ", aFolder.Outcome( { "make", "--class", "A", "--number", pNumber } ) ) << pNumber;
    for ( const char* pNumber : { "-1", "4294967296", "+1" } )
        EXPECT_EQ( "2 ", aFolder.Outcome( { "make", "--class", "A", "--system-error", pNumber } ) );
}

TEST( ErrorsMake, ReadsWhatShowWrites )
{
    ProgramFolder aFolder;
    const std::string strStream = StreamOf(
        { RECORD_A, "1.0.0+?+\xC3\x84+?+-2147483648+?+4294967295+?+\x07 \"o\"+?+\\t+?+!;!", RECORD_B } );
    const ProgramResult aShown = aFolder.Errors( { "show", "--json" }, strStream );
    EXPECT_EQ( "0 " + strStream, aFolder.Outcome( { "make", "--json-in" }, aShown.strOutput ) );
    EXPECT_EQ( "0 " + StreamOf( { "1.0.0+?+A+?+0+?+0+?++?++?+" } ),
               aFolder.Outcome( { "make", "--json-in" }, R"([ { "class": "A" } ])" ) );
}

TEST( ErrorsMake, SaysWhatIsWrongWithTheJson )
{
    ProgramFolder aFolder;
    const std::pair<const char*, const char*> aCases[] = {
        { "{ ", "parse error" },
        { "7", "an array of records" },
        { "{ \"record\": [] }", "an array of records" },
        { "[]", "there is no record to make" },
        { "[ 7 ]", "7 stands where a record, an object, is wanted" },
        { "[ { \"clas\": \"A\" } ]", "a record has no \"clas\"" },
        { "[ { \"class\": 7 } ]", "7 stands where a text is wanted" },
        { "[ { \"number\": 2147483648 } ]",
          "2147483648 stands where a whole number from -2147483648 to 2147483647" },
        { "[ { \"number\": -2147483649 } ]", "-2147483649 stands where" },
        { "[ { \"number\": 18446744073709551615 } ]", "18446744073709551615 stands where" },
        { "[ { \"systemError\": -1 } ]", "-1 stands where a whole number from 0 to 4294967295" },
        { "[ { \"number\": 1.5 } ]", "1.5 stands where" },
        { "[ { \"parameters\": \"a\" } ]", "\"a\" stands where an array of texts is wanted" },
        { "[ { \"class\": \"a\\u0000b\" } ]", "the class holds a zero byte" },
    };
    for ( const auto& [pJson, pReason] : aCases )
    {
        const ProgramResult aResult = aFolder.Errors( { "make", "--json-in" }, pJson );
        EXPECT_EQ( 2, aResult.nExitCode ) << pJson;
        EXPECT_TRUE( Holds( aResult.strErrors, pReason ) ) << pJson << ": " << aResult.strErrors;
    }
}
