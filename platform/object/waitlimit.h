// Until when a wait goes on.
#pragma once

#include <bxtools/wintypes.h>

#include <ctime>

// On the clock that only goes on.
class WaitLimit
{
public:
    // dwMilliseconds  from now; INFINITE for no limit.
    explicit WaitLimit( DWORD dwMilliseconds ) noexcept;

    bool IsInfinite() const noexcept { return m_fInfinite; }
    bool IsOver() const noexcept;
    // The point in time; only without IsInfinite().
    const timespec& GetPoint() const noexcept { return m_aPoint; }
    // What is left, not less than zero; only without IsInfinite().
    timespec GetLeft() const noexcept;
    // The same in whole milliseconds, rounded up; INFINITE without a limit.
    DWORD GetMillisecondsLeft() const noexcept;

private:
    bool m_fInfinite;
    timespec m_aPoint;
};
