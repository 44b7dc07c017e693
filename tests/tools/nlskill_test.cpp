// A builder of a release file that is killed at some moment.
#include "support/secondprocess.h"
#include "tools/runprogram.h"

#include <filesystem>
#include <unistd.h>

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
    for ( useconds_t uMicroseconds = 1000; Get() != "0 new\n"; uMicroseconds *= 2 )
    {
        SecondProcess aBuilder( "tool", { "nls", "build", Path( "texts" ), Path( "a.nls" ) } );
        usleep( uMicroseconds );
        aBuilder.Kill();
        nKilled += aBuilder.Wait() == -1;
        const std::string strText = Get();
        ASSERT_TRUE( strText == "0 old\n" || strText == "0 new\n" ) << strText;
    }
    EXPECT_GT( nKilled, 2 );
    EXPECT_EQ( 0, Tool( "nls build texts a.nls" ).nExitCode );
    EXPECT_FALSE( std::filesystem::exists( Path( "a.nls.new" ) ) );
}
