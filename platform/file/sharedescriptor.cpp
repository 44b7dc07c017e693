#include "platform/file/sharedescriptor.h"

#include "platform/file/filecallscope.h"
#include "platform/file/filepath.h"

#include <bit>
#include <sched.h>

namespace
{
constexpr ULONGLONG AREA_BYTES = 1u << 20;
// The system makes one of adjacent locks, so nothing here is adjacent.
constexpr ULONGLONG GATE = ShareDescriptor::RANGES_END + AREA_BYTES;
constexpr ULONGLONG FIRST_AREA = GATE + AREA_BYTES;
constexpr unsigned AREAS = 4;
// How often openings that cannot keep each other out start anew.
constexpr int MOST_ROUNDS = 1000;

struct flock LockOf( short nType, ULONGLONG ullStart, ULONGLONG ullEnd ) noexcept
{
    struct flock aLock
    {
    };
    aLock.l_type = nType;
    aLock.l_whence = SEEK_SET;
    aLock.l_start = static_cast<off_t>( ullStart );
    aLock.l_len = static_cast<off_t>( ullEnd - ullStart );
    return aLock;
}

// 0, or errno.
int TryLock( int nDescriptor, short nType, ULONGLONG ullStart, ULONGLONG ullEnd ) noexcept
{
    struct flock aLock = LockOf( nType, ullStart, ullEnd );
    return fcntl( nDescriptor, F_OFD_SETLK, &aLock ) == 0 ? 0 : errno;
}

void Unlock( int nDescriptor, ULONGLONG ullStart, ULONGLONG ullEnd ) noexcept
{
    TryLock( nDescriptor, F_UNLCK, ullStart, ullEnd );
}

bool IsConflict( int nErrno ) noexcept
{
    return nErrno == EAGAIN || nErrno == EACCES;
}

bool SaysNoLocks( int nErrno ) noexcept
{
    return nErrno == EINVAL || nErrno == ENOSYS || nErrno == EOPNOTSUPP;
}

// A lock of another descriptor that a lock of this type would meet; its type is F_UNLCK where there is none.
struct flock FindConflict( int nDescriptor, short nType, ULONGLONG ullStart, ULONGLONG ullEnd ) noexcept
{
    struct flock aLock = LockOf( nType, ullStart, ullEnd );
    if ( fcntl( nDescriptor, F_OFD_GETLK, &aLock ) != 0 )
        aLock.l_type = F_UNLCK;
    return aLock;
}

bool IsLockedByOther( int nDescriptor, ULONGLONG ullStart, ULONGLONG ullEnd ) noexcept
{
    return FindConflict( nDescriptor, F_WRLCK, ullStart, ullEnd ).l_type != F_UNLCK;
}

// Another program's lock over all of the file covers the gate as well, and may stay for ever.
bool IsGateKeeper( const struct flock& rLock ) noexcept
{
    return rLock.l_type == F_UNLCK || ( rLock.l_start == static_cast<off_t>( GATE ) && rLock.l_len == 1 );
}

ULONGLONG AreaOf( unsigned uIndex ) noexcept
{
    return FIRST_AREA + uIndex * AREA_BYTES;
}
} // namespace

bool ShareDescriptor::Open( const FilePath& rPath, bool fWrite ) noexcept
{
    constexpr int FLAGS = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    m_fReads = true;
    m_fWrites = fWrite;
    int nLow = open( rPath.Text(), FLAGS | ( fWrite ? O_RDWR : O_RDONLY ) );
    if ( nLow < 0 && errno == EACCES && fWrite )
    {
        m_fReads = false;
        nLow = open( rPath.Text(), FLAGS | O_WRONLY );
    }
    m_nDescriptor = MoveDescriptorHigh( nLow );
    return m_nDescriptor >= 0;
}

void ShareDescriptor::Close() noexcept
{
    if ( m_nDescriptor >= 0 && m_fHasLocks )
    {
        struct flock aAll = LockOf( F_UNLCK, 0, 0 );
        fcntl( m_nDescriptor, F_OFD_SETLK, &aAll );
    }
    CloseDescriptor( m_nDescriptor );
}

DWORD ShareDescriptor::EnterGate() noexcept
{
    const short nType = m_fWrites ? F_WRLCK : F_RDLCK;
    for ( ;; )
    {
        const int nErrno = TryLock( m_nDescriptor, nType, GATE, GATE + 1 );
        m_fHasLocks = !SaysNoLocks( nErrno );
        if ( nErrno == 0 || !m_fHasLocks )
            return ERROR_SUCCESS;
        if ( !IsConflict( nErrno ) )
            return ErrnoToWin32( nErrno );
        if ( !IsGateKeeper( FindConflict( m_nDescriptor, nType, GATE, GATE + 1 ) ) )
            return ERROR_SHARING_VIOLATION;
        struct flock aLock = LockOf( nType, GATE, GATE + 1 );
        if ( fcntl( m_nDescriptor, F_OFD_SETLKW, &aLock ) == 0 )
            return ERROR_SUCCESS;
    }
}

void ShareDescriptor::LeaveGate() noexcept
{
    if ( m_fHasLocks )
        Unlock( m_nDescriptor, GATE, GATE + 1 );
}

// Only those who cannot keep others out can meet one.
bool ShareDescriptor::IsOtherInGate() const noexcept
{
    return !m_fWrites && IsLockedByOther( m_nDescriptor, GATE, GATE + 1 );
}

template <class Take, class Undo>
DWORD ShareDescriptor::Contend( DWORD dwRefusal, Take aTake, Undo aUndo ) noexcept
{
    for ( int nRound = 0;; ++nRound )
    {
        const DWORD dwError = aTake();
        if ( dwError == ERROR_SUCCESS )
            return dwError;
        aUndo();
        if ( dwError != dwRefusal || nRound == MOST_ROUNDS || !IsOtherInGate() )
            return dwError;
        sched_yield();
    }
}

DWORD ShareDescriptor::Claim( unsigned uClaims, unsigned uNotToMeet ) noexcept
{
    if ( !m_fHasLocks )
        return ERROR_SUCCESS;
    return Contend(
        ERROR_SHARING_VIOLATION,
        [&]
        {
            const DWORD dwError = MakeClaims( uClaims );
            return dwError == ERROR_SUCCESS && MeetsClaims( uNotToMeet ) ? DWORD{ ERROR_SHARING_VIOLATION }
                                                                         : dwError;
        },
        [&] { Unlock( m_nDescriptor, AreaOf( 0 ), AreaOf( AREAS ) ); } );
}

DWORD ShareDescriptor::MakeClaims( unsigned uClaims ) noexcept
{
    for ( unsigned uArea = 0; uArea < AREAS; ++uArea )
    {
        if ( ( uClaims & 1u << uArea ) == 0 )
            continue;
        const ULONGLONG ullArea = AreaOf( uArea );
        const DWORD dwError = m_fReads
                                  ? ErrnoToWin32( TryLock( m_nDescriptor, F_RDLCK, ullArea, ullArea + 1 ) )
                                  : MakeClaimByWriting( ullArea );
        if ( dwError != ERROR_SUCCESS )
            return dwError == ERROR_LOCK_VIOLATION ? DWORD{ ERROR_SHARING_VIOLATION } : dwError;
    }
    return ERROR_SUCCESS;
}

// Inside the gate, and alone there: the byte behind the last one that is taken is free.
DWORD ShareDescriptor::MakeClaimByWriting( ULONGLONG ullArea ) noexcept
{
    for ( ULONGLONG ullByte = ullArea + 1; ullByte < ullArea + AREA_BYTES; ++ullByte )
    {
        const int nErrno = TryLock( m_nDescriptor, F_WRLCK, ullByte, ullByte + 1 );
        if ( !IsConflict( nErrno ) )
            return ErrnoToWin32( nErrno );
        const struct flock aOther = FindConflict( m_nDescriptor, F_WRLCK, ullByte, ullByte + 1 );
        if ( aOther.l_type != F_UNLCK && aOther.l_start < static_cast<off_t>( ullArea ) )
            break;
    }
    return ERROR_SHARING_VIOLATION;
}

bool ShareDescriptor::MeetsClaims( unsigned uClaims ) const noexcept
{
    for ( unsigned uArea = 0; uArea < AREAS; ++uArea )
    {
        if ( ( uClaims & 1u << uArea ) != 0 &&
             IsLockedByOther( m_nDescriptor, AreaOf( uArea ), AreaOf( uArea + 1 ) ) )
            return true;
    }
    return false;
}

bool ShareDescriptor::IsReadingDenied( int nDescriptor ) noexcept
{
    const ULONGLONG ullArea =
        AreaOf( static_cast<unsigned>( std::countr_zero( unsigned{ CLAIM_DENIES_READS } ) ) );
    for ( int nRound = 0; IsLockedByOther( nDescriptor, ullArea, ullArea + AREA_BYTES ); ++nRound )
    {
        if ( nRound == MOST_ROUNDS || !IsLockedByOther( nDescriptor, GATE, GATE + 1 ) )
            return true;
        sched_yield();
    }
    return false;
}

DWORD ShareDescriptor::LockRange( ULONGLONG ullStart, ULONGLONG ullEnd ) noexcept
{
    if ( !m_fHasLocks )
        return ERROR_NOT_SUPPORTED;
    const short nType = m_fWrites ? F_WRLCK : F_RDLCK;
    bool fTaken = false;
    return Contend(
        ERROR_LOCK_VIOLATION,
        [&]
        {
            const int nErrno = TryLock( m_nDescriptor, nType, ullStart, ullEnd );
            fTaken = nErrno == 0;
            const bool fMet = fTaken && !m_fWrites && IsLockedByOther( m_nDescriptor, ullStart, ullEnd );
            return fMet ? DWORD{ ERROR_LOCK_VIOLATION } : ErrnoToWin32( nErrno );
        },
        [&]
        {
            if ( fTaken )
                Unlock( m_nDescriptor, ullStart, ullEnd );
        } );
}

void ShareDescriptor::UnlockRange( ULONGLONG ullStart, ULONGLONG ullEnd ) noexcept
{
    Unlock( m_nDescriptor, ullStart, ullEnd );
}

bool ShareDescriptor::IsRangeLockedByOther( ULONGLONG ullStart, ULONGLONG ullEnd ) const noexcept
{
    return m_fHasLocks && IsLockedByOther( m_nDescriptor, ullStart, ullEnd );
}
