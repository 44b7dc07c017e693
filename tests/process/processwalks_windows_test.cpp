// Both walks over the processes, of which a system takes one only, and what only old systems have: tasks of 16 bits.
#include "core/guards.h"
#include "process/processes.h"
#include "process/processmatch.h"
#include "process/processwalks.h"
#include "support/scratchfolder.h"

#include <gtest/gtest.h>

#include <map>

namespace
{

using Listed = std::map<DWORD, std::string>;

BOOL DLL_EXPORT Take( DWORD dwPID, WORD, LPCTSTR szFileName, LPARAM lParam )
{
    reinterpret_cast<Listed*>( lParam )->emplace( dwPID, szFileName );
    return TRUE;
}

BOOL DLL_EXPORT TakeOne( DWORD, WORD, LPCTSTR, LPARAM lParam )
{
    ++*reinterpret_cast<int*>( lParam );
    return FALSE;
}

// The tasks, of which the second one is enough; what comes behind it counts as one more.
BOOL DLL_EXPORT TakeTasks( DWORD dwPID, WORD whTask16, LPCTSTR szFileName, LPARAM lParam )
{
    auto& rTasks = *reinterpret_cast<std::string*>( lParam );
    if ( whTask16 != 0 || rTasks.size() > 1 )
        rTasks += std::to_string( dwPID ) + " " + std::to_string( whTask16 ) + " " + szFileName + "\n";
    return whTask16 != 0x0102;
}

// A library that is loaded already is found by its name alone.
LoadedLibrary LoadInPlaceOfTheSystems( const std::filesystem::path& rPath )
{
    return LoadedLibrary( rPath.string().c_str() );
}

} // namespace

TEST( ProcessWalks, OfBothFamiliesFindTheProcessesUntilTheyAreStopped )
{
    const NamedProgram aProgram( "Walked" );
    const auto pProcess = aProgram.Start( "bystander" );
    for ( const auto pWalk : { &EnumOnNT, &EnumOnWindows95 } )
    {
        Listed aListed;
        EXPECT_TRUE( pWalk( &Take, reinterpret_cast<LPARAM>( &aListed ) ) );
        EXPECT_EQ( 1u, aListed.count( GetCurrentProcessId() ) );
        const std::string strName = aListed[static_cast<DWORD>( pProcess->Id() )];
        // One family tells paths, the other may tell names alone.
        EXPECT_TRUE( IsSameName( aProgram.strName, strName ) ||
                     IsSameName( aProgram.strName, FileNamePart( strName ) ) )
            << strName;
        int nTaken = 0;
        EXPECT_TRUE( pWalk( &TakeOne, reinterpret_cast<LPARAM>( &nTaken ) ) );
        EXPECT_EQ( 1, nTaken );
    }
}

TEST( ProcessWalks, OfNTTellOfTheTasksInAProcessAndTasksAreEnded )
{
    const LoadedLibrary aTasks =
        LoadInPlaceOfTheSystems( OwnProgram().parent_path() / "oldtasks/VDMDBG.DLL" );
    const NamedProgram aProgram( "ntvdm" );
    const auto pProcess = aProgram.Start( "bystander" );
    const std::string strId = std::to_string( pProcess->Id() );
    std::string strTasks;
    EXPECT_TRUE( EnumOnNT( &TakeTasks, reinterpret_cast<LPARAM>( &strTasks ) ) );
    EXPECT_EQ( strId + " 257 C:\\OLD\\BXOLD1.EXE\n" + strId + " 258 C:\\OLD\\BXOLD2.EXE\n", strTasks );

    DWORD dwProcess = 0;
    WORD whTask = 0;
    DebugRecorder aRecorder;
    EXPECT_TRUE( FindProcess( "bxold2.exe", &dwProcess, &whTask ) );
    EXPECT_EQ( pProcess->Id(), dwProcess );
    EXPECT_EQ( 0x0102, whTask );
    EXPECT_TRUE( KillProcesses( "bxold2.exe", FALSE ) );
    EXPECT_EQ( pProcess->Id(), *aTasks.Get<DWORD*>( "dwEndedIn" ) );
    EXPECT_TRUE( aRecorder.Silent() );
    EXPECT_TRUE( KillProcesses( "bxold1.exe", FALSE ) );
    EXPECT_EQ( "KillProcess| Error: !(*paStruct->m_lpfVDMTerminateTaskWOW) ( dwProcessId, whTask16 )\n"
               "OnEnumProcessToKill| Error: !KillProcess( dwPID, NULL, TRUE, paStruct, whTask16 )\n",
               Reported( aRecorder ) );
    EXPECT_TRUE( IsAlive( *pProcess ) );
}

TEST( ProcessWalks, FailWhereTheSystemsFunctionsAreMissing )
{
    const ScratchFolder aFolder;
    const std::string strLibrary = aFolder.Path( "VDMDBG.DLL" );
    std::filesystem::copy_file( OwnProgram().parent_path() / "BXSELFREGISTERING.DLL", strLibrary );
    const LoadedLibrary aWithoutAny = LoadInPlaceOfTheSystems( strLibrary );
    int nTaken = 0;
    EXPECT_FALSE( EnumOnNT( &TakeOne, reinterpret_cast<LPARAM>( &nTaken ) ) );
    EXPECT_EQ( 0, nTaken );
    WORD whTask = 0;
    DebugRecorder aRecorder;
    EXPECT_FALSE( FindProcess( "x.exe", NULL, &whTask ) );
    EXPECT_FALSE( KillProcesses( "x.exe", FALSE ) );
    EXPECT_EQ( "FindProcess| Error: !EnumProcs( OnEnumProcessSearch, (LPARAM)&aStruct )\n"
               "SetupMyStruct| Error: pMyInfoStruct->m_lpfVDMTerminateTaskWOW == NULL\n"
               "KillProcesses| Error: !SetupMyStruct( &aStruct )\n",
               Reported( aRecorder ) );
}
