#include "platform/file/fileobject.h"

#include "platform/file/filecallscope.h"
#include "platform/locked.h"

#include <algorithm>
#include <ctime>
#include <new>
#include <pthread.h>
#include <utility>

namespace
{
// One that waits for a fork goes before those who come later, or a fork might never come.
constinit pthread_rwlock_t g_aOpenings = PTHREAD_RWLOCK_WRITER_NONRECURSIVE_INITIALIZER_NP;
constinit bool g_fOpeningsHeld = false;

// Positions that a range covers, as far as there are positions to lock.
ULONGLONG EndOf( ULONGLONG ullStart, ULONGLONG ullBytes ) noexcept
{
    return ullStart + std::min( ullBytes, ShareDescriptor::RANGES_END - ullStart );
}

bool Overlap( const LockedRange& rRange, ULONGLONG ullStart, ULONGLONG ullBytes ) noexcept
{
    return rRange.ullStart < EndOf( ullStart, ullBytes ) &&
           ullStart < EndOf( rRange.ullStart, rRange.ullBytes );
}
} // namespace

FileOpening::~FileOpening()
{
    while ( m_pRanges != nullptr )
        delete std::exchange( m_pRanges, m_pRanges->pNext );
}

void FileOpening::Release() noexcept
{
    if ( m_lReferences.fetch_sub( 1, std::memory_order_acq_rel ) == 1 )
        delete this;
}

DWORD FileOpening::LockRange( ULONGLONG ullStart, ULONGLONG ullBytes ) noexcept
{
    if ( ullStart >= ShareDescriptor::RANGES_END )
        return ERROR_INVALID_PARAMETER;
    const LockedScope aLocked( m_aRangesLock );
    for ( const LockedRange* pRange = m_pRanges; pRange != nullptr; pRange = pRange->pNext )
    {
        if ( Overlap( *pRange, ullStart, ullBytes ) )
            return ERROR_LOCK_VIOLATION;
    }
    LockedRange* const pNew = new ( std::nothrow ) LockedRange{ ullStart, ullBytes, m_pRanges };
    if ( pNew == nullptr )
        return ERROR_NOT_ENOUGH_MEMORY;
    const ShareGate aGate( m_aShare );
    DWORD dwError = aGate.GetError();
    // To the system a range of no bytes reaches to the end.
    if ( dwError == ERROR_SUCCESS && ullBytes > 0 )
        dwError = m_aShare.LockRange( ullStart, EndOf( ullStart, ullBytes ) );
    if ( dwError == ERROR_SUCCESS )
        m_pRanges = pNew;
    else
        delete pNew;
    return dwError == ERROR_SHARING_VIOLATION ? DWORD{ ERROR_LOCK_VIOLATION } : dwError;
}

DWORD FileOpening::UnlockRange( ULONGLONG ullStart, ULONGLONG ullBytes ) noexcept
{
    const LockedScope aLocked( m_aRangesLock );
    for ( LockedRange** ppRange = &m_pRanges; *ppRange != nullptr; ppRange = &( *ppRange )->pNext )
    {
        LockedRange* const pRange = *ppRange;
        if ( pRange->ullStart != ullStart || pRange->ullBytes != ullBytes )
            continue;
        if ( ullBytes > 0 )
            m_aShare.UnlockRange( ullStart, EndOf( ullStart, ullBytes ) );
        *ppRange = pRange->pNext;
        delete pRange;
        return ERROR_SUCCESS;
    }
    return ERROR_NOT_LOCKED;
}

bool FileOpening::IsRangeBarred( int nData, DWORD dwBytes ) const noexcept
{
    const off_t nPosition = m_fAlone || dwBytes == 0 ? -1 : lseek( nData, 0, SEEK_CUR );
    const auto ullPosition = static_cast<ULONGLONG>( nPosition );
    return nPosition >= 0 && ullPosition < ShareDescriptor::RANGES_END &&
           m_aShare.IsRangeLockedByOther( ullPosition, EndOf( ullPosition, dwBytes ) );
}

FileObject::FileObject( int nData, FileOpening& rOpening ) noexcept
    : KernelObject( KIND_FILE ),
      m_nData( nData ),
      m_rOpening( rOpening )
{
}

FileObject::~FileObject()
{
    CloseDescriptor( m_nData );
    m_rOpening.Release();
}

bool FileObject::SetInherited( bool fInherited ) noexcept
{
    m_fInherited = fInherited;
    return fcntl( m_nData, F_SETFD, fInherited ? 0 : FD_CLOEXEC ) == 0;
}

// File systems on the network say it no sooner than a descriptor is closed. Closing a copy asks them while other uses of
// this one may be under way.
DWORD FileObject::FinishUse() noexcept
{
    const FileCallScope aScope;
    if ( ( fcntl( m_nData, F_GETFL ) & O_ACCMODE ) == O_RDONLY )
        return ERROR_SUCCESS;
    const auto CloseCopy = [this]
    {
        const int nCopy = fcntl( m_nData, F_DUPFD_CLOEXEC, 0 );
        return nCopy >= 0 ? syscall( SYS_close, nCopy ) : 0;
    };
    return Uninterrupted( CloseCopy ) == 0 ? DWORD{ ERROR_SUCCESS } : ErrnoToWin32( errno );
}

void FileObject::AbandonInChild() noexcept
{
    m_rOpening.GetShare().Abandon();
    if ( m_fInherited )
        m_nData = NO_DESCRIPTOR;
}

ForkHeldOff::ForkHeldOff() noexcept
{
    pthread_rwlock_rdlock( &g_aOpenings );
}

ForkHeldOff::~ForkHeldOff()
{
    pthread_rwlock_unlock( &g_aOpenings );
}

void HoldFileOpenings()
{
    timespec aLimit{};
    clock_gettime( CLOCK_MONOTONIC, &aLimit );
    ++aLimit.tv_sec;
    g_fOpeningsHeld = pthread_rwlock_clockwrlock( &g_aOpenings, CLOCK_MONOTONIC, &aLimit ) == 0;
}

void ResumeFileOpenings()
{
    if ( std::exchange( g_fOpeningsHeld, false ) )
        pthread_rwlock_unlock( &g_aOpenings );
}

void ResumeFileOpeningsInChild()
{
    // Openings of threads that are gone here would be waited for.
    g_fOpeningsHeld = false;
    g_aOpenings = PTHREAD_RWLOCK_WRITER_NONRECURSIVE_INITIALIZER_NP;
}
