#include "tools/runprogram.h"

#include <algorithm>

namespace
{

using ErrorsEdit = ToolTest;

constexpr char RECORD_C[] = "1.0.0+?+APP+?+12+?+5+?+third;+?+x;y+?+";
constexpr char BROKEN[] = "1.0.0+?+APP+?+\xFF";

} // namespace

TEST_F( ErrorsEdit, CountsAndReversesRecordsByteForByte )
{
    EXPECT_EQ( "0 3\n", Outcome( "errors count", StreamOf( { RECORD_A, BROKEN, RECORD_B } ) ) );
    EXPECT_EQ( "0 {\"count\":1}\n", Outcome( "errors count --json", RECORD_A ) );
    EXPECT_EQ( "3 ", Outcome( "errors count", "nothing" ) );
    EXPECT_EQ( "0 " + StreamOf( { RECORD_C, BROKEN, RECORD_A } ),
               Outcome( "errors reverse", StreamOf( { RECORD_A, BROKEN, RECORD_C } ) + "\n" ) );
    EXPECT_EQ( "0 " + StreamOf( { RECORD_A } ), Outcome( "errors reverse", RECORD_A ) );
}

TEST_F( ErrorsEdit, AppendsAllRecordsOfBothStreams )
{
    WriteBytes( Path( "first" ), StreamOf( { RECORD_A, RECORD_C } ) + "\n" );
    const std::string strSecond = StreamOf( { RECORD_B, RECORD_A } );
    EXPECT_EQ( "0 " + StreamOf( { RECORD_A, RECORD_C, RECORD_B, RECORD_A } ),
               Outcome( "errors append first -", strSecond ) );
    EXPECT_EQ( "0 " + StreamOf( { RECORD_B, RECORD_A, RECORD_A, RECORD_C } ),
               Outcome( "errors append - first", strSecond ) );
    EXPECT_EQ( "0 " + StreamOf( { RECORD_A, RECORD_C, RECORD_B } ),
               Outcome( "errors append first -", RECORD_B ) )
        << "a bare record";
    EXPECT_TRUE( Tool( "errors append first -", StreamOf( { BROKEN, RECORD_B } ) )
                     .Is( 4, { StreamOf( { RECORD_A, RECORD_C, BROKEN, RECORD_B } ) },
                          { "standard input: record 0 is broken" } ) );
    EXPECT_EQ( "2 ", Outcome( "errors append - -", strSecond ) );
    EXPECT_EQ( "2 ", Outcome( "errors append first" ) );
    EXPECT_EQ( "3 ", Outcome( "errors append first -", "nothing" ) );
}

TEST_F( ErrorsEdit, FindsByValuesAndByBytes )
{
    const std::string strStream = StreamOf( { RECORD_A, RECORD_B, BROKEN, RECORD_C, RECORD_A } );
    WriteBytes( Path( "a" ), RECORD_A );
    WriteBytes( Path( "two" ), StreamOf( { RECORD_A, RECORD_B } ) );
    WriteBytes( Path( "empty" ), StreamOf( { "" } ) );
    const std::pair<std::string, const char*> aCases[] = {
        { "--number 12", "0 0\n3\n4\n" },
        { "--number 0xC --class APP", "0 3\n" },
        { "--number 0x80070005", "0 1\n" },
        { "--first --system-error 2", "0 0\n" },
        { "--json --same-as a", "0 {\"found\":[0,4]}\n" },
        { "--class app", "1 " },
        { "--json --class app", "1 {\"found\":[]}\n" },
        { "--same-as empty", "1 " },
        { "--same-as two", "2 " },
        { "", "2 " },
        { "--number twelve", "2 " },
        { "--same-as missing", "3 " },
    };
    for ( const auto& [strWords, pOutcome] : aCases )
        EXPECT_EQ( pOutcome, Outcome( "errors find " + strWords, strStream ) ) << strWords;
    EXPECT_TRUE( Tool( "errors find --number 12", strStream ).Is( 0, { "" }, { "record 2 is broken" } ) );
}

// Each command is one pass; the test's time limit is the judge.
TEST_F( ErrorsEdit, HandlesMoreRecordsThan16BitsCount )
{
    Texts aRecords;
    for ( int i = 0; i < 70000; i++ )
        aRecords.push_back( "1.0.0+?+APP.MANY+?+" + std::to_string( i ) + "+?+0+?+one of many+?++?+a!;!b" );
    const std::string strStream = StreamOf( aRecords );
    WriteBytes( Path( "many" ), strStream );
    EXPECT_EQ( "0 70000\n", Outcome( "errors count many" ) );
    EXPECT_EQ( "0 69999\n", Outcome( "errors find many --number 69999" ) );

    const std::string strTable = Tool( "errors show many" ).strOutput;
    EXPECT_EQ( 70001, std::ranges::count( strTable, '\n' ) );
    EXPECT_TRUE( Holds( strTable, "\n69999  APP.MANY  69999 (hex: 0x0001116F)" ) );

    EXPECT_EQ( strStream + strStream.substr( strStream.find( SEP ) ),
               Tool( "errors append many many" ).strOutput );
    std::ranges::reverse( aRecords );
    EXPECT_EQ( StreamOf( aRecords ), Tool( "errors reverse many" ).strOutput );
}
