// fork in a process with threads inside the layer.

#include "platform/handletable.h"
#include "platform/testobject.h"

#include <bxtools/platform.h>

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#if defined( __SANITIZE_THREAD__ )
// Children of this test start threads.
extern "C" const char* __tsan_default_options();
const char* __tsan_default_options()
{
    return "die_after_fork=0";
}
constexpr bool THREAD_SANITIZER = true;
#else
constexpr bool THREAD_SANITIZER = false;
#endif

namespace
{
// Runs the checks in a child of fork: 0, or the number of the check that failed. A child that hangs is killed.
int InChild( const std::function<int()>& aChecks )
{
    const pid_t nChild = fork();
    if ( nChild == 0 )
    {
        alarm( 20 );
        _exit( aChecks() );
    }
    int nStatus = 0;
    waitpid( nChild, &nStatus, 0 );
    return WIFEXITED( nStatus ) ? WEXITSTATUS( nStatus ) : 1000 + nStatus;
}

// A thread that holds a lock, entered twice, until it is told to leave.
class Holder
{
public:
    explicit Holder( CRITICAL_SECTION& rSection )
        : m_aThread(
              [&]
              {
                  EnterCriticalSection( &rSection );
                  EnterCriticalSection( &rSection );
                  m_fHeld = true;
                  m_fHeld.notify_one();
                  m_fLeave.wait( false );
                  LeaveCriticalSection( &rSection );
                  LeaveCriticalSection( &rSection );
              } )
    {
        m_fHeld.wait( false );
    }
    ~Holder()
    {
        m_fLeave = true;
        m_fLeave.notify_one();
        m_aThread.join();
    }

private:
    std::atomic<bool> m_fHeld{ false };
    std::atomic<bool> m_fLeave{ false };
    std::thread m_aThread;
};

bool OtherThreadTakes( CRITICAL_SECTION& rSection )
{
    bool fTaken = false;
    std::thread(
        [&]
        {
            fTaken = TryEnterCriticalSection( &rSection ) != FALSE;
            if ( fTaken )
                LeaveCriticalSection( &rSection );
        } )
        .join();
    return fTaken;
}
} // namespace

TEST( Fork, LocksOfLostThreadsAreFree )
{
    if ( THREAD_SANITIZER )
        GTEST_SKIP() << "the sanitizer takes the child's thread for the lost one, which had the same stack";
    static CRITICAL_SECTION aEntered{};
    static CRITICAL_SECTION aTried{};
    const Holder aFirst( aEntered );
    const Holder aSecond( aTried );
    const auto Check = []
    {
        EnterCriticalSection( &aEntered );
        if ( !TryEnterCriticalSection( &aTried ) )
            return 1;
        if ( OtherThreadTakes( aEntered ) || OtherThreadTakes( aTried ) )
            return 2;
        // How often the lost thread had entered is forgotten.
        LeaveCriticalSection( &aEntered );
        LeaveCriticalSection( &aTried );
        return OtherThreadTakes( aEntered ) && OtherThreadTakes( aTried ) ? 0 : 3;
    };
    EXPECT_EQ( 0, InChild( Check ) );
    EXPECT_EQ( 0, InChild( [&] { return InChild( Check ); } ) );
    EXPECT_FALSE( TryEnterCriticalSection( &aEntered ) );
}

TEST( Fork, OwnLocksStayOwn )
{
    static CRITICAL_SECTION aSection{};
    EnterCriticalSection( &aSection );
    const auto Check = []
    {
        if ( !TryEnterCriticalSection( &aSection ) )
            return 1;
        LeaveCriticalSection( &aSection );
        if ( OtherThreadTakes( aSection ) )
            return 2;
        LeaveCriticalSection( &aSection );
        return OtherThreadTakes( aSection ) ? 0 : 3;
    };
    EXPECT_EQ( 0, InChild( Check ) );
    EXPECT_EQ( 0, InChild( [&] { return InChild( Check ); } ) );
    LeaveCriticalSection( &aSection );
}

TEST( Fork, IdsAreTheChilds )
{
    const DWORD dwProcess = GetCurrentProcessId();
    ASSERT_EQ( static_cast<DWORD>( getpid() ), dwProcess );
    ASSERT_EQ( static_cast<DWORD>( gettid() ), GetCurrentThreadId() );
    EXPECT_EQ( 0, InChild(
                      []
                      {
                          return GetCurrentProcessId() == static_cast<DWORD>( getpid() ) &&
                                         GetCurrentThreadId() == static_cast<DWORD>( gettid() )
                                     ? 0
                                     : 1;
                      } ) );
    EXPECT_EQ( dwProcess, GetCurrentProcessId() );
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
        FreeLibrary( LoadLibraryA( "BXTRANSCRIPTMODULE.DLL" ) );
        const bool fRight = TlsGetValue( dwSlot ) == &fEnd;
        return TlsFree( dwSlot ) && fRight;
    };
    std::vector<std::thread> aThreads;
    for ( int i = 0; i < 3; ++i )
        aThreads.emplace_back(
            [&]
            {
                while ( !fEnd )
                    Use();
            } );
    const DWORD dwOwnSlot = TlsAlloc();
    TlsSetValue( dwOwnSlot, &aThreads );
    int nFailed = 0;
    for ( int i = 0; i < 100 && nFailed == 0; ++i )
        nFailed = InChild( [&] { return Use() && TlsGetValue( dwOwnSlot ) == &aThreads ? 0 : 1; } );
    fEnd = true;
    for ( std::thread& rThread : aThreads )
        rThread.join();
    EXPECT_EQ( 0, nFailed );
    EXPECT_TRUE( Use() );
}
