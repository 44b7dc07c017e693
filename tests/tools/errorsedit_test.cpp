#include "tools/runprogram.h"

#include <gtest/gtest.h>

namespace
{

constexpr char RECORD_C[] = "1.0.0+?+APP+?+12+?+5+?+third;+?+x;y+?+";
constexpr char BROKEN[] = "1.0.0+?+APP+?+\xFF";

} // namespace

TEST( ErrorsEdit, CountsAndReversesRecordsByteForByte )
{
    ProgramFolder aFolder;
    EXPECT_EQ( "0 3\n", aFolder.Outcome( { "count" }, StreamOf( { RECORD_A, BROKEN, RECORD_B } ) ) );
    EXPECT_EQ( "0 {\"count\":1}\n", aFolder.Outcome( { "count", "--json" }, RECORD_A ) );
    EXPECT_EQ( "3 ", aFolder.Outcome( { "count" }, "nothing" ) );
    EXPECT_EQ( "0 " + StreamOf( { RECORD_C, BROKEN, RECORD_A } ),
               aFolder.Outcome( { "reverse" }, StreamOf( { RECORD_A, BROKEN, RECORD_C } ) + "\n" ) );
    EXPECT_EQ( "0 " + StreamOf( { RECORD_A } ), aFolder.Outcome( { "reverse" }, RECORD_A ) );
}

TEST( ErrorsEdit, AppendsAllRecordsOfBothStreams )
{
    ProgramFolder aFolder;
    WriteBytes( aFolder.Path( "first" ), StreamOf( { RECORD_A, RECORD_C } ) + "\n" );
    const std::string strSecond = StreamOf( { RECORD_B, RECORD_A } );
    EXPECT_EQ( "0 " + StreamOf( { RECORD_A, RECORD_C, RECORD_B, RECORD_A } ),
               aFolder.Outcome( { "append", "first", "-" }, strSecond ) );
    EXPECT_EQ( "0 " + StreamOf( { RECORD_B, RECORD_A, RECORD_A, RECORD_C } ),
               aFolder.Outcome( { "append", "-", "first" }, strSecond ) );
    EXPECT_EQ( "0 " + StreamOf( { RECORD_A, RECORD_C, RECORD_B } ),
               aFolder.Outcome( { "append", "first", "-" }, RECORD_B ) )
        << "a bare record";

    const ProgramResult aBroken =
        aFolder.Errors( { "append", "first", "-" }, StreamOf( { BROKEN, RECORD_B } ) );
    EXPECT_EQ( 4, aBroken.nExitCode );
    EXPECT_EQ( StreamOf( { RECORD_A, RECORD_C, BROKEN, RECORD_B } ), aBroken.strOutput );
    EXPECT_TRUE( Holds( aBroken.strErrors, "standard input: record 0 is broken" ) ) << aBroken.strErrors;

    EXPECT_EQ( "2 ", aFolder.Outcome( { "append", "-", "-" }, strSecond ) );
    EXPECT_EQ( "2 ", aFolder.Outcome( { "append", "first" } ) );
    EXPECT_EQ( "3 ", aFolder.Outcome( { "append", "first", "-" }, "nothing" ) );
}

TEST( ErrorsEdit, FindsByValuesAndByBytes )
{
    ProgramFolder aFolder;
    const std::string strStream = StreamOf( { RECORD_A, RECORD_B, BROKEN, RECORD_C, RECORD_A } );
    WriteBytes( aFolder.Path( "a" ), RECORD_A );
    WriteBytes( aFolder.Path( "two" ), StreamOf( { RECORD_A, RECORD_B } ) );
    WriteBytes( aFolder.Path( "empty record" ), StreamOf( { "" } ) );
    const auto Find = [&]( std::vector<std::string> aArguments )
    {
        aArguments.insert( aArguments.begin(), "find" );
        return aFolder.Outcome( aArguments, strStream );
    };
    EXPECT_EQ( "0 0\n3\n4\n", Find( { "--number", "12" } ) );
    EXPECT_EQ( "0 3\n", Find( { "--number", "0xC", "--class", "APP" } ) );
    EXPECT_EQ( "0 1\n", Find( { "--number", "0x80070005" } ) );
    EXPECT_EQ( "0 0\n", Find( { "--first", "--system-error", "2" } ) );
    EXPECT_EQ( "0 {\"found\":[0,4]}\n", Find( { "--json", "--same-as", "a" } ) );
    EXPECT_EQ( "1 ", Find( { "--class", "app" } ) );
    EXPECT_EQ( "1 {\"found\":[]}\n", Find( { "--json", "--class", "app" } ) );
    EXPECT_EQ( "1 ", Find( { "--same-as", "empty record" } ) );
    EXPECT_EQ( "2 ", Find( { "--same-as", "two" } ) );
    EXPECT_EQ( "2 ", Find( {} ) );
    EXPECT_EQ( "2 ", Find( { "--number", "twelve" } ) );
    EXPECT_EQ( "3 ", Find( { "--same-as", "missing" } ) );
    EXPECT_TRUE(
        Holds( aFolder.Errors( { "find", "--number", "12" }, strStream ).strErrors, "record 2 is broken" ) );
}

// Each command is one pass; the test's time limit is the judge.
TEST( ErrorsEdit, HandlesMoreRecordsThan16BitsCount )
{
    ProgramFolder aFolder;
    std::vector<std::string> aRecords;
    for ( int i = 0; i < 70000; i++ )
        aRecords.push_back( "1.0.0+?+APP.MANY+?+" + std::to_string( i ) + "+?+0+?+one of many+?++?+a!;!b" );
    const std::string strStream = StreamOf( aRecords );
    WriteBytes( aFolder.Path( "many" ), strStream );
    EXPECT_EQ( "0 70000\n", aFolder.Outcome( { "count", "many" } ) );
    EXPECT_EQ( "0 69999\n", aFolder.Outcome( { "find", "many", "--number", "69999" } ) );

    const std::string strTable = aFolder.Errors( { "show", "many" } ).strOutput;
    EXPECT_EQ( 70001, std::count( strTable.begin(), strTable.end(), '\n' ) );
    EXPECT_TRUE( Holds( strTable, "\n69999  APP.MANY  69999 (hex: 0x0001116F)" ) );

    const std::string strTwice = aFolder.Errors( { "append", "many", "many" } ).strOutput;
    EXPECT_EQ( strStream + strStream.substr( strStream.find( SEP ) ), strTwice );
    std::reverse( aRecords.begin(), aRecords.end() );
    EXPECT_EQ( StreamOf( aRecords ), aFolder.Errors( { "reverse", "many" } ).strOutput );
}
