// A builder of a release file that is killed at some moment.
#include "tools/runprogram.h"

#include <filesystem>

using NlsBuilder = ToolTest;

TEST_F( NlsBuilder, KilledLeavesTheFileOfTheOneBefore )
{
    std::filesystem::create_directory( Path( "texts" ) );
    const auto WriteTexts = [&]( const std::string& strText )
    {
        std::string strFile = "Key;049\n[G]\n";
        for ( int nKey = 0; nKey < 20000; nKey++ )
            strFile += std::to_string( nKey ) + "=" + strText + "\n";
        WriteBytes( Path( "texts/A.CSV" ), strFile );
    };
    const auto Get = [&] { return Outcome( "nls get a.nls A.G 19999 --language 49" ); };
    WriteTexts( "old" );
    ASSERT_EQ( 0, Tool( "nls build texts a.nls" ).nExitCode );
    WriteTexts( "new" );
    int nKilled = 0;
    // From its first steps to its last ones; each meets what the one before left.
    for ( unsigned uMilliseconds = 1; Get() != "0 new\n"; uMilliseconds += uMilliseconds / 2 + 1 )
    {
        nKilled += KillTool( "nls build texts a.nls", uMilliseconds );
        const std::string strText = Get();
        ASSERT_TRUE( strText == "0 old\n" || strText == "0 new\n" ) << strText;
    }
    EXPECT_GT( nKilled, 2 );
    EXPECT_EQ( 0, Tool( "nls build texts a.nls" ).nExitCode );
    EXPECT_FALSE( std::filesystem::exists( Path( "a.nls.new" ) ) );
}
