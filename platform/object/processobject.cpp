#include "platform/object/processobject.h"

#include "platform/errno_to_win32.h"
#include "platform/highdescriptor.h"
#include "platform/object/exitcode.h"
#include "platform/object/handletable.h"

#include <bxtools/platform.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <new>
#include <sys/wait.h>

namespace
{
// NO_DESCRIPTOR: the last error says why.
int OpenProcessDescriptor( DWORD dwProcessId ) noexcept
{
    if ( dwProcessId == 0 || dwProcessId > INT_MAX )
    {
        SetLastError( ERROR_INVALID_PARAMETER );
        return NO_DESCRIPTOR;
    }
    const int nDescriptor = MoveDescriptorHigh(
        static_cast<int>( syscall( SYS_pidfd_open, static_cast<pid_t>( dwProcessId ), 0 ) ) );
    // A thread's number is no process's, whichever way the kernel says so.
    if ( nDescriptor < 0 )
        SetLastError( errno == EMFILE || errno == ENFILE || errno == ENOMEM ? ErrnoToWin32( errno )
                                                                            : ERROR_INVALID_PARAMETER );
    return nDescriptor;
}

bool MaySignal( int nDescriptor ) noexcept
{
    return syscall( SYS_pidfd_send_signal, nDescriptor, 0, nullptr, 0 ) == 0 || errno != EPERM;
}

// The process that was meant: its descriptor is held before its rights are looked at.
HANDLE MakeProcessHandle( int nDescriptor, DWORD dwAccess, DWORD dwProcessId ) noexcept
{
    const bool fAllowed = ( dwAccess & PROCESS_TERMINATE ) == 0 || MaySignal( nDescriptor );
    ProcessObject* const pObject =
        fAllowed ? new ( std::nothrow ) ProcessObject( nDescriptor, dwProcessId ) : nullptr;
    if ( pObject != nullptr )
        return MakeHandle( pObject, dwAccess );
    CloseDescriptor( nDescriptor );
    SetLastError( fAllowed ? ERROR_NOT_ENOUGH_MEMORY : ERROR_ACCESS_DENIED );
    return nullptr;
}
} // namespace

ProcessObject::ProcessObject( int nDescriptor, DWORD dwProcessId ) noexcept
    : WaitableObject( KIND_PROCESS ),
      m_nDescriptor( nDescriptor ),
      m_dwProcessId( dwProcessId )
{
}

ProcessObject::~ProcessObject()
{
    CloseDescriptor( m_nDescriptor );
}

Taking ProcessObject::TryTake() noexcept
{
    pollfd aEntry{ m_nDescriptor, POLLIN, 0 };
    const timespec aNoTime{};
    long nReady = 0;
    do
        nReady = syscall( SYS_ppoll, &aEntry, 1, &aNoTime, nullptr, sizeof( unsigned long ) );
    while ( nReady < 0 && errno == EINTR );
    if ( nReady == 0 )
        return Taking::NotReady;
    if ( nReady > 0 && ( aEntry.revents & POLLNVAL ) == 0 )
        return Taking::Taken;
    SetLastError( nReady < 0 ? ErrnoToWin32( errno ) : ERROR_INVALID_HANDLE );
    return Taking::Failed;
}

Taking ProcessObject::WaitAndTake( const WaitLimit& rLimit ) noexcept
{
    PollSet aSet;
    aSet.Add( m_nDescriptor );
    for ( ;; )
    {
        const Taking eTaking = TryTake();
        if ( eTaking != Taking::NotReady || rLimit.IsOver() )
            return eTaking;
        if ( !aSet.Sleep( rLimit ) )
            return Taking::Failed;
    }
}

DWORD ProcessObject::Kill( UINT uExitCode ) noexcept
{
    if ( TryTake() != Taking::NotReady )
        return ERROR_ACCESS_DENIED;
    constexpr ULONGLONG KILLED = 1ull << 32;
    ULONGLONG ullNone = 0;
    m_ullKilled.compare_exchange_strong( ullNone, KILLED | uExitCode );
    if ( syscall( SYS_pidfd_send_signal, m_nDescriptor, SIGKILL, nullptr, 0 ) == 0 )
        return ERROR_SUCCESS;
    // It still runs, or ended in between by itself.
    if ( ullNone == 0 )
        m_ullKilled = 0;
    return ERROR_ACCESS_DENIED;
}

DWORD ProcessObject::GetExitCode() noexcept
{
    if ( TryTake() == Taking::NotReady )
        return STILL_ACTIVE;
    if ( const ULONGLONG ullKilled = m_ullKilled )
        return static_cast<DWORD>( ullKilled );
    constexpr DWORD UNKNOWN = 1;
    siginfo_t aEnd{};
    const bool fExited =
        syscall( SYS_waitid, P_PIDFD, m_nDescriptor, &aEnd, WEXITED | WNOHANG | WNOWAIT, nullptr ) == 0 &&
        aEnd.si_code == CLD_EXITED;
    return fExited ? static_cast<DWORD>( aEnd.si_status ) : UNKNOWN;
}

HANDLE OpenProcess( DWORD dwAccess, BOOL, DWORD dwProcessId )
{
    const int nSavedErrno = errno;
    const int nDescriptor = OpenProcessDescriptor( dwProcessId );
    const HANDLE hProcess =
        nDescriptor >= 0 ? MakeProcessHandle( nDescriptor, dwAccess, dwProcessId ) : nullptr;
    errno = nSavedErrno;
    return hProcess;
}

BOOL TerminateProcess( HANDLE hProcess, UINT uExitCode )
{
    const HandleUse aUse( hProcess, KIND_PROCESS, PROCESS_TERMINATE );
    if ( !aUse.IsGood() )
        return FALSE;
    const int nSavedErrno = errno;
    const DWORD dwError = aUse.GetObject<ProcessObject>()->Kill( uExitCode );
    errno = nSavedErrno;
    if ( dwError != ERROR_SUCCESS )
        SetLastError( dwError );
    return dwError == ERROR_SUCCESS;
}

BOOL GetExitCodeProcess( HANDLE hProcess, LPDWORD pExitCode )
{
    return GetExitCodeOf<ProcessObject>( hProcess, KIND_PROCESS, PROCESS_QUERY_INFORMATION, pExitCode );
}
