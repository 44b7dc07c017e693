// bxtool ps, kill, lock, signal and wait.
#include "support/secondprocess.h"
#include "tools/runprogram.h"

#include <bxtools/platform.h>
#include <bxtools/sync.h>

#include <csignal>
#include <filesystem>
#include <unistd.h>

using ProcessTool = ToolTest;
using SyncTool = ToolTest;

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

TEST_F( ProcessTool, ListsAndEndsTheProcessesOfAProgram )
{
    const std::string strName = "bx-cat-" + std::to_string( GetCurrentProcessId() );
    const std::string strPath = Path( strName );
    std::filesystem::copy_file( std::filesystem::canonical( "/bin/cat" ), strPath );
    EXPECT_EQ( "1 ", Outcome( "ps " + strName ) );
    SecondProcess aVictim( "tool", { "lock", "a lock", "--", "sh", "-c", "echo here; exec " + strPath } );
    EXPECT_EQ( "here", aVictim.ReadLine() );
    std::string strLine = "1 ";
    while ( strLine == "1 " ) // until it has become the copy
        strLine = Outcome( "ps " + strName );
    strLine.erase( 0, 2 );
    EXPECT_TRUE( strLine.ends_with( "  " + strPath + "\n" ) );
    EXPECT_TRUE( Holds( Outcome( "ps" ), strLine ) );
    const std::string strShown = strLine.substr( 0, strLine.size() - 1 );
    EXPECT_EQ( "0 {\"processes\":[{\"id\":" + std::to_string( std::stoul( strLine ) ) + ",\"path\":\"" +
                   strPath + "\"}]}\n",
               Outcome( "ps bx-no-such-program;" + strName + " --json" ) );
    EXPECT_EQ( "0 " + strShown + "  would be ended\n", Outcome( "kill --dry-run " + strName ) );
    EXPECT_EQ( "0 " + strShown + "  ended\n", Outcome( "kill " + strName ) );
    EXPECT_EQ( 137, aVictim.Wait() );
    EXPECT_EQ( "1 ", Outcome( "kill " + strName ) );
    EXPECT_EQ( "2 ", Outcome( "kill ''" ) );
}

TEST_F( SyncTool, RunsACommandUnderALock )
{
    EXPECT_EQ( "127 ", Outcome( "lock 'a lock' -- bx-no-such-program" ) );
    EXPECT_EQ( "126 ", Outcome( "lock 'a lock' -- /" ) );
    EXPECT_EQ( "125 ", Outcome( "lock a\\lock -- true" ) );
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

TEST_F( SyncTool, SignalsAndWaits )
{
    EXPECT_EQ( "1 ", Outcome( "wait 'a signal' --timeout 0.01" ) );
    EXPECT_EQ( "1 ", Outcome( "signal 'a signal'" ) );
    for ( const Texts& rWait : { Texts{ "wait", "a signal" }, { "wait", "a signal", "--timeout", "100" } } )
    {
        SecondProcess aWaiter( "tool", rWait );
        EXPECT_EQ( "0 ", Outcome( "signal 'a signal' --retries 20000 --pause 1" ) );
        EXPECT_EQ( 0, aWaiter.Wait() );
    }
    const HANDLE hMutex = CreateMutexA( NULL, FALSE, "a signal" );
    EXPECT_EQ( "3 ", Outcome( "wait 'a signal'" ) );
    EXPECT_EQ( "3 ", Outcome( "signal 'a signal'" ) );
    CloseHandle( hMutex );
}
