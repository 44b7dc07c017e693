#include "platform/object/waitlimit.h"

#include "platform/futex.h"
#include "platform/stopgate.h"

#include <bxtools/platform.h>

#include <cerrno>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{
constexpr long NANOSECONDS = 1000000000;

timespec Now() noexcept
{
    timespec aNow{};
    clock_gettime( CLOCK_MONOTONIC, &aNow );
    return aNow;
}

// Straight to the kernel: the C library's call is a cancellation point.
void SleepUntil( const timespec& rPoint ) noexcept
{
    const int nSavedErrno = errno;
    const SleepingCall aCall;
    const SleepWindow aWindow;
    while ( syscall( SYS_clock_nanosleep, CLOCK_MONOTONIC, TIMER_ABSTIME, &rPoint, nullptr ) != 0 &&
            errno == EINTR )
    {
    }
    errno = nSavedErrno;
}
} // namespace

WaitLimit::WaitLimit( DWORD dwMilliseconds ) noexcept : m_fInfinite( dwMilliseconds == INFINITE ), m_aPoint()
{
    if ( m_fInfinite )
        return;
    m_aPoint = Now();
    m_aPoint.tv_sec += dwMilliseconds / 1000;
    m_aPoint.tv_nsec += dwMilliseconds % 1000 * 1000000L;
    if ( m_aPoint.tv_nsec >= NANOSECONDS )
    {
        m_aPoint.tv_nsec -= NANOSECONDS;
        ++m_aPoint.tv_sec;
    }
}

bool WaitLimit::IsOver() const noexcept
{
    if ( m_fInfinite )
        return false;
    const timespec aLeft = GetLeft();
    return aLeft.tv_sec == 0 && aLeft.tv_nsec == 0;
}

timespec WaitLimit::GetLeft() const noexcept
{
    const timespec aNow = Now();
    timespec aLeft{ m_aPoint.tv_sec - aNow.tv_sec, m_aPoint.tv_nsec - aNow.tv_nsec };
    if ( aLeft.tv_nsec < 0 )
    {
        aLeft.tv_nsec += NANOSECONDS;
        --aLeft.tv_sec;
    }
    return aLeft.tv_sec >= 0 ? aLeft : timespec{};
}

DWORD WaitLimit::GetMillisecondsLeft() const noexcept
{
    if ( m_fInfinite )
        return INFINITE;
    const timespec aLeft = GetLeft();
    return static_cast<DWORD>( aLeft.tv_sec * 1000 + ( aLeft.tv_nsec + 999999 ) / 1000000 );
}

void Sleep( DWORD dwMilliseconds )
{
    if ( dwMilliseconds == 0 )
    {
        sched_yield();
        return;
    }
    do
        SleepUntil( WaitLimit( dwMilliseconds < INFINITE ? dwMilliseconds : INFINITE - 1 ).GetPoint() );
    while ( dwMilliseconds == INFINITE );
}

DWORD GetTickCount()
{
    return static_cast<DWORD>( GetMonotonicMilliseconds() );
}
