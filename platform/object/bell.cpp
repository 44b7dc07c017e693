#include "platform/object/bell.h"

#include "platform/errno_to_win32.h"
#include "platform/forkhandlers.h"
#include "platform/highdescriptor.h"
#include "platform/locked.h"
#include "platform/threadend.h"
#include "platform/threadstate.h"

#include <bxtools/platform.h>

#include <cerrno>
#include <new>
#include <sys/eventfd.h>
#include <utility>

namespace
{
// Guards the chain of all bells and the lists of all objects of this process. Nothing else is taken under it.
constinit CRITICAL_SECTION g_aLock{};

void DrainDescriptor( int nDescriptor ) noexcept
{
    std::array<char, 512> aBytes;
    while ( nDescriptor >= 0 && syscall( SYS_read, nDescriptor, aBytes.data(), aBytes.size() ) ==
                                    static_cast<long>( aBytes.size() ) )
    {
    }
}
} // namespace

// The chain of all bells of the process.
class BellRegister
{
public:
    static Bell* Make() noexcept
    {
        Bell* const pBell = new ( std::nothrow ) Bell;
        if ( pBell == nullptr )
        {
            SetLastError( ERROR_NOT_ENOUGH_MEMORY );
            return nullptr;
        }
        const bool fNoticed = RequestThreadEnd() != FALSE;
        if ( !fNoticed )
            SetLastError( ERROR_NO_SYSTEM_RESOURCES );
        if ( !fNoticed || !pBell->Open() )
        {
            delete pBell;
            return nullptr;
        }
        const LockedScope aLocked( g_aLock );
        pBell->m_pNext = m_pFirst;
        m_pFirst = pBell;
        return pBell;
    }

    static bool Reopen( Bell& rBell ) noexcept
    {
        const LockedScope aLocked( g_aLock );
        // What stands in the places of descriptors that somebody closed is not ours to close.
        rBell.RemovePipes();
        for ( SharedBellPipe& rPipe : rBell.m_aPipes )
            rPipe.nDescriptor = NO_DESCRIPTOR;
        rBell.m_nRinger = NO_DESCRIPTOR;
        return rBell.Open();
    }

    static void Destroy( Bell* pBell ) noexcept
    {
        {
            const LockedScope aLocked( g_aLock );
            Bell** ppLink = &m_pFirst;
            while ( *ppLink != nullptr && *ppLink != pBell )
                ppLink = &( *ppLink )->m_pNext;
            if ( *ppLink == pBell )
                *ppLink = pBell->m_pNext;
            pBell->RemovePipes();
        }
        delete pBell;
    }

    // With the lock held.
    static void RemoveAllPipes() noexcept
    {
        for ( Bell* pBell = m_pFirst; pBell != nullptr; pBell = pBell->m_pNext )
            pBell->RemovePipes();
    }
    // The pipes' files are the parent's.
    static void DestroyAllInChild() noexcept
    {
        while ( Bell* const pBell = m_pFirst )
        {
            m_pFirst = pBell->m_pNext;
            delete pBell;
        }
    }

    static bool IsOpen( const Bell& rBell ) noexcept { return rBell.IsOpen(); }

private:
    static constinit inline Bell* m_pFirst = nullptr;
};

Bell* Bell::OfThread() noexcept
{
    const int nSavedErrno = errno;
    Bell*& rpBell = t_aThreadState.pBell;
    if ( rpBell == nullptr )
        rpBell = BellRegister::Make();
    else if ( !rpBell->IsOpen() && !BellRegister::Reopen( *rpBell ) )
    {
        errno = nSavedErrno;
        return nullptr;
    }
    errno = nSavedErrno;
    return rpBell;
}

Bell::~Bell()
{
    Close();
}

bool Bell::Open() noexcept
{
    InstallForkHandlers();
    m_nRinger = MoveDescriptorHigh( eventfd( 0, EFD_NONBLOCK | EFD_CLOEXEC ) );
    if ( m_nRinger < 0 )
        SetLastErrorFromErrno();
    return m_nRinger >= 0;
}

// Services close all descriptors when they start.
bool Bell::IsOpen() const noexcept
{
    bool fOpen = syscall( SYS_fcntl, m_nRinger, F_GETFD ) >= 0;
    for ( const SharedBellPipe& rPipe : m_aPipes )
        fOpen = fOpen && ( rPipe.ullName == 0 || syscall( SYS_fcntl, rPipe.nDescriptor, F_GETFD ) >= 0 );
    return fOpen;
}

void Bell::Close() noexcept
{
    CloseDescriptor( m_nRinger );
    for ( SharedBellPipe& rPipe : m_aPipes )
        CloseDescriptor( rPipe.nDescriptor );
}

// By the path that was found once: at the end of the process its folder may be gone, and is not to come back.
void Bell::RemovePipes() noexcept
{
    for ( SharedBellPipe& rPipe : m_aPipes )
    {
        if ( rPipe.ullName != 0 )
            unlink( rPipe.pPath.get() );
        rPipe.ullName = 0;
        rPipe.pPath.reset();
    }
}

void Bell::Ring() noexcept
{
    const int nSavedErrno = errno;
    const ULONGLONG ullOne = 1;
    syscall( SYS_write, m_nRinger, &ullOne, sizeof( ullOne ) );
    errno = nSavedErrno;
}

SharedBellName Bell::GetSharedName( NamespaceScope eScope ) noexcept
{
    SharedBellPipe& rPipe = m_aPipes[static_cast<size_t>( eScope )];
    if ( rPipe.ullName != 0 )
        return rPipe.ullName;
    const int nSavedErrno = errno;
    const DWORD dwError = OpenPipe( eScope, rPipe );
    errno = nSavedErrno;
    if ( dwError != 0 )
        SetLastError( dwError );
    return rPipe.ullName;
}

// 0, or the error.
DWORD Bell::OpenPipe( NamespaceScope eScope, SharedBellPipe& rPipe ) noexcept
{
    SharedBellPipe aMade;
    if ( const DWORD dwError = MakeSharedBellPipe( eScope, aMade ) )
        return dwError;
    const LockedScope aLocked( g_aLock );
    CloseDescriptor( rPipe.nDescriptor );
    rPipe = std::move( aMade );
    return 0;
}

void Bell::Drain() noexcept
{
    const int nSavedErrno = errno;
    ULONGLONG ullRings = 0;
    syscall( SYS_read, m_nRinger, &ullRings, sizeof( ullRings ) );
    for ( const SharedBellPipe& rPipe : m_aPipes )
        DrainDescriptor( rPipe.nDescriptor );
    errno = nSavedErrno;
}

void Bell::AddDescriptors( PollSet& rSet ) const noexcept
{
    rSet.Add( m_nRinger );
    for ( const SharedBellPipe& rPipe : m_aPipes )
    {
        if ( rPipe.nDescriptor >= 0 )
            rSet.Add( rPipe.nDescriptor );
    }
}

LocalBells::~LocalBells()
{
    while ( Entry* const pEntry = m_pFirst )
    {
        m_pFirst = pEntry->pNext;
        delete pEntry;
    }
}

bool LocalBells::Add( Bell& rBell ) noexcept
{
    Entry* const pEntry = new ( std::nothrow ) Entry{ &rBell, nullptr };
    if ( pEntry == nullptr )
    {
        SetLastError( ERROR_NOT_ENOUGH_MEMORY );
        return false;
    }
    const LockedScope aLocked( g_aLock );
    pEntry->pNext = m_pFirst;
    m_pFirst = pEntry;
    return true;
}

void LocalBells::Remove( const Bell& rBell ) noexcept
{
    Entry* pRemoved = nullptr;
    {
        const LockedScope aLocked( g_aLock );
        Entry* pBefore = nullptr;
        for ( pRemoved = m_pFirst; pRemoved != nullptr && pRemoved->pBell != &rBell;
              pRemoved = pRemoved->pNext )
            pBefore = pRemoved;
        if ( pRemoved != nullptr && pBefore != nullptr )
            pBefore->pNext = pRemoved->pNext;
        else if ( pRemoved != nullptr )
            m_pFirst = pRemoved->pNext;
    }
    delete pRemoved;
}

void LocalBells::RingAll() noexcept
{
    if ( m_pFirst.load( std::memory_order_seq_cst ) == nullptr )
        return;
    const LockedScope aLocked( g_aLock );
    for ( const Entry* pEntry = m_pFirst; pEntry != nullptr; pEntry = pEntry->pNext )
        pEntry->pBell->Ring();
}

void CloseBellOf( Bell* pBell ) noexcept
{
    if ( pBell != nullptr )
        BellRegister::Destroy( pBell );
}

void CloseBellOfThread() noexcept
{
    CloseBellOf( std::exchange( t_aThreadState.pBell, nullptr ) );
}

void CloseBells() noexcept
{
    CloseBellOfThread();
    const LockedScope aLocked( g_aLock );
    BellRegister::RemoveAllPipes();
}

void LockBells()
{
    EnterCriticalSection( &g_aLock );
}

void UnlockBells()
{
    LeaveCriticalSection( &g_aLock );
}

void ResetBellsInChild()
{
    BellRegister::DestroyAllInChild();
    t_aThreadState.pBell = nullptr;
    UnlockBells();
}
