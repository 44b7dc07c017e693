// What only this system's processes do: programs without a file, without a name, without rights.
#include "process/processes.h"
#include "process/procservices.h"
#include "support/limit.h"

#include <gtest/gtest.h>

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{

// Takes the right to signal others' processes away from this thread; fKeep: so that it can be taken up again.
void GiveUpRightToKill( bool fKeep )
{
    __user_cap_header_struct aHeader{ _LINUX_CAPABILITY_VERSION_3, 0 };
    __user_cap_data_struct aSets[_LINUX_CAPABILITY_U32S_3]{};
    syscall( SYS_capget, &aHeader, aSets );
    aSets[0].effective &= ~( 1u << CAP_KILL );
    aSets[0].permitted &= fKeep ? ~0u : ~( 1u << CAP_KILL );
    syscall( SYS_capset, &aHeader, aSets );
}

} // namespace

TEST( Processes, KeepTheNameOfADeletedProgram )
{
    auto pProgram = std::make_unique<NamedProgram>( "Deleted" );
    const std::string strName = pProgram->strName;
    const auto pProcess = pProgram->Start( "bystander" );
    const std::string strMarked = pProgram->strPath + " (deleted)";
    std::filesystem::copy_file( OwnProgram(), strMarked ); // another file, not another name of it
    SecondProcess aMarked( "bystander", {}, strMarked );
    aMarked.ReadLine();
    pProgram.reset();
    EXPECT_EQ( pProcess->Id(), Found( strName ) );
    EXPECT_EQ( aMarked.Id(), Found( strName + " (deleted)" ) );
    std::filesystem::remove( strMarked );
    EXPECT_EQ( aMarked.Id(), Found( strName + " (deleted)" ) );
}

TEST( Processes, AreNotKilledInPlaceOfOnesThatHadTheirNumberNorBesideTheirWindow )
{
    const NamedProgram aProgram( "Reused" );
    const auto pProcess = aProgram.Start( "bystander" );
    const DWORD dwProcess = static_cast<DWORD>( pProcess->Id() );
    const HWND hGone = reinterpret_cast<HWND>( 0x7770 );
    MyInfoStruct aStruct;
    aStruct.m_pText = "Bx-Before.exe";
    DebugRecorder aRecorder;
    EXPECT_TRUE( KillProcess( GetCurrentProcessId(), hGone, TRUE, &aStruct, 0 ) );
    EXPECT_FALSE( KillProcess( dwProcess, NULL, TRUE, &aStruct, 0 ) ||
                  KillProcess( dwProcess, hGone, FALSE, &aStruct, 0 ) ||
                  KillProcess( 0xFFFFFFFF, NULL, TRUE, &aStruct, 0 ) );
    EXPECT_EQ( "KillProcess|OpenProcess1 failed with 87\nKillProcess|!IsWindow( hWnd )\n"
               "KillProcess|OpenProcess failed with 87\n",
               Reported( aRecorder ) );
    EXPECT_TRUE( IsAlive( *pProcess ) );
}

TEST( Processes, ThatCannotBeListedFailTheCalls )
{
    DebugRecorder aRecorder;
    DWORD dwFound = 4711;
    {
        const Limit aNone( RLIMIT_NOFILE, 0 );
        EXPECT_FALSE( FindProcess( "a", &dwFound, NULL ) || KillProcesses( "a", FALSE ) );
    }
    EXPECT_EQ( static_cast<DWORD>( ERROR_TOO_MANY_OPEN_FILES ), GetLastError() );
    EXPECT_EQ( 4711u, dwFound );
    EXPECT_EQ( "FindProcess| Error: !EnumProcs( OnEnumProcessSearch, (LPARAM)&aStruct )\n"
               "KillProcesses| Error: !EnumProcs( OnEnumProcessToKill, (LPARAM)&aStruct )\n",
               Reported( aRecorder ) );
}

BX_ROLE( other_user )
{
    TellTest( setresuid( 65534, 65534, 65534 ) == 0 ? "here" : "still root" );
    // Its parent's path is not told.
    return WaitForTest() == "end" && Found( OwnProgram().filename().string() ) == 0 ? 0 : 1;
}

BX_ROLE( powerless )
{
    const char* pNames = Arguments[0].c_str();
    DebugRecorder aRecorder;
    GiveUpRightToKill( true );
    EXPECT_TRUE( KillProcesses( "Bx-Nobody.exe", TRUE ) );
    EXPECT_EQ( "", Reported( aRecorder ) );
    GiveUpRightToKill( false );
    EXPECT_FALSE( KillProcesses( pNames, TRUE ) );
    EXPECT_TRUE( KillProcesses( pNames, FALSE ) );
    EXPECT_EQ( "EnableDebugPrivilege|AdjustTokenPrivileges failed with 1300\n"
               "KillProcesses| Error: !EnableDebugPrivilege( &aStruct )\n"
               "KillProcess|OpenProcess failed with 5\n"
               "OnEnumProcessToKill| Error: !KillProcess( dwPID, NULL, TRUE, paStruct, whTask16 )\n",
               Reported( aRecorder ) );
    return ::testing::Test::HasFailure() ? 1 : 0;
}

TEST( Processes, OfOtherUsersNeedTheRightToKillThem )
{
    if ( geteuid() != 0 )
        GTEST_SKIP() << "only root can become another user";
    const NamedProgram aProgram( "Other" );
    const auto pOther = aProgram.Start( "other_user" );
    EXPECT_EQ( pOther->Id(), Found( aProgram.strName ) );
    EXPECT_EQ( 0, RunInRole( "powerless", { aProgram.strName } ) );
    EXPECT_TRUE( IsAlive( *pOther ) );
}
