// fork in a process with threads inside the layer.

#include "platform/object/handletable.h"
#include "platform/testobject.h"
#include "support/forked.h"
#include "support/sanitizer.h"
#include "support/threads.h"

#include <bxtools/platform.h>

#include <gtest/gtest.h>

#include <atomic>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#if defined( __SANITIZE_THREAD__ )
// Children of this test start threads.
extern "C" const char* __tsan_default_options();
const char* __tsan_default_options()
{
    return "die_after_fork=0";
}
#endif

namespace
{
// A thread that holds a lock, entered twice, until it is told to leave.
class Holder
{
public:
    explicit Holder( CRITICAL_SECTION& rSection ) : m_aThread( [&] { Hold( rSection ); } )
    {
        m_fHeld.wait( false );
    }
    ~Holder()
    {
        Tell( m_fLeave );
        m_aThread.join();
    }

private:
    static void Tell( std::atomic<bool>& rfWhat )
    {
        rfWhat = true;
        rfWhat.notify_one();
    }
    void Hold( CRITICAL_SECTION& rSection )
    {
        EnterCriticalSection( &rSection );
        EnterCriticalSection( &rSection );
        Tell( m_fHeld );
        m_fLeave.wait( false );
        LeaveCriticalSection( &rSection );
        LeaveCriticalSection( &rSection );
    }

    std::atomic<bool> m_fHeld{ false };
    std::atomic<bool> m_fLeave{ false };
    std::thread m_aThread;
};

bool OtherThreadTakes( CRITICAL_SECTION& rSection )
{
    bool fTaken = false;
    const auto Try = [&]
    {
        if ( ( fTaken = TryEnterCriticalSection( &rSection ) != FALSE ) )
            LeaveCriticalSection( &rSection );
    };
    OnOtherThread( Try );
    return fTaken;
}

// In a child and in a child's child.
void ExpectInChildren( int ( *pChecks )() )
{
    EXPECT_EQ( 0, InChild( pChecks ) );
    EXPECT_EQ( 0, InChild( [&] { return InChild( pChecks ); } ) );
}

CRITICAL_SECTION g_aOwn;
CRITICAL_SECTION g_aEntered;
CRITICAL_SECTION g_aTried;
} // namespace

TEST( Fork, LocksOfLostThreadsAreFree )
{
    if ( THREAD_SANITIZER )
        GTEST_SKIP() << "the sanitizer takes the child's thread for the lost one, which had the same stack";
    const Holder aFirst( g_aEntered );
    const Holder aSecond( g_aTried );
    ExpectInChildren(
        []
        {
            EnterCriticalSection( &g_aEntered );
            if ( !TryEnterCriticalSection( &g_aTried ) )
                return 1;
            if ( OtherThreadTakes( g_aEntered ) || OtherThreadTakes( g_aTried ) )
                return 2;
            // How often the lost thread had entered is forgotten.
            LeaveCriticalSection( &g_aEntered );
            LeaveCriticalSection( &g_aTried );
            return OtherThreadTakes( g_aEntered ) && OtherThreadTakes( g_aTried ) ? 0 : 3;
        } );
    EXPECT_FALSE( TryEnterCriticalSection( &g_aEntered ) );
}

TEST( Fork, OwnLocksAndIdsStayOwn )
{
    EnterCriticalSection( &g_aOwn );
    ExpectInChildren(
        []
        {
            if ( !TryEnterCriticalSection( &g_aOwn ) )
                return 1;
            LeaveCriticalSection( &g_aOwn );
            if ( OtherThreadTakes( g_aOwn ) )
                return 2;
            LeaveCriticalSection( &g_aOwn );
            return OtherThreadTakes( g_aOwn ) ? 0 : 3;
        } );
    LeaveCriticalSection( &g_aOwn );
    const auto CheckIds = []
    {
        return GetCurrentProcessId() != static_cast<DWORD>( getpid() ) ||
               GetCurrentThreadId() != static_cast<DWORD>( gettid() );
    };
    EXPECT_EQ( 0, CheckIds() );
    EXPECT_EQ( 0, InChild( CheckIds ) );
    EXPECT_EQ( 0, CheckIds() );
}

TEST( Fork, HandlesOfTheParentAreNone )
{
    TestObject::Counts aCounts;
    const HANDLE hObject = MakeHandle( new TestObject( aCounts ), 0 );
    const auto Check = [&]
    {
        if ( CloseHandle( hObject ) || GetLastError() != ERROR_INVALID_HANDLE )
            return 1;
        if ( aCounts.nAbandoned != 1 || aCounts.nDestroyed != 1 )
            return 2;
        // Every place serves again, without meeting a handle of the parent's.
        for ( int i = 0; i < 1000; ++i )
        {
            const HANDLE hNew = MakeHandle( new TestObject( aCounts ), 0 );
            if ( hNew == hObject || !CloseHandle( hNew ) )
                return 3;
        }
        return 0;
    };
    EXPECT_EQ( 0, InChild( Check ) );
    EXPECT_EQ( 0, aCounts.nAbandoned );
    EXPECT_TRUE( CloseHandle( hObject ) );
    EXPECT_EQ( 1, aCounts.nDestroyed );
}

TEST( Fork, ThreadsInsideTheLayerLeaveAUsableChild )
{
    TestObject::Counts aCounts;
    std::atomic<bool> fEnd{ false };
    const auto Use = [&]
    {
        const DWORD dwSlot = TlsAlloc();
        TlsSetValue( dwSlot, &fEnd );
        CloseHandle( MakeHandle( new TestObject( aCounts ), 0 ) );
        OutputDebugStringA( "busy\r\n" );
        const HMODULE hModule = LoadLibraryA( "BXTRANSCRIPTMODULE.DLL" );
        const bool fRight = GetProcAddress( hModule, "CountTranscriptCalls" ) != NULL &&
                            FreeLibrary( hModule ) && TlsGetValue( dwSlot ) == &fEnd;
        return TlsFree( dwSlot ) && fRight;
    };
    std::atomic<int> nWrong{ 0 };
    const auto UseAlways = [&]
    {
        while ( !fEnd )
            nWrong += !Use();
    };
    std::thread aUsers( [&] { OnThreads( 3, UseAlways ); } );
    const DWORD dwOwnSlot = TlsAlloc();
    TlsSetValue( dwOwnSlot, &aUsers );
    int nFailed = 0;
    for ( int i = 0; i < 100 && nFailed == 0; ++i )
        nFailed = InChild( [&] { return Use() && TlsGetValue( dwOwnSlot ) == &aUsers ? 0 : 1; } );
    fEnd = true;
    aUsers.join();
    EXPECT_EQ( 0, nFailed );
    EXPECT_TRUE( Use() );
    EXPECT_EQ( 0, nWrong );
    EXPECT_EQ( NULL, GetModuleHandleA( "BXTRANSCRIPTMODULE.DLL" ) );
}
