#include "platform/pollset.h"

#include "platform/errno_to_win32.h"
#include "platform/highdescriptor.h"

#include <bxtools/platform.h>

#include <algorithm>
#include <cerrno>

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
    errno = nSavedErrno;
}

PollSet::Outcome PollSet::Sleep( const timespec* pLeft ) noexcept
{
    const int nSavedErrno = errno;
    // The kernel writes what is left into its argument.
    timespec aLeft{};
    if ( pLeft != nullptr )
        aLeft = *pLeft;
    const long nReady = syscall( SYS_ppoll, m_aEntries.data(), m_nCount, pLeft != nullptr ? &aLeft : nullptr,
                                 nullptr, sizeof( unsigned long ) );
    const int nError = errno;
    errno = nSavedErrno;
    if ( nReady < 0 && nError != EINTR )
    {
        SetLastError( ErrnoToWin32( nError ) );
        return Outcome::Failed;
    }
    const auto pEnd = m_aEntries.begin() + static_cast<std::ptrdiff_t>( m_nCount );
    if ( nReady > 0 &&
         std::any_of( m_aEntries.begin(), pEnd,
                      []( const pollfd& rEntry ) { return ( rEntry.revents & POLLNVAL ) != 0; } ) )
    {
        SetLastError( ERROR_INVALID_HANDLE );
        return Outcome::Failed;
    }
    return Outcome::Look;
}
