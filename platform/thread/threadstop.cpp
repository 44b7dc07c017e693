#include "platform/thread/threadstop.h"

#include "platform/futex.h"
#include "platform/stopgate.h"
#include "platform/thread/threadobject.h"

#include <bxtools/platform.h>

#include <cerrno>
#include <pthread.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{
// The word, from bit 0: how often it is suspended, and what else there is.
constexpr uint32_t SUSPENSIONS = 0xFF;
constexpr uint32_t STANDS = 1u << 8; // left only by the thread itself, when nothing keeps it
constexpr uint32_t IS_TO_END = 1u << 9;
constexpr uint32_t HAS_ENDED = 1u << 10;

// Beyond those of the C library and of common tools.
int StopSignal() noexcept
{
    return SIGRTMIN + 9;
}

void OnStopSignal( int )
{
    ThreadState& rState = t_aThreadState;
    if ( rState.pThread == nullptr || rState.fStopping )
        return;
    if ( rState.dwGateDepth == 0 || rState.fAsleep )
        rState.pThread->StopIfAsked( true );
    else
        rState.fStopNoted = TRUE;
}

// Calls that sleep go on afterwards. Nothing else runs on a thread that stands still.
void Install()
{
    struct sigaction aAction = {};
    aAction.sa_handler = OnStopSignal;
    aAction.sa_flags = SA_RESTART | SA_ONSTACK;
    sigfillset( &aAction.sa_mask );
    sigaction( StopSignal(), &aAction, nullptr );
}
} // namespace

DWORD ThreadStop::AddSuspension() noexcept
{
    uint32_t uWord = m_uWord;
    do
    {
        const bool fEnds = ( uWord & ( IS_TO_END | HAS_ENDED ) ) != 0;
        if ( fEnds || ( uWord & SUSPENSIONS ) == MAXIMUM_SUSPEND_COUNT )
        {
            SetLastError( fEnds ? ERROR_ACCESS_DENIED : ERROR_SIGNAL_REFUSED );
            return SUSPEND_FAILED;
        }
    } while ( !Replace( uWord, uWord + 1 ) );
    return uWord & SUSPENSIONS;
}

DWORD ThreadStop::TakeSuspension() noexcept
{
    uint32_t uWord = m_uWord;
    do
    {
        if ( ( uWord & SUSPENSIONS ) == 0 )
            return 0;
    } while ( !Replace( uWord, uWord - 1 ) );
    if ( ( uWord & SUSPENSIONS ) == 1 )
        FutexWakeAll( m_uWord, false );
    return uWord & SUSPENSIONS;
}

bool ThreadStop::AskToEnd() noexcept
{
    uint32_t uWord = m_uWord;
    do
    {
        if ( ( uWord & HAS_ENDED ) != 0 )
            return false;
    } while ( !Replace( uWord, uWord | IS_TO_END ) );
    FutexWakeAll( m_uWord, false );
    return true;
}

bool ThreadStop::IsToBeTold() const noexcept
{
    return ( m_uWord & ( STANDS | HAS_ENDED ) ) == 0;
}

void ThreadStop::Sleep( uint32_t uWord ) noexcept
{
    const SleepWindow aWindow;
    FutexWaitUntil( m_uWord, uWord, nullptr, false );
}

// A resume may come before the thread has noticed anything.
bool ThreadStop::AwaitStandstill() noexcept
{
    uint32_t uWord = 0;
    while ( ( ( uWord = m_uWord ) & ( STANDS | HAS_ENDED ) ) == 0 && ( uWord & SUSPENSIONS ) != 0 )
        Sleep( uWord );
    return ( uWord & HAS_ENDED ) == 0;
}

void ThreadStop::AwaitEnd() noexcept
{
    uint32_t uWord = 0;
    while ( ( ( uWord = m_uWord ) & HAS_ENDED ) == 0 )
        Sleep( uWord );
}

bool ThreadStop::IsAsked() const noexcept
{
    return ( m_uWord & ( SUSPENSIONS | IS_TO_END ) ) != 0;
}

bool ThreadStop::StandStill() noexcept
{
    uint32_t uWord = m_uWord;
    for ( ;; )
    {
        const bool fEnds = ( uWord & IS_TO_END ) != 0;
        const bool fStays = !fEnds && ( uWord & SUSPENSIONS ) != 0;
        const uint32_t uWanted = fStays ? uWord | STANDS : uWord & ~STANDS;
        if ( uWord != uWanted && !Replace( uWord, uWanted ) )
            continue;
        if ( !fStays )
            return fEnds;
        if ( uWord != uWanted )
            FutexWakeAll( m_uWord, false );
        FutexWaitUntil( m_uWord, uWanted, nullptr, false );
        uWord = m_uWord;
    }
}

bool ThreadStop::Close() noexcept
{
    uint32_t uWord = m_uWord;
    do
    {
        if ( ( uWord & ( SUSPENSIONS | IS_TO_END ) ) != 0 )
            return false;
    } while ( !Replace( uWord, uWord | HAS_ENDED ) );
    return true;
}

void ThreadStop::CloseByForce() noexcept
{
    m_uWord |= HAS_ENDED;
    FutexWakeAll( m_uWord, false );
}

void InstallStopSignal() noexcept
{
    static constinit pthread_once_t aInstalled = PTHREAD_ONCE_INIT;
    pthread_once( &aInstalled, Install );
}

void LetStopSignalIn() noexcept
{
    sigset_t aSet;
    sigemptyset( &aSet );
    sigaddset( &aSet, StopSignal() );
    pthread_sigmask( SIG_UNBLOCK, &aSet, nullptr );
}

// The queue of signals may be full for a moment. A thread that has ended just now is not there any more.
void TellThread( DWORD dwThreadId ) noexcept
{
    const int nSavedErrno = errno;
    while ( syscall( SYS_tgkill, GetCurrentProcessId(), dwThreadId, StopSignal() ) != 0 && errno == EAGAIN )
        sched_yield();
    errno = nSavedErrno;
}

SignalsBlocked::SignalsBlocked() noexcept
{
    sigset_t aAll;
    sigfillset( &aAll );
    pthread_sigmask( SIG_SETMASK, &aAll, &m_aBefore );
}

SignalsBlocked::~SignalsBlocked()
{
    pthread_sigmask( SIG_SETMASK, &m_aBefore, nullptr );
}

void StopAtGate() noexcept
{
    if ( t_aThreadState.pThread != nullptr )
        t_aThreadState.pThread->StopIfAsked( true );
}

void StopAtWindow() noexcept
{
    t_aThreadState.pThread->StopIfAsked( true );
}
