#include "process/processes.h"
#include "process/processmatch.h"

#include <gtest/gtest.h>

#include <map>

namespace
{

BOOL DLL_EXPORT Take( DWORD dwPID, WORD, LPCTSTR szFileName, LPARAM lParam )
{
    auto& rListed = *reinterpret_cast<std::multimap<unsigned long, std::string>*>( lParam );
    rListed.emplace( dwPID, szFileName );
    return dwPID != GetCurrentProcessId();
}

std::string InOtherCase( std::string strName )
{
    for ( char& rLetter : strName )
        rLetter =
            static_cast<char>( std::isupper( rLetter ) ? std::tolower( rLetter ) : std::toupper( rLetter ) );
    return strName;
}

} // namespace

// Tells which process of its own name it finds, and kills those of a list.
BX_ROLE( killer )
{
    TellTest( "here" );
    WaitForTest();
    TellTest( std::to_string( Found( OwnProgram().filename().string() ) ) );
    DebugRecorder aRecorder;
    TellTest( std::to_string( KillProcesses( Arguments[0].c_str(), FALSE ) ) + Reported( aRecorder ) );
    return WaitForTest() == "end" ? 0 : 1;
}

TEST( Processes, GoByTheFileNameOfTheirProgram )
{
    const std::string strFolder = MYCH_DELIMDIR + std::string( "a.d" ) + MYCH_DELIMDIR;
    EXPECT_EQ( "b.exe", FileNamePart( strFolder + "b.exe" ) );
    EXPECT_EQ( MYCH_DELIMDIR == '/' ? "b" : "", FileNamePart( strFolder + "b" ) );
    EXPECT_EQ( "", FileNamePart( "b.exe" ) );
    EXPECT_TRUE( IsListed( "b.exe", "a.exe;B.EXE" ) );
    for ( const char* pList : { "a.exe; b.exe", "b.exe ;a.exe", "b.exe2;xb.exe", "b", ";" } )
        EXPECT_FALSE( IsListed( "b.exe", pList ) ) << pList;
    EXPECT_FALSE( IsListed( "", "a;;b" ) || IsSameName( "@", "`" ) );
}

TEST( Processes, AreListedAndFoundByNameInAnyCaseAndNotFoundIsZero )
{
    const NamedProgram aProgram( "Found" );
    DebugRecorder aRecorder;
    EXPECT_EQ( 0u, Found( aProgram.strName ) );
    const auto pProcess = aProgram.Start( "bystander" );
    std::multimap<unsigned long, std::string> aListed;
    EXPECT_TRUE( EnumProcs( Take, reinterpret_cast<LPARAM>( &aListed ) ) );
    ASSERT_EQ( 1u, aListed.count( GetCurrentProcessId() ) ); // where the walk was ended
    EXPECT_EQ( OwnProgram().string(), aListed.find( GetCurrentProcessId() )->second );
    EXPECT_EQ( pProcess->Id(), Found( InOtherCase( aProgram.strName ) ) );
    EXPECT_EQ( 0u, Found( aProgram.strName + " " ) );
    WORD wTask = 4711;
    EXPECT_TRUE( FindProcess( aProgram.strName.c_str(), NULL, &wTask ) );
    EXPECT_EQ( 0u, wTask );
    EXPECT_TRUE( aRecorder.Silent() );

    DWORD dwFound = 4711;
    EXPECT_FALSE( FindProcess( NULL, &dwFound, NULL ) || FindProcess( "", &dwFound, NULL ) ||
                  FindProcess( "a", NULL, NULL ) || KillProcesses( NULL, FALSE ) ||
                  KillProcesses( "", FALSE ) );
    EXPECT_EQ( 4711u, dwFound );
    EXPECT_EQ( "FindProcess| Error: pProcess == NULL\n"
               "FindProcess| Error: STRLEN( pProcess ) == 0\n"
               "FindProcess| Error: pProcess32ID == NULL && pProcess16ID == NULL\n"
               "KillProcesses| Error: pProcessList == NULL\n"
               "KillProcesses| Error: STRLEN( pProcessList ) == 0\n",
               Reported( aRecorder ) );
}

TEST( Processes, AreKilledByNameButTheCaller )
{
    const NamedProgram aFirst( "First" );
    const NamedProgram aSecond( "Second" );
    const NamedProgram aThird( "Third" );
    const auto pKiller = aFirst.Start( "killer", InOtherCase( aFirst.strName ) + ";; " + aThird.strName +
                                                     " ;" + aSecond.strName );
    const auto pOne = aFirst.Start( "bystander" );
    const auto pTwo = aSecond.Start( "bystander" );
    const auto pOther = aSecond.Start( "bystander" );
    const auto pSpared = aThird.Start( "bystander" );
    pKiller->WriteLine( "go" );
    EXPECT_EQ( std::to_string( pOne->Id() ), pKiller->ReadLine() ); // itself it does not find
    EXPECT_EQ( "1", pKiller->ReadLine() );
    for ( SecondProcess* pKilled : { pOne.get(), pTwo.get(), pOther.get() } )
        EXPECT_NE( 0, pKilled->Wait() );
    EXPECT_TRUE( IsAlive( *pSpared ) );
    EXPECT_TRUE( IsAlive( *pKiller ) );
}
