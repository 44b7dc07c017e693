#include "platform/object/processobject.h"

#include "platform/errno_to_win32.h"
#include "platform/highdescriptor.h"
#include "platform/object/handletable.h"

#include <bxtools/platform.h>

#include <cerrno>
#include <climits>
#include <new>

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

HANDLE OpenProcess( DWORD dwAccess, BOOL, DWORD dwProcessId )
{
    const int nSavedErrno = errno;
    const int nDescriptor = OpenProcessDescriptor( dwProcessId );
    const HANDLE hProcess =
        nDescriptor >= 0 ? MakeProcessHandle( nDescriptor, dwAccess, dwProcessId ) : nullptr;
    errno = nSavedErrno;
    return hProcess;
}
