// Objects that processes share by name, while processes are killed and fork.

#include "platform/namedobjects.h"
#include "platform/object/namedobjects.h"
#include "support/forked.h"
#include "support/sanitizer.h"
#include "support/secondprocess.h"
#include "support/threads.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <random>
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

// Holds one object of each kind: the event set, the mutex owned twice. One that "closes" has closed all descriptors meanwhile, as
// services do when they start. One that "forks" or "starts" has a child, or a program in the child's place: a descriptor that
// were left to them would keep the objects alive.
BX_ROLE( holder )
{
    MakeEvent( "event held", TRUE );
    if ( Arguments[0] == "closes" )
        closefrom( 3 );
    const HANDLE hMutex = MakeMutex( "mutex held", TRUE );
    WaitForSingleObject( hMutex, LONG_TIME );
    *WritableView( MakeMapping( "mapping held" ) ) = 'x';
    const bool fHasChild = Arguments[0] == "forks" || Arguments[0] == "starts";
    if ( fHasChild && fork() == 0 )
    {
        const HANDLE hOwn = MakeMutex( "mutex held" );
        const bool fApart = GetLastError() == ERROR_ALREADY_EXISTS &&
                            WaitForSingleObject( hOwn, 0 ) == WAIT_TIMEOUT && CloseHandle( hOwn );
        TellTest( fApart ? std::to_string( getpid() ) : "wrong" );
        if ( Arguments[0] == "starts" )
            execlp( "sleep", "sleep", "30", NULL );
        sleep( 30 );
        _exit( 0 );
    }
    if ( !fHasChild )
        TellTest( "held" );
    WaitForTest();
    return 0;
}

TEST( NamedObjects, EndWithTheirProcess )
{
    for ( const char* const pKind : { "alone", "closes", "forks", "starts" } )
    {
        SCOPED_TRACE( pKind );
        SecondProcess aHolder( "holder", { pKind } );
        const std::string strTold = aHolder.ReadLine();
        ASSERT_NE( "wrong", strTold );
        EXPECT_TRUE( Exists( "event held" ) );
        aHolder.Kill();
        aHolder.Wait();
        for ( const char* const pName : { "event held", "mutex held", "mapping held" } )
        {
            EXPECT_FALSE( Exists( pName ) );
            EXPECT_EQ( DWORD{ ERROR_FILE_NOT_FOUND }, GetLastError() ) << pName;
        }
        if ( strTold != "held" )
            kill( std::stoi( strTold ), SIGKILL );
    }
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
