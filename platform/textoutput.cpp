#include "platform/textoutput.h"

#include "platform/locked.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <pthread.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

namespace
{
constexpr size_t MOST_PIECES = 4;

// What is left to write.
struct Pieces
{
    std::array<iovec, MOST_PIECES> aVectors{};
    size_t nFirst = 0;
    size_t nCount = 0;

    explicit Pieces( std::initializer_list<std::string_view> aPieces ) noexcept
    {
        for ( const std::string_view aPiece : aPieces )
        {
            if ( !aPiece.empty() && nCount < MOST_PIECES )
                aVectors[nCount++] = { const_cast<char*>( aPiece.data() ), aPiece.size() };
        }
    }

    bool IsEmpty() const noexcept { return nFirst == nCount; }

    void Skip( size_t nBytes ) noexcept
    {
        while ( nFirst < nCount )
        {
            iovec& rVector = aVectors[nFirst];
            const size_t nTaken = std::min( nBytes, rVector.iov_len );
            rVector.iov_base = static_cast<char*>( rVector.iov_base ) + nTaken;
            rVector.iov_len -= nTaken;
            nBytes -= nTaken;
            if ( rVector.iov_len > 0 )
                return;
            ++nFirst;
        }
    }
};

// Keeps the signals of a failed write from the process for a scope: blocked, and taken back if the write
// raised one.
class NoWriteSignals
{
public:
    explicit NoWriteSignals( bool fWanted ) noexcept : m_fWanted( fWanted )
    {
        if ( !m_fWanted )
            return;
        sigemptyset( &m_aSignals );
        sigaddset( &m_aSignals, SIGPIPE );
        sigaddset( &m_aSignals, SIGXFSZ );
        sigset_t aPending;
        sigpending( &aPending );
        // One that was pending before belongs to somebody else.
        for ( const int nSignal : { SIGPIPE, SIGXFSZ } )
        {
            if ( sigismember( &aPending, nSignal ) == 1 )
                sigdelset( &m_aSignals, nSignal );
        }
        pthread_sigmask( SIG_BLOCK, &m_aSignals, &m_aBefore );
    }
    ~NoWriteSignals()
    {
        if ( m_fWanted )
            pthread_sigmask( SIG_SETMASK, &m_aBefore, nullptr );
    }
    NoWriteSignals( const NoWriteSignals& ) = delete;
    NoWriteSignals& operator=( const NoWriteSignals& ) = delete;

    void TakeBack() noexcept
    {
        if ( !m_fWanted )
            return;
        const timespec aNoTime{};
        // Straight to the kernel: the C library's call is a cancellation point.
        syscall( SYS_rt_sigtimedwait, &m_aSignals, nullptr, &aNoTime, _NSIG / 8 );
    }

private:
    const bool m_fWanted;
    sigset_t m_aSignals;
    sigset_t m_aBefore;
};

// One write; 0, or the errno.
int WriteOnce( int nDescriptor, Pieces& rPieces, NoWriteSignals& rSignals ) noexcept
{
    // Straight to the kernel: the C library's calls are cancellation points. One piece goes the shorter way.
    const iovec& rFirst = rPieces.aVectors[rPieces.nFirst];
    const size_t nPieces = rPieces.nCount - rPieces.nFirst;
    const long nWritten = nPieces == 1 ? syscall( SYS_write, nDescriptor, rFirst.iov_base, rFirst.iov_len )
                                       : syscall( SYS_writev, nDescriptor, &rFirst, nPieces );
    if ( nWritten >= 0 )
    {
        rPieces.Skip( static_cast<size_t>( nWritten ) );
        return 0;
    }
    const int nError = errno;
    if ( nError == EPIPE || nError == EFBIG )
        rSignals.TakeBack();
    return nError;
}

constinit CRITICAL_SECTION g_aStandardErrorLock{};
} // namespace

int WriteTexts( int nDescriptor, std::initializer_list<std::string_view> aPieces, bool fMaySignal ) noexcept
{
    const int nSavedErrno = errno;
    Pieces aLeft( aPieces );
    int nError = 0;
    if ( !aLeft.IsEmpty() )
    {
        NoWriteSignals aSignals( fMaySignal );
        do
            nError = WriteOnce( nDescriptor, aLeft, aSignals );
        while ( nError == EINTR );
    }
    errno = nSavedErrno;
    return nError;
}

void WriteToStandardError( std::initializer_list<std::string_view> aPieces ) noexcept
{
    const int nSavedErrno = errno;
    Pieces aLeft( aPieces );
    {
        const LockedScope aLocked( g_aStandardErrorLock );
        NoWriteSignals aSignals( true );
        int nError = 0;
        while ( !aLeft.IsEmpty() && ( nError == 0 || nError == EINTR ) )
            nError = WriteOnce( STDERR_FILENO, aLeft, aSignals );
    }
    errno = nSavedErrno;
}
