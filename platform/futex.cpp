#include "platform/futex.h"

#include <cerrno>
#include <climits>
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

namespace
{
int Private( bool fShared ) noexcept
{
    return fShared ? 0 : FUTEX_PRIVATE_FLAG;
}
} // namespace

bool FutexWaitUntil( const std::atomic<uint32_t>& rWord, uint32_t uExpected, const timespec* pLimit,
                     bool fShared ) noexcept
{
    const int nSavedErrno = errno;
    const long nResult = syscall( SYS_futex, &rWord, FUTEX_WAIT_BITSET | Private( fShared ), uExpected,
                                  pLimit, nullptr, FUTEX_BITSET_MATCH_ANY );
    const bool fInTime = nResult == 0 || errno != ETIMEDOUT;
    errno = nSavedErrno;
    return fInTime;
}

void FutexWakeAll( const std::atomic<uint32_t>& rWord, bool fShared ) noexcept
{
    const int nSavedErrno = errno;
    syscall( SYS_futex, &rWord, FUTEX_WAKE | Private( fShared ), INT_MAX, nullptr, nullptr, 0 );
    errno = nSavedErrno;
}

void FutexSetAndWakeAll( std::atomic<uint32_t>& rWord, uint32_t uValue, bool fShared ) noexcept
{
    const int nSavedErrno = errno;
    const uint32_t uOperation = FUTEX_OP( FUTEX_OP_SET, uValue, FUTEX_OP_CMP_EQ, 0 );
    syscall( SYS_futex, &rWord, FUTEX_WAKE_OP | Private( fShared ), INT_MAX, nullptr, &rWord, uOperation );
    errno = nSavedErrno;
}

ULONGLONG GetMonotonicMilliseconds() noexcept
{
    timespec aNow{};
    clock_gettime( CLOCK_MONOTONIC, &aNow );
    return static_cast<ULONGLONG>( aNow.tv_sec ) * 1000 + static_cast<ULONGLONG>( aNow.tv_nsec ) / 1000000;
}
