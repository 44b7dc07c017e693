// Waits among several processes, some of which are killed.

#include "platform/namedobjects.h"
#include "platform/object/bell.h"
#include "platform/steppedchild.h"
#include "support/secondprocess.h"
#include "support/threads.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <sys/resource.h>
#include <sys/syscall.h>

namespace
{
// Names that begin with m are mutexes, the others events that reset themselves.
HANDLE OpenNamed( const std::string& strName )
{
    return strName[0] == 'm' ? MakeMutex( strName ) : MakeEvent( strName );
}

using Names = std::vector<std::string>;

struct Handles : std::vector<HANDLE>
{
    using vector::vector;
    explicit Handles( const Names& rNames )
    {
        for ( const std::string& strName : rNames )
            push_back( OpenNamed( strName ) );
    }
    Handles( const Handles& ) = delete;
    ~Handles()
    {
        for ( const HANDLE hObject : *this )
            CloseHandle( hObject );
    }
};

// A wait of a kind: "one" (on the first), "any" or "all".
DWORD Wait( const std::string& strKind, const std::vector<HANDLE>& rHandles,
            DWORD dwMilliseconds = LONG_TIME )
{
    return strKind == "one" ? WaitForSingleObject( rHandles[0], dwMilliseconds )
                            : WaitForMultipleObjects( static_cast<DWORD>( rHandles.size() ), rHandles.data(),
                                                      strKind == "all", dwMilliseconds );
}

// The process's first thread sleeps in the kernel for something to happen.
void AwaitBlocked( const SecondProcess& rProcess )
{
    for ( long lCall = 0; lCall != SYS_futex && lCall != SYS_ppoll; Sleep( 1 ) )
    {
        lCall = 0;
        std::ifstream( "/proc/" + std::to_string( rProcess.Id() ) + "/syscall" ) >> lCall;
    }
}

// A process that waits for named objects and gives back what is a mutex, whenever it is told a line.
class Waiter
{
public:
    Waiter( const std::string& strKind, std::vector<std::string> aNames )
        : m_aProcess( "waiter", ( aNames.insert( aNames.begin(), strKind ), aNames ) )
    {
        WaitOnce();
    }
    void WaitOnce()
    {
        m_aProcess.WriteLine( "wait" );
        AwaitBlocked( m_aProcess );
    }
    std::string WaitForReady()
    {
        m_aProcess.WriteLine( "wait" );
        return Result();
    }
    std::string Result() { return m_aProcess.ReadLine(); }
    void Signal( int nSignal ) { kill( static_cast<pid_t>( m_aProcess.Id() ), nSignal ); }
    void Kill()
    {
        m_aProcess.Kill();
        m_aProcess.Wait();
    }
    void End()
    {
        m_aProcess.WriteLine( "" );
        m_aProcess.Wait();
    }

private:
    SecondProcess m_aProcess;
};

// But for those of this process, whose first thread keeps one until its end.
int BellFiles()
{
    const std::string strOwn = "bell-" + std::to_string( getpid() ) + "-";
    const std::vector<std::string> aNames = ObjectFiles();
    const auto IsOthersBell = [&]( const std::string& rName )
    { return rName.find( "bell-" ) != std::string::npos && !rName.starts_with( strOwn ); };
    return static_cast<int>( std::count_if( aNames.begin(), aNames.end(), IsOthersBell ) );
}

// What processes share in a test on waits for all.
struct Contended
{
    std::atomic<int> nInside;
    int nRounds; // guarded by the objects waited for
};

// For as long as the process lives.
Contended& MapContended()
{
    return *reinterpret_cast<Contended*>( WritableView( MakeMapping( "contended", sizeof( Contended ) ) ) );
}

constexpr int ROUNDS = 2000;
} // namespace

BX_ROLE( waiter )
{
    const Handles aHandles( Names( Arguments.begin() + 1, Arguments.end() ) );
    while ( !WaitForTest().empty() )
    {
        const DWORD dwResult = Wait( Arguments[0], aHandles );
        TellTest( std::to_string( dwResult ) );
        for ( const HANDLE hObject : aHandles )
            ReleaseMutex( hObject );
    }
    return 0;
}

// Listens for a while, then leaves a child of fork behind.
BX_ROLE( forker )
{
    const Handles aHandles( Arguments );
    Wait( "any", aHandles, 1 );
    if ( fork() == 0 )
    {
        // Here the child has closed what it has inherited.
        TellTest( std::to_string( getpid() ) );
        alarm( 20 );
        for ( ;; )
            pause();
    }
    Wait( "any", aHandles );
    return 0;
}

// Takes all again and again; with "one" it takes only the first, which nobody may hold while he waits for the others.
BX_ROLE( contender )
{
    const Handles aHandles( Names( Arguments.begin() + 1, Arguments.end() ) );
    Contended& rShared = MapContended();
    const bool fAll = Arguments[0] == "all";
    for ( int i = 0; i < ROUNDS; ++i )
    {
        if ( Wait( Arguments[0], aHandles ) != WAIT_OBJECT_0 ||
             ( fAll && rShared.nInside.fetch_add( 1 ) != 0 ) )
            return 1;
        rShared.nRounds += fAll;
        rShared.nInside -= fAll;
        for ( const HANDLE hObject : aHandles )
        {
            if ( !ReleaseMutex( hObject ) && fAll )
                SetEvent( hObject );
        }
    }
    return 0;
}

TEST( Wait, AKilledWaiterEatsNoSignal )
{
    const Handles aEvents( Names{ "signal", "silent" } );
    for ( const char* pKind : { "one", "any" } )
    {
        Waiter aFirstVictim( "one", { "signal" } );
        Waiter aSecondVictim( "any", { "silent", "signal" } );
        Waiter aSurvivor( pKind, { "signal", "silent" } );
        // Stopped where they stand, as if the kill had begun: whoever wakes one of them alone wakes nobody.
        aFirstVictim.Signal( SIGSTOP );
        aSecondVictim.Signal( SIGSTOP );
        SetEvent( aEvents[0] );
        EXPECT_EQ( "0", aSurvivor.Result() ) << pKind;
        aSurvivor.WaitOnce();
        aFirstVictim.Kill();
        aSecondVictim.Kill();
        SetEvent( aEvents[0] );
        EXPECT_EQ( "0", aSurvivor.Result() ) << pKind;
        EXPECT_EQ( WAIT_TIMEOUT + 0u, WaitForSingleObject( aEvents[0], 0 ) );
        // The bell of the dead went with the first signal after its end, the survivor's goes with the survivor.
        EXPECT_EQ( pKind == std::string( "any" ) ? 1 : 0, BellFiles() );
        aSurvivor.End();
        EXPECT_EQ( 0, BellFiles() );
    }
}

TEST( Wait, ASignalIsSeenOrWasNeverGivenWhereverItsGiverIsKilled )
{
    const HANDLE hEvent = CreateEventA( NULL, TRUE, FALSE, "given" );
    const auto Set = []
    {
        const HANDLE hGiven = OpenEventA( EVENT_ALL_ACCESS, FALSE, "given" );
        raise( SIGSTOP );
        SetEvent( hGiven );
    };
    int nWoken = 0;
    bool fDone = false;
    for ( int nStops = 1; !fDone; ++nStops )
    {
        ResetEvent( hEvent );
        Waiter aWaiter( "any", { "silent", "given" } );
        {
            SteppedChild aSetter( Set );
            for ( int i = 0; i < nStops && !fDone; ++i )
            {
                fDone = !aSetter.Step();
                // The waiter comes to look in between and sleeps again.
                Sleep( 2 );
            }
        }
        const bool fSet = WaitForSingleObject( hEvent, 0 ) == WAIT_OBJECT_0;
        EXPECT_TRUE( fSet || !fDone );
        nWoken += fSet;
        SetEvent( hEvent );
        EXPECT_EQ( "1", aWaiter.Result() ) << "killed at stop " << nStops;
    }
    EXPECT_GT( nWoken, 1 );
    CloseHandle( hEvent );
}

TEST( Wait, AKilledOwnerHandsOverAsAbandoned )
{
    const Handles aSet( Names{ "set" } );
    SetEvent( aSet[0] );
    using Case = std::pair<std::string, std::vector<std::string>>;
    for ( const auto& [strKind, aNames] :
          { Case( "one", { "mutex held" } ), Case( "any", { "silent", "mutex held" } ),
            Case( "all", { "set", "mutex held" } ) } )
    {
        SecondProcess aOwner( "holder", { "alone" } );
        ASSERT_EQ( "held", aOwner.ReadLine() );
        Waiter aWaiter( strKind, aNames );
        aOwner.Kill();
        EXPECT_EQ( strKind == "any" ? "129" : "128", aWaiter.Result() ) << strKind;
        SetEvent( aSet[0] );
        EXPECT_EQ( strKind == "any" ? "1" : "0", aWaiter.WaitForReady() ) << strKind;
    }
}

TEST( Wait, AProcessIsReadyWhenItHasEndedAndKeepsItsCode )
{
    for ( const char* pKind : { "one", "any", "all" } )
    {
        SCOPED_TRACE( pKind );
        SecondProcess aProcess( "waiter", { "one", "silent" } );
        const auto dwProcessId = static_cast<DWORD>( aProcess.Id() );
        const bool fAny = pKind == std::string( "any" );
        const Handles aHandles{ OpenProcess( SYNCHRONIZE | PROCESS_QUERY_INFORMATION, FALSE, dwProcessId ),
                                CreateEventA( NULL, TRUE, !fAny, NULL ) };
        const Handles aEnding{ OpenProcess( PROCESS_ALL_ACCESS, FALSE, dwProcessId ) };
        const auto CodeFrom = []( HANDLE hProcess )
        {
            DWORD dwCode = 0;
            EXPECT_TRUE( GetExitCodeProcess( hProcess, &dwCode ) );
            return dwCode;
        };
        EXPECT_EQ( WAIT_TIMEOUT + 0u, Wait( "one", aHandles, 10 ) );
        EXPECT_EQ( STILL_ACTIVE + 0u, CodeFrom( aEnding[0] ) );
        EXPECT_FALSE( TerminateProcess( aHandles[0], 1 ) );
        EXPECT_EQ( ERROR_ACCESS_DENIED + 0u, GetLastError() );
        std::thread aKiller(
            [&]
            {
                Sleep( 50 );
                EXPECT_TRUE( TerminateProcess( aEnding[0], 5 ) );
            } );
        EXPECT_EQ( WAIT_OBJECT_0, Wait( pKind, aHandles ) );
        aKiller.join();
        EXPECT_EQ( 1u, CodeFrom( aHandles[0] ) );
        aProcess.Wait();
        EXPECT_EQ( WAIT_OBJECT_0, Wait( pKind, aHandles, 0 ) );
        EXPECT_EQ( 5u, CodeFrom( aEnding[0] ) ) << "what its end was given";
        EXPECT_FALSE( TerminateProcess( aEnding[0], 1 ) );
        EXPECT_EQ( ERROR_ACCESS_DENIED + 0u, GetLastError() );
        EXPECT_EQ( NULL, OpenProcess( SYNCHRONIZE, FALSE, dwProcessId ) );
        EXPECT_EQ( ERROR_INVALID_PARAMETER + 0u, GetLastError() );
    }
}

TEST( Wait, AllAreTakenOrNothing )
{
    const Contended& rShared = MapContended();
    const Handles aHandles( Names{ "first", "mutex", "third" } );
    SetEvent( aHandles[0] );
    SetEvent( aHandles[2] );
    {
        SecondProcess aOneOrder( "contender", { "all", "first", "mutex", "third" } );
        SecondProcess aOtherOrder( "contender", { "all", "third", "mutex", "first" } );
        SecondProcess aTwo( "contender", { "all", "mutex", "third" } );
        SecondProcess aOne( "contender", { "one", "mutex" } );
        for ( SecondProcess* const pProcess : { &aOneOrder, &aOtherOrder, &aTwo, &aOne } )
            EXPECT_EQ( 0, pProcess->Wait() );
    }
    EXPECT_EQ( 3 * ROUNDS, rShared.nRounds );
    EXPECT_EQ( WAIT_OBJECT_0, Wait( "all", aHandles, 0 ) );
}

TEST( Wait, ABlockedOneUsesNoTimeAndIsNotEarly )
{
    SecondProcess aOwner( "holder", { "alone" } );
    ASSERT_EQ( "held", aOwner.ReadLine() );
    const Handles aHandles( Names{ "mutex held", "silent" } );
    for ( const char* pKind : { "one", "any", "all" } )
    {
        rusage aBefore;
        rusage aAfter;
        getrusage( RUSAGE_THREAD, &aBefore );
        const auto aStart = std::chrono::steady_clock::now();
        EXPECT_EQ( WAIT_TIMEOUT + 0u, Wait( pKind, aHandles, 300 ) );
        EXPECT_GE( std::chrono::steady_clock::now() - aStart, std::chrono::milliseconds( 300 ) ) << pKind;
        getrusage( RUSAGE_THREAD, &aAfter );
        EXPECT_LT( aAfter.ru_nvcsw - aBefore.ru_nvcsw, 10 ) << pKind;
        EXPECT_LT( aAfter.ru_utime.tv_usec + aAfter.ru_stime.tv_usec - aBefore.ru_utime.tv_usec -
                       aBefore.ru_stime.tv_usec,
                   30000 )
            << pKind;
    }
}

TEST( Wait, ABellGoesWithItsListenerNotWithAChild )
{
    SweepSharedBells( NamespaceScope::Local );
    // A child of fork does not listen in its parent's place.
    SecondProcess aForker( "forker", { "signal", "silent" } );
    const pid_t nChild = std::stoi( aForker.ReadLine() );
    AwaitBlocked( aForker );
    EXPECT_EQ( 1, BellFiles() );
    SweepSharedBells( NamespaceScope::Local );
    EXPECT_EQ( 1, BellFiles() );
    aForker.Kill();
    aForker.Wait();
    SweepSharedBells( NamespaceScope::Local );
    EXPECT_EQ( 0, BellFiles() );
    kill( nChild, SIGKILL );
}
