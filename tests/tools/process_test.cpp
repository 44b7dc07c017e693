// bxtool ps, kill, lock, signal and wait.
#include "support/secondprocess.h"
#include "tools/runprogram.h"

#include <bxtools/platform.h>
#include <bxtools/sync.h>

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <unistd.h>

// Exit code, blank, output.
static std::string Tool( const std::vector<std::string>& aArguments )
{
    const ProgramResult aResult = ProgramFolder().Run( BXTOOL_PROGRAM, aArguments );
    return std::to_string( aResult.nExitCode ) + " " + aResult.strOutput;
}

// Becomes bxtool, of a parent that wants to hear of no child's end.
BX_ROLE( tool )
{
    std::signal( SIGCHLD, SIG_IGN );
    std::vector<char*> aPointers = { const_cast<char*>( BXTOOL_PROGRAM ) };
    for ( const std::string& strArgument : Arguments )
        aPointers.push_back( const_cast<char*>( strArgument.c_str() ) );
    aPointers.push_back( NULL );
    execv( BXTOOL_PROGRAM, aPointers.data() );
    return 99;
}

TEST( ProcessTool, ListsAndEndsTheProcessesOfAProgram )
{
    const std::string strName = "bx-cat-" + std::to_string( GetCurrentProcessId() );
    const ScratchFolder aFolder;
    const std::string strPath = aFolder.Path( strName );
    std::filesystem::copy_file( std::filesystem::canonical( "/bin/cat" ), strPath );
    EXPECT_EQ( "1 ", Tool( { "ps", strName } ) );
    SecondProcess aVictim( "tool", { "lock", "a lock", "--", "sh", "-c", "echo here; exec " + strPath } );
    EXPECT_EQ( "here", aVictim.ReadLine() );
    while ( Tool( { "ps", strName } ) == "1 " ) // until it has become the copy
    {
    }
    const std::string strLine = Tool( { "ps", strName } ).substr( 2 );
    EXPECT_TRUE( strLine.ends_with( "  " + strPath + "\n" ) );
    EXPECT_TRUE( Holds( Tool( { "ps" } ), strLine ) );
    const std::string strShown = strLine.substr( 0, strLine.size() - 1 );
    EXPECT_EQ( "0 {\"processes\":[{\"id\":" + std::to_string( std::stoul( strLine ) ) + ",\"path\":\"" +
                   strPath + "\"}]}\n",
               Tool( { "ps", "bx-no-such-program;" + strName, "--json" } ) );
    EXPECT_EQ( "0 " + strShown + "  would be ended\n", Tool( { "kill", "--dry-run", strName } ) );
    EXPECT_EQ( "0 " + strShown + "  ended\n", Tool( { "kill", strName } ) );
    EXPECT_EQ( 137, aVictim.Wait() );
    EXPECT_EQ( "1 ", Tool( { "kill", strName } ) );
    EXPECT_EQ( "2 ", Tool( { "kill", "" } ) );
}

TEST( SyncTool, RunsACommandUnderALock )
{
    EXPECT_EQ( "127 ", Tool( { "lock", "a lock", "--", "bx-no-such-program" } ) );
    EXPECT_EQ( "126 ", Tool( { "lock", "a lock", "--", "/" } ) );
    EXPECT_EQ( "125 ", Tool( { "lock", "a\\lock", "--", "true" } ) );
    SecondProcess aFirst( "tool", { "lock", "a lock", "--", "sh", "-c", "echo first; read line; exit 3" } );
    EXPECT_EQ( "first", aFirst.ReadLine() );
    SecondProcess aSecond( "tool", { "lock", "a lock", "--", "sh", "-c", "echo second; read line" } );
    aFirst.WriteLine( "go" );
    EXPECT_EQ( 3, aFirst.Wait() );
    EXPECT_EQ( "second", aSecond.ReadLine() );
    aSecond.Kill();
    HANDLE hSection = NULL;
    EXPECT_TRUE( EnterInterProcessCriticalSection( "a lock", &hSection ) );
    EXPECT_TRUE( ReleaseInterProcessCriticalSection( hSection ) );
    EXPECT_EQ( "", aSecond.ReadLine() ); // the command has ended, too
}

TEST( SyncTool, SignalsAndWaits )
{
    EXPECT_EQ( "1 ", Tool( { "wait", "a signal", "--timeout", "0.01" } ) );
    EXPECT_EQ( "1 ", Tool( { "signal", "a signal" } ) );
    for ( const std::vector<std::string>& rWait :
          { std::vector<std::string>{ "wait", "a signal" }, { "wait", "a signal", "--timeout", "100" } } )
    {
        SecondProcess aWaiter( "tool", rWait );
        EXPECT_EQ( "0 ", Tool( { "signal", "a signal", "--retries", "20000", "--pause", "1" } ) );
        EXPECT_EQ( 0, aWaiter.Wait() );
    }
    const HANDLE hMutex = CreateMutexA( NULL, FALSE, "a signal" );
    EXPECT_EQ( "3 ", Tool( { "wait", "a signal" } ) );
    EXPECT_EQ( "3 ", Tool( { "signal", "a signal" } ) );
    CloseHandle( hMutex );
}
