#include "platform/object/sharedlock.h"

#include "platform/errno_to_win32.h"

#include <bxtools/platform.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <string_view>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{
// The process that a thread belongs to, 0 when it has ended.
DWORD ProcessOfThread( DWORD dwThread ) noexcept
{
    std::array<char, 512> aText;
    std::snprintf( aText.data(), aText.size(), "/proc/%u/status", static_cast<unsigned>( dwThread ) );
    const long nFile = syscall( SYS_openat, AT_FDCWD, aText.data(), O_RDONLY | O_CLOEXEC );
    if ( nFile < 0 )
        return 0;
    const long nRead = syscall( SYS_read, nFile, aText.data(), aText.size() );
    syscall( SYS_close, nFile );
    constexpr std::string_view FIELD = "\nTgid:\t";
    const std::string_view aStatus( aText.data(), nRead > 0 ? static_cast<size_t>( nRead ) : 0 );
    const size_t nField = aStatus.find( FIELD );
    DWORD dwProcess = 0;
    for ( size_t i = nField + FIELD.size();
          nField != std::string_view::npos && i < aStatus.size() && aStatus[i] >= '0' && aStatus[i] <= '9';
          ++i )
        dwProcess = dwProcess * 10 + static_cast<DWORD>( aStatus[i] - '0' );
    return dwProcess;
}
} // namespace

bool MakeRobustLock( pthread_mutex_t& rLock, bool fShared ) noexcept
{
    pthread_mutexattr_t aAttributes;
    pthread_mutexattr_init( &aAttributes );
    pthread_mutexattr_setrobust( &aAttributes, PTHREAD_MUTEX_ROBUST );
    pthread_mutexattr_setpshared( &aAttributes, fShared ? PTHREAD_PROCESS_SHARED : PTHREAD_PROCESS_PRIVATE );
    const int nError = pthread_mutex_init( &rLock, &aAttributes );
    pthread_mutexattr_destroy( &aAttributes );
    if ( nError != 0 )
        SetLastError( ErrnoToWin32( nError ) );
    return nError == 0;
}

// The C library sleeps on words of robust locks as if processes shared them all.
void WakeLockWaiter( const pthread_mutex_t& rLock ) noexcept
{
    const int nSavedErrno = errno;
    syscall( SYS_futex, &rLock.__data.__lock, FUTEX_WAKE, 1, nullptr, nullptr, 0 );
    errno = nSavedErrno;
}

void AddLockOwner( const pthread_mutex_t& rLock, PollSet& rSet ) noexcept
{
    const DWORD dwThread = GetLockOwner( rLock );
    if ( dwThread == 0 )
        return;
    const int nSavedErrno = errno;
    const DWORD dwProcess = ProcessOfThread( dwThread );
    if ( dwProcess != 0 && dwProcess != GetCurrentProcessId() )
    {
        const long nProcess = syscall( SYS_pidfd_open, dwProcess, 0 );
        if ( nProcess >= 0 )
            rSet.AddOwned( static_cast<int>( nProcess ) );
    }
    errno = nSavedErrno;
}
