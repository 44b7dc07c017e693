#include "platform/thread/threadobject.h"

#include "platform/forkhandlers.h"
#include "platform/futex.h"
#include "platform/object/mutex.h"
#include "platform/object/sharedlock.h"
#include "platform/stopgate.h"
#include "platform/thread/deadthreads.h"
#include "platform/threadend.h"
#include "platform/threadstate.h"

#include <bxtools/platform.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{
// Its destructor tells of a thread's end: it comes after the C++ thread_local objects, and asks to be called again until
// the round that is the last, so that nearly all other destructors have run as well.
#if defined( __SANITIZE_THREAD__ )
// The sanitizer has given the thread up in the last one.
constexpr int ROUND_OF_END = PTHREAD_DESTRUCTOR_ITERATIONS - 1;
#else
constexpr int ROUND_OF_END = PTHREAD_DESTRUCTOR_ITERATIONS;
#endif
constinit pthread_once_t g_aKeyMade = PTHREAD_ONCE_INIT;
constinit pthread_key_t g_aEndKey = 0;
constinit bool g_fKeyMade = false;
constinit std::atomic<bool> g_fPinned{ false };

uint32_t Load( const uint32_t& ruWord ) noexcept
{
    return __atomic_load_n( &ruWord, __ATOMIC_SEQ_CST );
}

void StoreAndWake( uint32_t& ruWord, uint32_t uValue ) noexcept
{
    __atomic_store_n( &ruWord, uValue, __ATOMIC_SEQ_CST );
    FutexWake( &ruWord, INT_MAX );
}

// The limit in the futex's milliseconds, rounded up.
DWORD MillisecondsLeft( const WaitLimit& rLimit ) noexcept
{
    if ( rLimit.IsInfinite() )
        return INFINITE;
    const timespec aLeft = rLimit.GetLeft();
    return static_cast<DWORD>( aLeft.tv_sec * 1000 + ( aLeft.tv_nsec + 999999 ) / 1000000 );
}

// Attributes of a thread, for a scope.
class ThreadAttributes
{
public:
    // Never smaller than the system's usual stack: callers know what another system's frames need.
    explicit ThreadAttributes( SIZE_T nStackSize ) noexcept
        : m_fMade( pthread_attr_init( &m_aAttributes ) == 0 )
    {
        size_t nUsual = 0;
        m_fGood = m_fMade && pthread_attr_getstacksize( &m_aAttributes, &nUsual ) == 0 &&
                  ( nStackSize <= nUsual || pthread_attr_setstacksize( &m_aAttributes, nStackSize ) == 0 );
    }
    ~ThreadAttributes()
    {
        if ( m_fMade )
            pthread_attr_destroy( &m_aAttributes );
    }
    ThreadAttributes( const ThreadAttributes& ) = delete;
    ThreadAttributes& operator=( const ThreadAttributes& ) = delete;

    bool AreGood() const noexcept { return m_fGood; }
    const pthread_attr_t* Get() const noexcept { return &m_aAttributes; }

private:
    pthread_attr_t m_aAttributes;
    const bool m_fMade;
    bool m_fGood;
};
} // namespace

ThreadObject::ThreadObject( LPTHREAD_START_ROUTINE pStart, LPVOID pParameter, bool fSuspended ) noexcept
    : WaitableObject( KIND_THREAD ),
      m_pStart( pStart ),
      m_pParameter( pParameter ),
      m_aStop( fSuspended ? 1 : 0 )
{
}

ThreadObject* ThreadObject::OfThread() noexcept
{
    return t_aThreadState.pThread;
}

void ThreadObject::MakeEndKey() noexcept
{
    g_fKeyMade = pthread_key_create( &g_aEndKey, OnThreadEnd ) == 0;
}

bool ThreadObject::Start( SIZE_T nStackSize ) noexcept
{
    InstallForkHandlers();
    // The thread's end runs code of this module.
    if ( !g_fPinned.load( std::memory_order_relaxed ) && PinCurrentModule() )
        g_fPinned.store( true, std::memory_order_relaxed );
    InstallStopSignal();
    pthread_once( &g_aKeyMade, MakeEndKey );
    const ThreadAttributes aAttributes( nStackSize );
    if ( !g_fKeyMade || !aAttributes.AreGood() )
        return false;
    AddReference();
    if ( pthread_create( &m_aThread, aAttributes.Get(), Run, this ) == 0 )
        return true;
    Release();
    return false;
}

// May be left by unwinding, when the function calls pthread_exit or is cancelled.
void* ThreadObject::Run( void* pObject )
{
    ThreadObject& rThread = *static_cast<ThreadObject*>( pObject );
    t_aThreadState.pThread = &rThread;
    const bool fNoticed = pthread_setspecific( g_aEndKey, pObject ) == 0;
    LetStopSignalIn();
    StoreAndWake( rThread.m_uThreadId, GetCurrentThreadId() );
    rThread.StopIfAsked( true );
    rThread.RunFunction();
    if ( !fNoticed )
        rThread.End();
    return nullptr;
}

void ThreadObject::RunFunction()
{
    m_fInFunction = true;
    if ( _setjmp( m_aExit ) == 0 )
        m_dwExitCode = m_pStart( m_pParameter );
    m_fInFunction = false;
    // What the function left behind without lowering it.
    ThreadState& rState = t_aThreadState;
    rState.fAsleep = rState.fMayStopAsleep = FALSE;
    rState.pHoldings = nullptr;
    rState.dwGateDepth = 0;
}

void ThreadObject::LeaveFunction( DWORD dwExitCode ) noexcept
{
    // Once the function is left, destructors run that cannot be left.
    if ( !m_fInFunction )
        return;
    m_dwExitCode = dwExitCode;
    longjmp( m_aExit, 1 );
}

void ThreadObject::OnThreadEnd( void* pObject ) noexcept
{
    ThreadObject& rThread = *static_cast<ThreadObject*>( pObject );
    if ( ++rThread.m_nEndRounds < ROUND_OF_END && pthread_setspecific( g_aEndKey, pObject ) == 0 )
        return;
    rThread.End();
}

void ThreadObject::TellOfEnd() noexcept
{
    StoreAndWake( m_uEnded, 1 );
    m_aBells.RingAll();
}

void ThreadObject::End() noexcept
{
    while ( !m_aStop.Close() )
        StopIfAsked( true );
    t_aThreadState.pThread = nullptr;
    pthread_detach( pthread_self() );
    TellOfEnd();
    Release();
}

// Memory cannot be freed here: the thread may have been stopped inside malloc.
void ThreadObject::EndByForce() noexcept
{
    m_dwExitCode = static_cast<DWORD>( m_ullForcedEnd );
    m_pLastMutexes = AbandonMutexesOfDyingThread();
    m_aLeft = t_aThreadState;
    // They lie with the stack, which the C library gives to another thread as it is.
    for ( pthread_key_t aKey = 0; aKey < PTHREAD_KEYS_MAX; ++aKey )
        pthread_setspecific( aKey, nullptr );
    TellOfEnd();
    DeadThreads::Add( *this );
    m_aStop.CloseByForce();
    for ( ;; )
        syscall( SYS_exit, 0 );
}

// ---- stopping ---------------------------------------------------------------------------------------------

void ThreadObject::StopIfAsked( bool fMayEnd ) noexcept
{
    ThreadState& rState = t_aThreadState;
    if ( rState.fStopping || !( rState.fStopNoted || m_aStop.IsAsked() ) )
        return;
    const int nSavedErrno = errno;
    {
        const SignalsBlocked aBlocked;
        rState.fStopping = TRUE;
        rState.fStopNoted = FALSE;
        // It may have been woken to take the lock; then another one is to.
        const pthread_mutex_t* const pLock = rState.fAsleep ? rState.pAwaitedLock : nullptr;
        if ( pLock != nullptr )
            WakeLockWaiter( *pLock );
        const bool fEnds = m_aStop.StandStill();
        if ( fEnds && fMayEnd && ( pLock == nullptr || GetLockOwner( *pLock ) != GetCurrentThreadId() ) )
            EndByForce();
        rState.fStopNoted = fEnds;
        rState.fStopping = FALSE;
    }
    errno = nSavedErrno;
}

void ThreadObject::TellToLook() const noexcept
{
    if ( m_aStop.IsToBeTold() )
        TellThread( GetThreadId() );
}

DWORD ThreadObject::Suspend() noexcept
{
    const DWORD dwBefore = m_aStop.AddSuspension();
    if ( dwBefore == SUSPEND_FAILED )
        return SUSPEND_FAILED;
    if ( this == OfThread() )
    {
        StopIfAsked( t_aThreadState.fMayStopAsleep );
        return dwBefore;
    }
    TellToLook();
    if ( m_aStop.AwaitStandstill() )
        return dwBefore;
    SetLastError( ERROR_ACCESS_DENIED );
    return SUSPEND_FAILED;
}

DWORD ThreadObject::Resume() noexcept
{
    return m_aStop.TakeSuspension();
}

void ThreadObject::Terminate( DWORD dwExitCode ) noexcept
{
    constexpr ULONGLONG FORCED = 1ull << 32;
    ULONGLONG ullNone = 0;
    m_ullForcedEnd.compare_exchange_strong( ullNone, FORCED | dwExitCode );
    if ( !m_aStop.AskToEnd() )
        return;
    if ( this == OfThread() )
    {
        StopIfAsked( t_aThreadState.fMayStopAsleep );
        return;
    }
    TellToLook();
    m_aStop.AwaitEnd();
    DeadThreads::Bury();
}

// ---- as an object -----------------------------------------------------------------------------------------

bool ThreadObject::HasEnded() const noexcept
{
    return Load( m_uEnded ) != 0;
}

DWORD ThreadObject::GetThreadId() const noexcept
{
    uint32_t uThreadId = 0;
    while ( ( uThreadId = Load( m_uThreadId ) ) == 0 )
        FutexWait( &m_uThreadId, 0 );
    return uThreadId;
}

DWORD ThreadObject::GetExitCode() const noexcept
{
    return HasEnded() ? m_dwExitCode : STILL_ACTIVE;
}

Taking ThreadObject::TryTake() noexcept
{
    return HasEnded() ? Taking::Taken : Taking::NotReady;
}

Taking ThreadObject::WaitAndTake( const WaitLimit& rLimit ) noexcept
{
    while ( !HasEnded() )
    {
        if ( rLimit.IsOver() )
            return Taking::NotReady;
        const SleepWindow aWindow;
        FutexWait( &m_uEnded, 0, MillisecondsLeft( rLimit ) );
    }
    return Taking::Taken;
}

// A thread that a fork lost never gives its reference back.
void ThreadObject::AbandonInChild() noexcept
{
    if ( m_fLost || HasEnded() || t_aThreadState.pThread == this )
        return;
    m_fLost = true;
    Release();
}
