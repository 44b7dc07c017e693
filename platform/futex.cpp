#include "platform/futex.h"

#include <cerrno>
#include <ctime>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

void FutexWait( const uint32_t* pWord, uint32_t nExpected, DWORD dwMilliseconds ) noexcept
{
    const int nSavedErrno = errno;
    const timespec aLimit{ dwMilliseconds / 1000, dwMilliseconds % 1000 * 1000000L };
    syscall( SYS_futex, pWord, FUTEX_WAIT_PRIVATE, nExpected, dwMilliseconds != INFINITE ? &aLimit : nullptr,
             nullptr, 0 );
    errno = nSavedErrno;
}

void FutexWake( const uint32_t* pWord, int nWaiters ) noexcept
{
    const int nSavedErrno = errno;
    syscall( SYS_futex, pWord, FUTEX_WAKE_PRIVATE, nWaiters, nullptr, nullptr, 0 );
    errno = nSavedErrno;
}

ULONGLONG GetMonotonicMilliseconds() noexcept
{
    timespec aNow{};
    clock_gettime( CLOCK_MONOTONIC, &aNow );
    return static_cast<ULONGLONG>( aNow.tv_sec ) * 1000 + static_cast<ULONGLONG>( aNow.tv_nsec ) / 1000000;
}
