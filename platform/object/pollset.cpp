#include "platform/object/pollset.h"

#include "platform/errno_to_win32.h"
#include "platform/highdescriptor.h"
#include "platform/window/windowsystem.h"

#include <bxtools/platform.h>

#include <algorithm>
#include <cerrno>
#include <optional>

void PollSet::AddEntry( int nDescriptor, bool fOwned ) noexcept
{
    if ( m_nCount == MOST_ENTRIES )
    {
        if ( fOwned )
            CloseDescriptor( nDescriptor );
        return;
    }
    m_aEntries[m_nCount] = { nDescriptor, POLLIN, 0 };
    m_afOwned[m_nCount] = fOwned;
    ++m_nCount;
}

void PollSet::Clear() noexcept
{
    const int nSavedErrno = errno;
    for ( size_t i = 0; i < m_nCount; ++i )
    {
        if ( m_afOwned[i] )
            CloseDescriptor( m_aEntries[i].fd );
    }
    m_nCount = 0;
    m_fLookAgain = false;
    errno = nSavedErrno;
}

bool PollSet::Sleep( const WaitLimit& rLimit ) noexcept
{
    if ( m_fLookAgain )
        return true;
    const int nSavedErrno = errno;
    std::optional<SleepWindow> aWindow( std::in_place );
    timespec aLeft = rLimit.IsInfinite() ? timespec{} : rLimit.GetLeft();
    const long nReady = syscall( SYS_ppoll, m_aEntries.data(), m_nCount,
                                 rLimit.IsInfinite() ? nullptr : &aLeft, nullptr, sizeof( unsigned long ) );
    const int nError = errno;
    aWindow.reset();
    errno = nSavedErrno;
    if ( nReady < 0 && nError != EINTR )
    {
        SetLastError( ErrnoToWin32( nError ) );
        return false;
    }
    const auto IsClosed = []( const pollfd& rEntry ) { return ( rEntry.revents & POLLNVAL ) != 0; };
    if ( nReady > 0 && std::any_of( m_aEntries.data(), m_aEntries.data() + m_nCount, IsClosed ) )
    {
        SetLastError( ERROR_INVALID_HANDLE );
        return false;
    }
    return true;
}

bool PollSet::SleepWithWindows( const WaitLimit& rLimit ) noexcept
{
    if ( m_fLookAgain )
        return true;
    std::array<int, MOST_ENTRIES> anDescriptors;
    for ( size_t i = 0; i < m_nCount; ++i )
        anDescriptors[i] = m_aEntries[i].fd;
    const DWORD dwError = CallWindowSystem( &WindowSystem::RunEvents, anDescriptors.data(),
                                            static_cast<UINT>( m_nCount ), rLimit.GetMillisecondsLeft() );
    return dwError == ERROR_SUCCESS || Sleep( rLimit );
}
