// Objects that processes share by name, while processes are killed and fork.

#include "platform/namedobjects.h"
#include "platform/object/event.h"
#include "platform/object/handletable.h"
#include "platform/object/namedobjects.h"
#include "support/forked.h"
#include "support/sanitizer.h"
#include "support/secondprocess.h"
#include "support/threads.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <random>
#include <sys/eventfd.h>
#include <sys/syscall.h>

namespace
{
bool Exists( const std::string& strName )
{
    const HANDLE hEvent = OpenEventA( SYNCHRONIZE, FALSE, strName.c_str() );
    return hEvent != NULL && CloseHandle( hEvent );
}

// The same over and over, without looking at what others leave behind; some names are used once only.
[[noreturn]] void LiveOnAndOn( std::atomic<unsigned long>& rulLives )
{
    for ( unsigned u = 0;; ++u )
    {
        LiveOnce( "shared " );
        LiveOnce( "own " + std::to_string( getpid() ) + " " + std::to_string( u % 70 ) );
        const HANDLE hMutex = MakeMutex( "shared owned", TRUE );
        const HANDLE hEvent = MakeEvent( "shared owned event" );
        const HANDLE ahBoth[] = { hMutex, hEvent };
        WaitForMultipleObjects( 2, ahBoth, FALSE, 0 );
        if ( u % 4 != 0 )
            ReleaseMutex( hMutex );
        CloseHandle( hEvent );
        CloseHandle( hMutex );
        rulLives.fetch_add( 1 );
    }
}

pid_t StartLiving( std::atomic<unsigned long>& rulLives )
{
    const pid_t nChild = fork();
    if ( nChild == 0 )
        LiveOnAndOn( rulLives );
    return nChild;
}
} // namespace

// Holds one object of each kind: the event set, the mutex owned.
BX_ROLE( holder )
{
    const HANDLE hMutex = MakeMutex( "held mutex" );
    WaitForSingleObject( hMutex, LONG_TIME );
    WaitForSingleObject( hMutex, LONG_TIME );
    MakeEvent( "held event", TRUE );
    *WritableView( MakeMapping( "held mapping" ) ) = 'x';
    TellTest( "held" );
    WaitForTest();
    return 0;
}

TEST( NamedObjects, EndWithTheirProcess )
{
    SecondProcess aHolder( "holder", {} );
    ASSERT_EQ( "held", aHolder.ReadLine() );
    const HANDLE hMutex = MakeMutex( "held mutex" );
    EXPECT_EQ( DWORD{ ERROR_ALREADY_EXISTS }, GetLastError() );
    EXPECT_TRUE( Exists( "held event" ) );
    aHolder.Kill();
    EXPECT_EQ( DWORD{ WAIT_ABANDONED }, WaitForSingleObject( hMutex, LONG_TIME ) );
    aHolder.Wait();
    ReleaseMutex( hMutex );
    EXPECT_EQ( DWORD{ WAIT_OBJECT_0 }, WaitForSingleObject( hMutex, 0 ) ) << "it is told once";
    ReleaseMutex( hMutex );
    CloseHandle( hMutex );
    for ( const char* const pName : { "held event", "held mutex", "held mapping" } )
    {
        EXPECT_FALSE( Exists( pName ) );
        EXPECT_EQ( DWORD{ ERROR_FILE_NOT_FOUND }, GetLastError() ) << pName;
    }
    EXPECT_EQ( 0, LiveOnce( "held " ) );
}

// Processes make, use and close the same objects and are killed at random instants, sooner or later in each step.
TEST( NamedObjects, SurviveKillsAtAnyInstant )
{
    const SharedMemory<std::array<std::atomic<unsigned long>, 2>> aLives;
    auto& rulLives = *aLives.pObject;
    std::mt19937 aRandom( 20260711 );
    pid_t anChildren[] = { StartLiving( rulLives[0] ), StartLiving( rulLives[1] ) };
    for ( unsigned i = 0; i < 120; ++i )
    {
        const unsigned uVictim = i % 2;
        usleep( static_cast<useconds_t>( aRandom() % 3000 ) );
        KillAndWait( anChildren[uVictim] );
        // The other one is not held up.
        std::atomic<unsigned long>& rulOther = rulLives[1 - uVictim];
        const unsigned long ulBefore = rulOther;
        for ( int nRound = 0; nRound < 10000 && rulOther < ulBefore + 2; ++nRound )
            usleep( 1000 );
        ASSERT_GE( rulOther, ulBefore + 2 ) << i;
        if ( i % 10 == 0 )
        {
            KillAndWait( anChildren[1 - uVictim] );
            ASSERT_EQ( 0, LiveOnce( "shared " ) ) << i;
            anChildren[1 - uVictim] = StartLiving( rulOther );
        }
        anChildren[uVictim] = StartLiving( rulLives[uVictim] );
    }
    for ( const pid_t nChild : anChildren )
        KillAndWait( nChild );
    CloseNamedObjects();
    EXPECT_EQ( 0, LiveOnce( "shared " ) );
    CloseNamedObjects();
    EXPECT_EQ( std::vector<std::string>(), ObjectFiles() );
}

// The kernel alone hands on what such a thread owned, and what was kept of the owner here is out of date.
TEST( Mutex, IsHandedOnByAThreadThatEndsByForce )
{
    SKIP_WHERE_FORCED_ENDS_ARE_NOT_FOLLOWED();
    static std::atomic<bool> fOwned{ false };
    // Joined at the end: until then no other thread gets the stacks, with what was left in them.
    std::vector<pthread_t> aThreads;
    for ( const char* const pName : { "", "forced" } )
    {
        const HANDLE ahMutexes[] = { MakeMutex( pName ), MakeMutex( "" ) };
        pthread_create(
            &aThreads.emplace_back(), NULL,
            []( void* pMutexes ) -> void*
            {
                WaitForMultipleObjects( 2, static_cast<const HANDLE*>( pMutexes ), TRUE, INFINITE );
                fOwned = true;
                syscall( SYS_exit, 0 );
                return NULL;
            },
            const_cast<HANDLE*>( ahMutexes ) );
        while ( !fOwned.exchange( false ) )
            sched_yield();
        EXPECT_EQ( DWORD{ WAIT_ABANDONED }, WaitForMultipleObjects( 2, ahMutexes, TRUE, LONG_TIME ) );
        for ( const HANDLE hMutex : ahMutexes )
        {
            EXPECT_TRUE( ReleaseMutex( hMutex ) );
            EXPECT_FALSE( ReleaseMutex( hMutex ) );
            OnOtherThread( [&] { EXPECT_EQ( DWORD{ WAIT_OBJECT_0 }, WaitForSingleObject( hMutex, 0 ) ); } );
            EXPECT_EQ( DWORD{ WAIT_ABANDONED }, WaitForSingleObject( hMutex, 0 ) );
            CloseHandle( hMutex );
        }
    }
    for ( const pthread_t aThread : aThreads )
        pthread_join( aThread, NULL );
}

// A descriptor that a child or a started program still had would keep its dead parent's objects alive.
BX_ROLE( parent )
{
    const HANDLE hEvent = MakeEvent( "of the parent", TRUE );
    const HANDLE hMutex = MakeMutex( "owned by the parent", TRUE );
    const pid_t nChild = fork();
    if ( nChild == 0 )
    {
        const bool fGone = WaitForSingleObject( hEvent, 0 ) == WAIT_FAILED && !ReleaseMutex( hMutex ) &&
                           GetLastError() == ERROR_INVALID_HANDLE;
        const HANDLE hOwn = MakeMutex( "owned by the parent" );
        const bool fApart = GetLastError() == ERROR_ALREADY_EXISTS &&
                            WaitForSingleObject( hOwn, 0 ) == WAIT_TIMEOUT && CloseHandle( hOwn );
        TellTest( fGone && fApart ? std::to_string( getpid() ) : "wrong" );
        if ( Arguments[0] == "exec" )
            execlp( "sleep", "sleep", "30", NULL );
        sleep( 30 );
        _exit( 0 );
    }
    WaitForTest();
    return 0;
}

TEST( NamedObjects, AreNotKeptByChildren )
{
    for ( const char* const pKind : { "fork", "exec" } )
    {
        SecondProcess aParent( "parent", { pKind } );
        const std::string strChild = aParent.ReadLine();
        ASSERT_NE( "wrong", strChild );
        EXPECT_TRUE( Exists( "of the parent" ) );
        aParent.Kill();
        aParent.Wait();
        EXPECT_FALSE( Exists( "of the parent" ) ) << pKind;
        kill( std::stoi( strChild ), SIGKILL );
    }
}

// As services do when they start.
BX_ROLE( closer )
{
    MakeEvent( "before" );
    closefrom( 3 );
    MakeEvent( "after" );
    TellTest( "made" );
    WaitForTest();
    return 0;
}

TEST( NamedObjects, OutliveAProcesssOwnClosingOfDescriptors )
{
    SecondProcess aCloser( "closer", {} );
    ASSERT_EQ( "made", aCloser.ReadLine() );
    EXPECT_TRUE( Exists( "before" ) );
    EXPECT_TRUE( Exists( "after" ) );
    aCloser.Kill();
    aCloser.Wait();
    EXPECT_FALSE( Exists( "before" ) );
    EXPECT_FALSE( Exists( "after" ) );
}

// A feeder ends waits that began before it was attached, and sets the event once.
TEST( Event, IsSetByItsFeeder )
{
    struct Feeder final : EventFeeder
    {
        int GetDescriptor() const noexcept override { return nDescriptor; }
        bool HasFired() noexcept override
        {
            eventfd_t ullValue = 0;
            return eventfd_read( nDescriptor, &ullValue ) == 0;
        }
        const int nDescriptor = eventfd( 0, EFD_NONBLOCK );
    } aFeeder;
    for ( const char* const pName : { "", "fed" } )
    {
        const HANDLE hEvent = MakeEvent( pName );
        {
            const HandleUse aUse( hEvent, KIND_EVENT, 0 );
            Event* const pEvent = aUse.GetObject<Event>();
            DWORD dwWaited = WAIT_FAILED;
            std::thread aWaiting( [&] { dwWaited = WaitForSingleObject( hEvent, LONG_TIME ); } );
            usleep( 20000 );
            ASSERT_TRUE( pEvent->AttachFeeder( aFeeder ) );
            EXPECT_EQ( DWORD{ WAIT_TIMEOUT }, WaitForSingleObject( hEvent, 0 ) );
            eventfd_write( aFeeder.nDescriptor, 1 );
            aWaiting.join();
            EXPECT_EQ( DWORD{ WAIT_OBJECT_0 }, dwWaited );
            eventfd_write( aFeeder.nDescriptor, 1 );
            EXPECT_EQ( DWORD{ WAIT_TIMEOUT }, WaitForSingleObject( hEvent, 0 ) ) << "it has let go";
            ASSERT_TRUE( pEvent->AttachFeeder( aFeeder ) );
            pEvent->DetachFeeder( aFeeder );
            EXPECT_EQ( DWORD{ WAIT_TIMEOUT }, WaitForSingleObject( hEvent, 0 ) );
            aFeeder.HasFired();
        }
        CloseHandle( hEvent );
    }
    close( aFeeder.nDescriptor );
}
