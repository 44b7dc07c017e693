// The commands of bxtool that act on what Windows itself keeps: its processes, its named objects, its debugger interface.
#include "process/processes.h"
#include "support/threads.h"
#include "tools/runprogram.h"

#include <bxtools/debug.h>
#include <bxtools/sync.h>

#include <atomic>

// What runs beside a test's own commands has a folder of its own.
using WindowsTool = ToolTest;

TEST_F( WindowsTool, ListsAndEndsTheProcessesOfAProgram )
{
    const NamedProgram aProgram( "Listed" );
    EXPECT_EQ( "1 ", Outcome( "ps " + aProgram.strName ) );
    const auto pProcess = aProgram.Start( "bystander" );
    const std::string strLine = Outcome( "ps " + aProgram.strName );
    EXPECT_TRUE( strLine.starts_with( "0 " ) && Holds( strLine, std::to_string( pProcess->Id() ) ) )
        << strLine;
    EXPECT_TRUE( strLine.ends_with( aProgram.strName + "\n" ) ) << strLine;
    EXPECT_TRUE( Holds( Outcome( "kill --dry-run " + aProgram.strName ), "  would be ended\n" ) );
    EXPECT_TRUE( Holds( Outcome( "kill " + aProgram.strName ), "  ended\n" ) );
    pProcess->Wait();
    EXPECT_EQ( "1 ", Outcome( "ps " + aProgram.strName ) );
}

TEST_F( WindowsTool, TakesTheCodePagesCharactersAndShowsUtf8 )
{
    if ( GetACP() != 1252 )
        GTEST_SKIP() << "the bytes below are of another code page";
    WriteBytes( Path( "\xFC.stream" ), Outcome( "errors make --class \xFC" ).substr( 2 ) );
    EXPECT_TRUE( Holds( Outcome( "errors show \xFC.stream" ), "\n0  \xC3\xBC  " ) );
    EXPECT_TRUE( Holds( Outcome( "errors show --json \xFC.stream" ), "\"class\":\"\xC3\xBC\"" ) );
    EXPECT_TRUE( Holds( Tool( "errors show \xFC" ).strErrors, "cannot read \xC3\xBC: " ) );
    CreateDirectoryA( Path( "\xFC" ).c_str(), NULL );
    WriteBytes( Path( "\xFC/M.CSV" ), "Key;German=049\n[G]\nK=Text\n" );
    EXPECT_TRUE( Outcome( "nls build \xFC \xE4.btr" ).starts_with( "0 \xC3\xA4.btr: 1 text" ) );
    EXPECT_EQ( "0 Text\n", Outcome( "nls get \xE4.btr M.G K --language 49" ) );

    // A letter that the code page lacks would come as a question mark.
    std::wstring strLine = L"bxtool reg set HKCU/\u0416 v";
    STARTUPINFOW aStartup = {};
    aStartup.cb = sizeof( aStartup );
    PROCESS_INFORMATION aProcess = {};
    const std::wstring strProgram( std::begin( BXTOOL_PROGRAM ), std::end( BXTOOL_PROGRAM ) );
    ASSERT_TRUE( CreateProcessW( strProgram.c_str(), strLine.data(), NULL, NULL, FALSE, 0, NULL, NULL,
                                 &aStartup, &aProcess ) );
    DWORD dwExitCode = 0;
    WaitForSingleObject( aProcess.hProcess, INFINITE );
    GetExitCodeProcess( aProcess.hProcess, &dwExitCode );
    EXPECT_EQ( 2u, dwExitCode );
    CloseHandle( aProcess.hThread );
    CloseHandle( aProcess.hProcess );
    EXPECT_EQ( "1 ", Outcome( "reg list HKCU/?" ) );
}

TEST_F( WindowsTool, RunsACommandUnderALock )
{
    EXPECT_EQ( "127 ", Outcome( "lock 'a lock' -- bx-no-such-program" ) );
    EXPECT_EQ( "125 ", Outcome( "lock a\\lock -- cmd /c ver" ) );
    HANDLE hSection = NULL;
    EXPECT_TRUE( EnterInterProcessCriticalSection( "a lock", &hSection ) );
    std::atomic<bool> fEnded{ false };
    std::thread aSecond(
        [&]
        {
            EXPECT_EQ( "3 ", Outcome( "lock 'a lock' -- cmd /c 'exit 3'" ) );
            fEnded = true;
        } );
    Sleep( 500 );
    EXPECT_FALSE( fEnded );
    EXPECT_TRUE( ReleaseInterProcessCriticalSection( hSection ) );
    aSecond.join();
}

TEST_F( WindowsTool, ListsWhatIsShared )
{
    const HANDLE ahObjects[] = {
        CreateEventA( NULL, TRUE, TRUE, "bx listed event" ), CreateMutexA( NULL, TRUE, "bx listed mutex" ),
        CreateFileMappingA( INVALID_HANDLE_VALUE, NULL, PAGE_READWRITE, 0, 8192, "Global\\bx listed memory" )
    };
    const std::string strLocal = Outcome( "ipc ls" );
    EXPECT_TRUE( Holds( strLocal, "bx listed event\n  type     event\n  state    set, manual reset\n"
                                  "  handles  1\nbx listed mutex\n  type     mutex\n  state    owned\n"
                                  "  handles  1\n" ) )
        << strLocal;
    const std::string strGlobal = Outcome( "ipc ls --global --json" );
    EXPECT_TRUE( Holds( strGlobal,
                        R"({"name":"bx listed memory","type":"mapping","state":"8192 bytes","handles":1})" ) )
        << strGlobal;
    for ( const HANDLE hObject : ahObjects )
        CloseHandle( hObject );
    EXPECT_FALSE( Holds( Outcome( "ipc ls" ), "bx listed" ) );
}

TEST_F( WindowsTool, SwitchesTheMessagesOfAllProcessesAndShowsThem )
{
    // This process has the values mapped, so that they outlive each command.
    EXPECT_EQ( "0 ", Outcome( "debug off" ) );
    EXPECT_FALSE( IsDbgMessage() );
    EXPECT_EQ( "1 ", Outcome( "debug send unwanted" ).substr( 0, 2 ) );
    EXPECT_EQ( "0 ", Outcome( "debug on" ) );
    EXPECT_EQ( "0 ", Outcome( "debug level all" ) );
    EXPECT_TRUE( IsDbgMessage() );
    EXPECT_EQ( "0 {\"on\":true,\"levels\":\"1;2;3;4;5\"}\n", Outcome( "debug status --json" ) );
    std::string strSeen;
    std::thread aWatcher( [&] { strSeen = ProgramFolder().Outcome( "debug watch --text live" ); } );
    for ( int i = 0; i < 20; ++i )
        EXPECT_EQ( "0 ", Outcome( i % 2 == 0 ? "debug send quiet" : "debug send live" ) );
    Outcome( "kill bxtool.exe" );
    aWatcher.join();
    EXPECT_TRUE( Holds( strSeen, "bxtool.exe" ) && Holds( strSeen, "bxtool -> live\n" ) ) << strSeen;
    EXPECT_FALSE( Holds( strSeen, "quiet" ) );
    EXPECT_TRUE( Holds( Tool( "debug last" ).strErrors, "this system keeps no messages" ) );
    // All tests share the registry.
    EXPECT_EQ( ERROR_SUCCESS,
               RegDeleteKeyA( HKEY_LOCAL_MACHINE, "Software\\Q.R.N. GmbH\\brindlex\\1.0\\DBG" ) );
}
