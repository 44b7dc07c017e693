#include "platform/registry/regnotify.h"

#include "platform/errno_to_win32.h"
#include "platform/registry/regfolder.h"

#include <array>
#include <cerrno>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace
{
constexpr DWORD EVERY_KIND = REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_ATTRIBUTES |
                             REG_NOTIFY_CHANGE_LAST_SET | REG_NOTIFY_CHANGE_SECURITY;

class LockedKey
{
public:
    explicit LockedKey( RegistryKey& rKey ) noexcept : m_rKey( rKey ) { m_rKey.Lock(); }
    ~LockedKey() { m_rKey.Unlock(); }
    LockedKey( const LockedKey& ) = delete;
    LockedKey& operator=( const LockedKey& ) = delete;

private:
    RegistryKey& m_rKey;
};

// Error 6: the key's handle was closed meanwhile, and nobody would tell the watch.
LONG Insert( RegistryKey& rKey, RegWatch& rWatch ) noexcept
{
    const LockedKey aLocked( rKey );
    if ( rKey.IsClosed() )
        return ERROR_INVALID_HANDLE;
    rWatch.m_pNext = rKey.GetWatches();
    rKey.GetWatches() = &rWatch;
    return ERROR_SUCCESS;
}

void Remove( RegistryKey& rKey, const RegWatch& rWatch ) noexcept
{
    const LockedKey aLocked( rKey );
    for ( RegWatch** ppWatch = &rKey.GetWatches(); *ppWatch != nullptr; ppWatch = &( *ppWatch )->m_pNext )
    {
        if ( *ppWatch == &rWatch )
        {
            *ppWatch = rWatch.m_pNext;
            return;
        }
    }
}

// Takes the watches with an event out of the list: those that have fired, or all.
RegWatch* TakeWatches( RegistryKey& rKey, bool fAll ) noexcept
{
    const LockedKey aLocked( rKey );
    RegWatch* pTaken = nullptr;
    RegWatch** ppWatch = &rKey.GetWatches();
    while ( *ppWatch != nullptr )
    {
        RegWatch* const pWatch = *ppWatch;
        if ( !pWatch->IsOfEvent() || !( fAll || pWatch->IsOver() ) )
        {
            ppWatch = &pWatch->m_pNext;
            continue;
        }
        *ppWatch = pWatch->m_pNext;
        pWatch->m_pNext = pTaken;
        pTaken = pWatch;
    }
    return pTaken;
}

// Of the store's image, also where the thread has a batch: what is in that is not there yet.
LONG SequenceOf( RegistryKey& rKey, ULONGLONG& rullSequence ) noexcept
{
    const LockedKey aLocked( rKey );
    RegKeyView aView;
    const LONG lError = rKey.Look( aView );
    if ( lError == ERROR_SUCCESS )
        rullSequence = rKey.GetImage()->GetHead().ullSequence;
    return lError;
}

LONG Arm( RegistryKey& rKey, RegWatch& rWatch ) noexcept
{
    if ( const LONG lError = rWatch.Open() )
        return lError;
    ULONGLONG ullSequence = 0;
    if ( const LONG lError = SequenceOf( rKey, ullSequence ) )
        return lError;
    rWatch.SetSequence( ullSequence );
    return ERROR_SUCCESS;
}

LONG WaitHere( RegistryKey& rKey, DWORD dwKinds, bool fSubtree )
{
    // Not on the stack, which the child of a fork by another thread would not have.
    const auto pWatch = std::make_unique<RegWatch>( rKey, dwKinds, fSubtree );
    if ( const LONG lError = pWatch->OpenToWait() )
        return lError;
    if ( const LONG lError = Arm( rKey, *pWatch ) )
        return lError;
    if ( const LONG lError = Insert( rKey, *pWatch ) )
        return lError;
    pWatch->Wait();
    Remove( rKey, *pWatch );
    return ERROR_SUCCESS;
}

LONG HaveEventSet( RegistryKey& rKey, HANDLE hEvent, DWORD dwKinds, bool fSubtree )
{
    const HandleUse aEvent( hEvent, KIND_EVENT, EVENT_MODIFY_STATE );
    if ( !aEvent.IsGood() )
        return static_cast<LONG>( GetLastError() );
    auto pWatch = std::make_unique<RegWatch>( rKey, dwKinds, fSubtree );
    if ( const LONG lError = Arm( rKey, *pWatch ) )
        return lError;
    if ( const LONG lError = pWatch->Attach( *aEvent.GetObject<Event>() ) )
        return lError;
    const LONG lError = Insert( rKey, *pWatch );
    if ( lError == ERROR_SUCCESS )
        (void)pWatch.release();
    return lError;
}
} // namespace

RegWatch::~RegWatch()
{
    if ( m_pEvent != nullptr )
    {
        m_pEvent->DetachFeeder( *this );
        m_pEvent->Release();
    }
    CloseDescriptors();
}

void RegWatch::CloseDescriptors() noexcept
{
    if ( m_nChanges >= 0 )
        close( m_nChanges );
    if ( m_nClosed >= 0 )
        close( m_nClosed );
    m_nChanges = m_nClosed = -1;
}

LONG RegWatch::Open() noexcept
{
    const RegStorePaths* const pPaths = m_rKey.GetStore().GetPaths();
    if ( pPaths == nullptr )
        return ERROR_PATH_NOT_FOUND;
    m_nChanges = inotify_init1( IN_NONBLOCK | IN_CLOEXEC );
    if ( m_nChanges < 0 || !MakeRegFolder( pPaths->strFolder ) ||
         inotify_add_watch( m_nChanges, pPaths->strFolder.c_str(), IN_MOVED_TO ) < 0 )
        return static_cast<LONG>( ErrnoToWin32( errno ) );
    return ERROR_SUCCESS;
}

LONG RegWatch::OpenToWait() noexcept
{
    m_nClosed = eventfd( 0, EFD_NONBLOCK | EFD_CLOEXEC );
    return m_nClosed >= 0 ? ERROR_SUCCESS : static_cast<LONG>( ErrnoToWin32( errno ) );
}

LONG RegWatch::Attach( Event& rEvent ) noexcept
{
    rEvent.AddReference();
    m_pEvent = &rEvent;
    return rEvent.AttachFeeder( *this ) ? ERROR_SUCCESS : ERROR_NOT_ENOUGH_MEMORY;
}

// What told of the change is used up: where it cannot be looked at now, a wake-up too many is better than none.
bool RegWatch::HasChanged() const noexcept
{
    m_rKey.GetStore().LookAtPage();
    RegImage* pImage = nullptr;
    ULONGLONG ullGeneration = 0;
    if ( m_rKey.GetStore().TakeImage( pImage, ullGeneration ) != ERROR_SUCCESS )
        return true;
    RegImageUse aImage;
    aImage.Set( pImage );
    RegKeyView aView;
    if ( m_rKey.Find( *pImage, aView ) != ERROR_SUCCESS )
        return true;
    const ULONGLONG* const pullChanged =
        m_fSubtree ? aView.GetHead().aullChangedBelow : aView.GetHead().aullChanged;
    for ( size_t nKind = 0; nKind < CHANGE_KINDS; ++nKind )
    {
        if ( ( m_dwKinds >> nKind & 1 ) != 0 && pullChanged[nKind] > m_ullSequence )
            return true;
    }
    return false;
}

bool RegWatch::HasFired() noexcept
{
    const int nSavedErrno = errno;
    // First what told of changes, then the changes: one that comes in between is told of again.
    std::array<char, 4096> aNotices;
    while ( read( m_nChanges, aNotices.data(), aNotices.size() ) > 0 )
        continue;
    const bool fFired = HasChanged();
    if ( fFired )
        m_fFired.store( true, std::memory_order_release );
    errno = nSavedErrno;
    return fFired;
}

void RegWatch::Wait() noexcept
{
    pollfd aEntries[] = { { m_nChanges, POLLIN, 0 }, { m_nClosed, POLLIN, 0 } };
    while ( ( aEntries[1].revents & POLLIN ) == 0 && !HasFired() )
        poll( aEntries, 2, -1 );
}

void RegWatch::TellClosed() noexcept
{
    if ( m_pEvent == nullptr )
        (void)!eventfd_write( m_nClosed, 1 );
    else if ( !IsOver() )
        m_pEvent->Set();
}

void TellRegWatchesOfClose( RegistryKey& rKey ) noexcept
{
    {
        const LockedKey aLocked( rKey );
        rKey.MarkClosed();
    }
    RegWatch* pWatch = TakeWatches( rKey, true );
    while ( pWatch != nullptr )
    {
        const std::unique_ptr<RegWatch> pTaken( pWatch );
        pWatch = pTaken->m_pNext;
        pTaken->TellClosed();
    }
    const LockedKey aLocked( rKey );
    for ( RegWatch* pWaiting = rKey.GetWatches(); pWaiting != nullptr; pWaiting = pWaiting->m_pNext )
        pWaiting->TellClosed();
}

// The events are the parent's too, and a thread that is lost may have been asking a watch: what is not closed here stays.
void AbandonRegWatchesInChild( RegistryKey& rKey ) noexcept
{
    for ( RegWatch* pWatch = rKey.GetWatches(); pWatch != nullptr; pWatch = pWatch->m_pNext )
        pWatch->CloseDescriptors();
    rKey.GetWatches() = nullptr;
}

LONG RegNotifyChangeKeyValue( HKEY hKey, BOOL fSubtree, DWORD dwFilter, HANDLE hEvent, BOOL fAsynchronous )
{
    return RunRegCall(
        [&]() -> LONG
        {
            const RegKeyUse aUse( hKey, KEY_NOTIFY );
            if ( aUse.GetError() != ERROR_SUCCESS )
                return aUse.GetError();
            const DWORD dwKinds = dwFilter & EVERY_KIND;
            if ( dwKinds == 0 )
                return ERROR_INVALID_PARAMETER;
            RegWatch* pOver = TakeWatches( aUse.GetKey(), false );
            while ( pOver != nullptr )
            {
                const std::unique_ptr<RegWatch> pTaken( pOver );
                pOver = pTaken->m_pNext;
            }
            if ( fAsynchronous )
                return HaveEventSet( aUse.GetKey(), hEvent, dwKinds, fSubtree != FALSE );
            return WaitHere( aUse.GetKey(), dwKinds, fSubtree != FALSE );
        } );
}
