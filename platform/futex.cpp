#include "platform/futex.h"

#include <cerrno>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

void FutexWait( const uint32_t* pWord, uint32_t nExpected ) noexcept
{
    const int nSavedErrno = errno;
    syscall( SYS_futex, pWord, FUTEX_WAIT_PRIVATE, nExpected, nullptr, nullptr, 0 );
    errno = nSavedErrno;
}

void FutexWake( const uint32_t* pWord, int nWaiters ) noexcept
{
    const int nSavedErrno = errno;
    syscall( SYS_futex, pWord, FUTEX_WAKE_PRIVATE, nWaiters, nullptr, nullptr, 0 );
    errno = nSavedErrno;
}
