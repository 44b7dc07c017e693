// A builder of a release file that is killed at some moment.
#include "tools/runprogram.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

pid_t StartBuilder( const std::string& strFolder )
{
    const std::string strTexts = strFolder + "/texts";
    const std::string strFile = strFolder + "/a.nls";
    posix_spawn_file_actions_t aActions;
    posix_spawn_file_actions_init( &aActions );
    posix_spawn_file_actions_addopen( &aActions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0 );
    const char* apArguments[] = { "bxtool", "nls", "build", strTexts.c_str(), strFile.c_str(), NULL };
    pid_t nProcess = -1;
    EXPECT_EQ( 0, posix_spawn( &nProcess, BXTOOL_PROGRAM, &aActions, NULL, const_cast<char**>( apArguments ),
                               environ ) );
    posix_spawn_file_actions_destroy( &aActions );
    return nProcess;
}

} // namespace

TEST( NlsTool, AKilledBuilderLeavesTheFileOfTheOneBefore )
{
    const ProgramFolder aFolder;
    std::filesystem::create_directory( aFolder.Path( "texts" ) );
    const auto WriteTexts = [&]( const std::string& strText )
    {
        std::string strFile = "Key;049\n[G]\n";
        for ( int nKey = 0; nKey < 20000; nKey++ )
            strFile += std::to_string( nKey ) + "=" + strText + "\n";
        WriteBytes( aFolder.Path( "texts/A.CSV" ), strFile );
    };
    const auto Get = [&]
    {
        return aFolder.Run( BXTOOL_PROGRAM, { "nls", "get", "a.nls", "A.G", "19999", "--language", "49" } )
            .strOutput;
    };
    WriteTexts( "old" );
    ASSERT_EQ( 0, aFolder.Run( BXTOOL_PROGRAM, { "nls", "build", "texts", "a.nls" } ).nExitCode );
    WriteTexts( "new" );
    int nKilled = 0;
    // From its first steps to its last ones; each meets what the one before left.
    for ( useconds_t uMicroseconds = 1000; Get() != "new\n"; uMicroseconds *= 2 )
    {
        const pid_t nBuilder = StartBuilder( aFolder.Path() );
        usleep( uMicroseconds );
        kill( nBuilder, SIGKILL );
        int nStatus = 0;
        ASSERT_EQ( nBuilder, waitpid( nBuilder, &nStatus, 0 ) );
        nKilled += WIFSIGNALED( nStatus );
        const std::string strText = Get();
        ASSERT_TRUE( strText == "old\n" || strText == "new\n" ) << strText;
    }
    EXPECT_GT( nKilled, 2 );
    EXPECT_EQ( 0, aFolder.Run( BXTOOL_PROGRAM, { "nls", "build", "texts", "a.nls" } ).nExitCode );
    EXPECT_FALSE( std::filesystem::exists( aFolder.Path( "a.nls.new" ) ) );
}
