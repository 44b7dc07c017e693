// Threads that others suspend, and end by force, at any moment.

#include "core/guards.h"
#include "support/sanitizer.h"
#include "support/scratchfolder.h"
#include "support/secondprocess.h"

#include <bxtools/platform.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <pthread.h>

namespace
{
constexpr DWORD LONG_TIME = 20000;

std::atomic<ULONG> g_ulRounds{ 0 };
std::atomic<bool> g_fGoesOn{ true };

struct Hammered
{
    HANDLE hEvent, hMutex;
    CriticalSection aLibraryLock;
    bool fMemory; // malloc is not the library's: it stays locked where a thread is ended in it
};

// Touched, or the compiler leaves it out.
void UseMemory( size_t nBytes )
{
    void* const pMemory = std::malloc( nBytes );
    *static_cast<volatile char*>( pMemory ) = 'x';
    std::free( pMemory );
}

// Everything that has locks: names, the handle table, mutexes, the library's own sections.
DWORD Hammer( LPVOID pHammered )
{
    Hammered& rHammered = *static_cast<Hammered*>( pHammered );
    for ( ; g_fGoesOn; ++g_ulRounds )
    {
        const HANDLE ahBoth[] = { rHammered.hEvent, CreateEventA( NULL, FALSE, FALSE, "hammered" ) };
        SetEvent( ahBoth[1] );
        WaitForMultipleObjects( 2, ahBoth, FALSE, 1 );
        WaitForSingleObject( rHammered.hMutex, INFINITE );
        if ( rHammered.fMemory )
            UseMemory( 100 + g_ulRounds % 5000 );
        {
            const LockGuard aLocked( rHammered.aLibraryLock );
            CloseHandle( ahBoth[1] );
        }
        ReleaseMutex( rHammered.hMutex );
    }
    return 0;
}

HANDLE* In( LPVOID pHandles )
{
    return static_cast<HANDLE*>( pHandles );
}

// What threads do that never end by themselves; they are given an event, one with a name and a mutex.
constexpr LPTHREAD_START_ROUTINE g_apEndless[] = {
    []( LPVOID ) -> DWORD { return Sleep( INFINITE ), 0; },
    []( LPVOID ) -> DWORD
    {
        for ( ;; )
            ++g_ulRounds;
    },
    []( LPVOID p ) { return WaitForSingleObject( In( p )[1], INFINITE ); },
    []( LPVOID p ) { return WaitForSingleObject( In( p )[2], INFINITE ); },
    []( LPVOID p ) { return WaitForMultipleObjects( 3, In( p ), FALSE, INFINITE ); },
    []( LPVOID p ) { return WaitForMultipleObjects( 3, In( p ), TRUE, INFINITE ); },
    []( LPVOID p ) { return MsgWaitForMultipleObjects( 3, In( p ), FALSE, INFINITE, QS_ALLINPUT ); },
    []( LPVOID )
    {
        MSG aMessage;
        return static_cast<DWORD>( GetMessageA( &aMessage, NULL, 0, 0 ) );
    }
};

pthread_key_t g_aKey;

DWORD ComeAndGo( LPVOID hEvent )
{
    EXPECT_EQ( nullptr, pthread_getspecific( g_aKey ) );
    pthread_setspecific( g_aKey, hEvent );
    PostMessageA( NULL, WM_USER, 0, 0 );
    ++g_ulRounds;
    const HANDLE ahBoth[] = { hEvent, hEvent };
    return WaitForMultipleObjects( 2, ahBoth, FALSE, 1 );
}

HANDLE Start( LPTHREAD_START_ROUTINE pFunction, LPVOID pParameter, DWORD dwFlags = 0 )
{
    return CreateThread( NULL, 0, pFunction, pParameter, dwFlags, NULL );
}

// Descriptors, threads and pieces of memory.
std::array<std::ptrdiff_t, 3> CountWhatTheProcessHas()
{
    const std::string strMaps = ReadBytes( "/proc/self/maps" );
    return { std::distance( std::filesystem::directory_iterator( "/proc/self/fd" ), {} ),
             std::distance( std::filesystem::directory_iterator( "/proc/self/task" ), {} ),
             std::count( strMaps.begin(), strMaps.end(), '\n' ) };
}
} // namespace

TEST( ThreadStop, SuspendedAnywhereItStandsStillAndTheLibraryGoesOn )
{
    Hammered aHammered{
        CreateEventA( NULL, FALSE, FALSE, NULL ), CreateMutexA( NULL, FALSE, "hammered mutex" ), {}, true
    };
    g_fGoesOn = true;
    const HANDLE hThread = Start( Hammer, &aHammered );
    for ( int i = 0; i < 1000; ++i )
    {
        const ULONG ulSeen = g_ulRounds;
        while ( i % 10 == 0 && g_ulRounds == ulSeen )
            Sleep( 0 );
        ASSERT_EQ( 0u, SuspendThread( hThread ) );
        const ULONG ulRounds = g_ulRounds;
        {
            const LockGuard aLocked( aHammered.aLibraryLock );
            SetEvent( aHammered.hEvent );
        }
        WaitForSingleObject( aHammered.hMutex, 0 ) == WAIT_TIMEOUT || ReleaseMutex( aHammered.hMutex );
        ASSERT_EQ( WAIT_TIMEOUT + 0u, WaitForSingleObject( hThread, 0 ) );
        ASSERT_EQ( ulRounds, g_ulRounds );
        ASSERT_EQ( 1u, ResumeThread( hThread ) );
    }
    g_fGoesOn = false;
    EXPECT_EQ( WAIT_OBJECT_0, WaitForSingleObject( hThread, LONG_TIME ) );
    for ( const HANDLE hObject : { hThread, aHammered.hMutex, aHammered.hEvent } )
        CloseHandle( hObject );
}

TEST( ThreadStop, EndedWhereverItIsItLeavesNothingHeld )
{
    SKIP_WHERE_FORCED_ENDS_ARE_NOT_FOLLOWED();
    for ( const LPTHREAD_START_ROUTINE pFunction : g_apEndless )
    {
        for ( const DWORD dwSuspended : { 0u, 1u, 2u } )
        {
            HANDLE ahObjects[] = { CreateEventA( NULL, TRUE, FALSE, NULL ),
                                   CreateEventA( NULL, TRUE, FALSE, "slept on" ),
                                   CreateMutexA( NULL, TRUE, "slept on mutex" ) };
            const HANDLE hThread = Start( pFunction, ahObjects, dwSuspended == 2 ? CREATE_SUSPENDED : 0 );
            Sleep( 5 );
            EXPECT_TRUE( dwSuspended == 0 || SuspendThread( hThread ) == dwSuspended - 1 );
            EXPECT_TRUE( TerminateThread( hThread, 77 ) );
            EXPECT_EQ( WAIT_OBJECT_0, WaitForSingleObject( hThread, LONG_TIME ) );
            DWORD dwCode = 0;
            EXPECT_TRUE( GetExitCodeThread( hThread, &dwCode ) );
            EXPECT_EQ( 77u, dwCode );
            // With the handles the objects are gone: no wait of the dead thread keeps them.
            SetEvent( ahObjects[1] );
            CloseHandle( hThread );
            for ( const HANDLE hObject : ahObjects )
                EXPECT_TRUE( CloseHandle( hObject ) );
            EXPECT_EQ( NULL, OpenEventA( SYNCHRONIZE, FALSE, "slept on" ) );
        }
    }
}

TEST( ThreadStop, EndedAtAnyMomentItHandsOnWhatItHas )
{
    SKIP_WHERE_FORCED_ENDS_ARE_NOT_FOLLOWED();
    for ( const LPCSTR pName : { "handed on", static_cast<LPCSTR>( NULL ) } )
    {
        Hammered aHammered{
            CreateEventA( NULL, TRUE, TRUE, NULL ), CreateMutexA( NULL, FALSE, pName ), {}, false
        };
        g_fGoesOn = true;
        const HANDLE hOther = Start( Hammer, &aHammered );
        bool fAbandoned = false;
        // On until one was met with the mutex in its hands, which luck alone decides.
        for ( int i = 0; i < 400 || ( !fAbandoned && i < 100000 ); ++i )
        {
            const ULONG ulRounds = g_ulRounds;
            const HANDLE hThread = Start( Hammer, &aHammered );
            while ( g_ulRounds < ulRounds + static_cast<ULONG>( i % 5 ) )
                Sleep( 0 );
            ASSERT_TRUE( TerminateThread( hThread, 0 ) );
            const HANDLE ahBoth[] = { aHammered.hMutex, aHammered.hMutex };
            const DWORD dwResult = i % 2 == 0 ? WaitForSingleObject( aHammered.hMutex, LONG_TIME )
                                              : WaitForMultipleObjects( 2, ahBoth, FALSE, LONG_TIME );
            ASSERT_LE( dwResult & ~WAIT_ABANDONED, WAIT_OBJECT_0 + 1 ) << "in round " << i;
            fAbandoned = fAbandoned || dwResult >= WAIT_ABANDONED;
            const LockGuard aLocked( aHammered.aLibraryLock );
            ASSERT_TRUE( ReleaseMutex( aHammered.hMutex ) );
            CloseHandle( hThread );
        }
        EXPECT_TRUE( fAbandoned );
        EXPECT_TRUE( TerminateThread( hOther, 0 ) );
        for ( const HANDLE hObject : { hOther, aHammered.hMutex, aHammered.hEvent } )
            CloseHandle( hObject );
        EXPECT_TRUE( pName == NULL || OpenMutexA( SYNCHRONIZE, FALSE, pName ) == NULL );
    }
}

// A process of its own: the memory of each thread stays locked, and others must not come to need it.
BX_ROLE( allocators )
{
    const auto Allocate = []( LPVOID ) -> DWORD
    {
        for ( TlsSetValue( 100, &g_ulRounds );; ++g_ulRounds )
            UseMemory( 3000 + g_ulRounds % 3000 );
    };
    for ( int i = 0; i < 5; ++i )
    {
        const ULONG ulSeen = g_ulRounds;
        const HANDLE hThread = Start( Allocate, NULL );
        while ( g_ulRounds - ulSeen < 1000 )
            Sleep( 0 );
        TerminateThread( hThread, 0 );
        CloseHandle( hThread );
    }
    return 0;
}

TEST( ThreadStop, EndedInsideMallocItDoesNotKeepWhoeverEndsItThere )
{
    SKIP_WHERE_FORCED_ENDS_ARE_NOT_FOLLOWED();
    if ( ADDRESS_SANITIZER )
        GTEST_SKIP() << "all threads have its locks in common";
    EXPECT_EQ( 0, RunInRole( "allocators" ) );
}

TEST( ThreadStop, AThousandEndsLeaveNothingBehind )
{
    SKIP_WHERE_FORCED_ENDS_ARE_NOT_FOLLOWED();
    const HANDLE hNamed = CreateEventA( NULL, TRUE, FALSE, "of thousands" );
    ASSERT_EQ( 0, pthread_key_create( &g_aKey, NULL ) );
    std::array<std::ptrdiff_t, 3> anBefore{};
    for ( int i = 0; i < 1200; ++i )
    {
        if ( i == 200 )
            anBefore = CountWhatTheProcessHas();
        const ULONG ulSeen = g_ulRounds;
        const HANDLE hThread = Start( ComeAndGo, hNamed, i % 3 == 1 ? CREATE_SUSPENDED : 0 );
        while ( i % 3 == 0 && g_ulRounds == ulSeen )
            Sleep( 0 );
        ASSERT_TRUE( i % 3 == 2 || TerminateThread( hThread, 0 ) );
        // Some outlive their handle.
        if ( i % 6 != 2 )
            WaitForSingleObject( hThread, LONG_TIME );
        CloseHandle( hThread );
    }
    const auto anAfter = CountWhatTheProcessHas();
    for ( size_t i = 0; i < anBefore.size(); ++i )
        EXPECT_LT( std::abs( anAfter[i] - anBefore[i] ), 20 ) << i;
    CloseHandle( hNamed );
    pthread_key_delete( g_aKey );
}
