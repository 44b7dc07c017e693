#include "tools/runprogram.h"

#include <bxtools/wintypes.h>

#include <cstring>

using ErrorsMake = ToolTest;

TEST_F( ErrorsMake, WritesTheBytesOfTheFormat )
{
    const std::pair<std::string, Texts> aCases[] = {
        { "--class BXTOOLS.ERRCLS_SYS_LASTERROR --number 12 --system-error 2 --origin 'CreateFile failed' "
          "--param c:\\data\\a.txt --param read --record --class BXTOOLS.ERRCLS_SYS_HRESULT --number 0x80070005",
          { RECORD_A, RECORD_B } },
        { "--record --param a --class A --param '' --record --class B --text t --number -1 "
          "--record --class C --param '' --param c",
          { "1.0.0+?+A+?+0+?+0+?++?++?+a!;!", "1.0.0+?+B+?+-1+?+0+?++?+t+?+",
            "1.0.0+?+C+?+0+?+0+?++?++?+!;!c" } },
        // The error is set as a program would.
        { "--class BXTOOLS.ERRCLS_SYS_ERRNO --number 2",
          { std::string( "1.0.0+?+BXTOOLS.ERRCLS_SYS_ERRNO+?+2+?+0+?+" ) + strerror( 2 ) + "+?++?+" } },
        { "--class BXTOOLS.ERRCLS_SYS_LASTERROR",
          { "1.0.0+?+BXTOOLS.ERRCLS_SYS_LASTERROR+?+0+?+0+?++?++?+" } },
    };
    for ( const auto& [strWords, aRecords] : aCases )
        EXPECT_EQ( "0 " + StreamOf( aRecords ), Outcome( "errors make " + strWords ) );
}

TEST_F( ErrorsMake, RefusesWhatTheFormatCannotCarry )
{
    const std::pair<std::string, const char*> aCases[] = {
        { "--class A --origin a+?+b", "the origin text holds the field separator" },
        { "--class A --text x$\xB0y", "the optional text holds the record separator" },
        { "--class A --param a!;!b", "a parameter holds the parameter separator" },
        { "--class A --origin 'ends in +?'", "ends in the beginning of a separator" },
        { "--class A --param 'ends in !;' --param b", "ends in the beginning of a separator" },
        { "--class A --param ''", "its only parameter is empty" },
        { "--class A --record", "record 1 has no error class" },
        { "--class A --class B", "record 0 has --class twice" },
        { "", "" },
    };
    for ( const auto& [strWords, pReason] : aCases )
        EXPECT_TRUE( Tool( "errors make " + strWords ).Is( 2, {}, { pReason } ) ) << strWords;
    for ( const std::string strNumber : { "2147483648", "0x100000000", "12a", "''", "0x", "-0x1", "1.5" } )
        EXPECT_EQ( "2 ", Outcome( "errors make --class A --number " + strNumber ) ) << strNumber;
    for ( const std::string strNumber : { "-1", "4294967296", "+1" } )
        EXPECT_EQ( "2 ", Outcome( "errors make --class A --system-error " + strNumber ) ) << strNumber;
}

TEST_F( ErrorsMake, ReadsWhatShowWrites )
{
    // As programs of the system write it.
    const std::string strLetter = MYCH_DELIMDIR == '/' ? "\xC3\x84" : "\xC4";
    const std::string strStream =
        StreamOf( { RECORD_A, "1.0.0+?+" + strLetter + "+?+-2147483648+?+4294967295+?+\x07 \"o\"+?+\\t+?+!;!",
                    RECORD_B } );
    EXPECT_EQ( "0 " + strStream,
               Outcome( "errors make --json-in", Tool( "errors show --json", strStream ).strOutput ) );
    EXPECT_EQ( "0 " + StreamOf( { "1.0.0+?+A+?+0+?+0+?++?++?+" } ),
               Outcome( "errors make --json-in", R"([ { "class": "A" } ])" ) );
}

TEST_F( ErrorsMake, SaysWhatIsWrongWithTheJson )
{
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
        EXPECT_TRUE( Tool( "errors make --json-in", pJson ).Is( 2, {}, { pReason } ) ) << pJson;
}
