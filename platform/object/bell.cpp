#include "platform/object/bell.h"

#include "platform/errno_to_win32.h"
#include "platform/forkhandlers.h"
#include "platform/futex.h"
#include "platform/highdescriptor.h"
#include "platform/locked.h"
#include "platform/textoutput.h"
#include "platform/threadend.h"
#include "platform/threadstate.h"

#include <bxtools/platform.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <new>
#include <string_view>
#include <sys/eventfd.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <utility>

// A pipe's file is made under a name of its own and renamed when it has its reader, so that a bell that can be found and
// has none is always a dead one. Names hold a random number: no name comes again.

namespace
{
constexpr std::string_view BELL = "bell-";
constexpr std::string_view NEW_BELL = "newbell-";

using BellLeaf = std::array<char, 32>;

// Guards the chain of all bells and the lists of all objects of this process. Nothing else is taken under it.
constinit CRITICAL_SECTION g_aLock{};

BellLeaf MakeLeaf( std::string_view aPrefix, SharedBellName ullName ) noexcept
{
    BellLeaf aLeaf;
    std::snprintf( aLeaf.data(), aLeaf.size(), "%.*s%u-%08x", static_cast<int>( aPrefix.size() ),
                   aPrefix.data(), static_cast<unsigned>( ullName >> 32 ),
                   static_cast<unsigned>( ullName & 0xFFFFFFFFu ) );
    return aLeaf;
}

SharedBellName MakeName() noexcept
{
    uint32_t uRandom = 0;
    // Early in the system's life the kernel has none yet; the address differs, too.
    if ( syscall( SYS_getrandom, &uRandom, sizeof( uRandom ), GRND_NONBLOCK ) != sizeof( uRandom ) )
        uRandom = static_cast<uint32_t>( reinterpret_cast<uintptr_t>( &uRandom ) >> 4 ^
                                         GetMonotonicMilliseconds() );
    return static_cast<SharedBellName>( GetCurrentProcessId() ) << 32 | uRandom;
}

int OpenAt( const char* pPath, int nFlags ) noexcept
{
    return static_cast<int>(
        syscall( SYS_openat, AT_FDCWD, pPath, nFlags | O_NONBLOCK | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY ) );
}

// The reader's end of a new pipe, opened for writing as well so that it never reads as ended; or the errno, negative.
int MakePipe( NamespaceScope eScope, const char* pNewPath, const char* pPath ) noexcept
{
    const mode_t nMode = GetNamespaceFileMode( eScope );
    if ( mkfifo( pNewPath, nMode ) != 0 )
        return -errno;
    int nDescriptor = OpenAt( pNewPath, O_RDWR );
    // The process's mask may have taken away what the folder's group needs.
    if ( nDescriptor >= 0 && fchmod( nDescriptor, nMode ) == 0 && rename( pNewPath, pPath ) == 0 )
        return MoveDescriptorHigh( nDescriptor );
    const int nError = errno;
    CloseDescriptor( nDescriptor );
    unlink( pNewPath );
    return -nError;
}

bool HasListener( const char* pPath ) noexcept
{
    int nDescriptor = OpenAt( pPath, O_WRONLY );
    if ( nDescriptor < 0 )
        return errno != ENXIO;
    CloseDescriptor( nDescriptor );
    return true;
}

// FALSE: nobody listens.
bool RingAt( const char* pPath ) noexcept
{
    int nDescriptor = OpenAt( pPath, O_WRONLY );
    if ( nDescriptor < 0 )
    {
        const int nError = errno;
        if ( nError == ENXIO )
            unlink( pPath );
        return nError != ENXIO && nError != ENOENT;
    }
    struct stat aStatus;
    bool fListens = fstat( nDescriptor, &aStatus ) == 0 && S_ISFIFO( aStatus.st_mode );
    // A full pipe has rung already.
    if ( fListens )
        fListens = WriteTexts( nDescriptor, { "!" }, true ) != EPIPE;
    CloseDescriptor( nDescriptor );
    return fListens;
}

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
        for ( Bell::Pipe& rPipe : rBell.m_aPipes )
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
    for ( const Pipe& rPipe : m_aPipes )
        fOpen = fOpen && ( rPipe.ullName == 0 || syscall( SYS_fcntl, rPipe.nDescriptor, F_GETFD ) >= 0 );
    return fOpen;
}

void Bell::Close() noexcept
{
    CloseDescriptor( m_nRinger );
    for ( Pipe& rPipe : m_aPipes )
        CloseDescriptor( rPipe.nDescriptor );
}

// By the path that was found once: at the end of the process its folder may be gone, and is not to come back.
void Bell::RemovePipes() noexcept
{
    for ( Pipe& rPipe : m_aPipes )
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
    Pipe& rPipe = m_aPipes[static_cast<size_t>( eScope )];
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
DWORD Bell::OpenPipe( NamespaceScope eScope, Pipe& rPipe ) noexcept
{
    // Somebody who sweeps may take the new file for a dead one.
    constexpr int ATTEMPTS = 100;
    int nPipe = -ENOENT;
    for ( int i = 0; i < ATTEMPTS && ( nPipe == -ENOENT || nPipe == -EEXIST ); ++i )
    {
        const SharedBellName ullName = MakeName();
        NamespacePath aNewPath;
        NamespacePath aPath;
        if ( !FindInNamespace( eScope, MakeLeaf( NEW_BELL, ullName ).data(), aNewPath ) ||
             !FindInNamespace( eScope, MakeLeaf( BELL, ullName ).data(), aPath ) )
            return GetLastError();
        const size_t nPath = std::strlen( aPath.data() ) + 1;
        std::unique_ptr<char[]> pPath( new ( std::nothrow ) char[nPath] );
        if ( pPath == nullptr )
            return ERROR_NOT_ENOUGH_MEMORY;
        std::memcpy( pPath.get(), aPath.data(), nPath );
        nPipe = MakePipe( eScope, aNewPath.data(), aPath.data() );
        if ( nPipe < 0 )
            continue;
        const LockedScope aLocked( g_aLock );
        CloseDescriptor( rPipe.nDescriptor );
        rPipe = { nPipe, ullName, std::move( pPath ) };
    }
    return nPipe >= 0 ? 0 : ErrnoToWin32( -nPipe );
}

void Bell::Drain() noexcept
{
    const int nSavedErrno = errno;
    ULONGLONG ullRings = 0;
    syscall( SYS_read, m_nRinger, &ullRings, sizeof( ullRings ) );
    for ( const Pipe& rPipe : m_aPipes )
        DrainDescriptor( rPipe.nDescriptor );
    errno = nSavedErrno;
}

void Bell::AddDescriptors( PollSet& rSet ) const noexcept
{
    rSet.Add( m_nRinger );
    for ( const Pipe& rPipe : m_aPipes )
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

bool RingSharedBell( NamespaceScope eScope, SharedBellName ullName ) noexcept
{
    const int nSavedErrno = errno;
    const DWORD dwSavedError = GetLastError();
    NamespacePath aPath;
    const bool fListens =
        !FindInNamespace( eScope, MakeLeaf( BELL, ullName ).data(), aPath ) || RingAt( aPath.data() );
    errno = nSavedErrno;
    SetLastError( dwSavedError );
    return fListens;
}

void SweepSharedBells( NamespaceScope eScope ) noexcept
{
    const int nSavedErrno = errno;
    NamespacePath aPath;
    DIR* const pFolder = FindInNamespace( eScope, ".", aPath ) ? opendir( aPath.data() ) : nullptr;
    while ( const dirent* const pEntry = pFolder != nullptr ? readdir( pFolder ) : nullptr )
    {
        const std::string_view aLeaf( pEntry->d_name );
        if ( ( aLeaf.starts_with( BELL ) || aLeaf.starts_with( NEW_BELL ) ) &&
             FindInNamespace( eScope, pEntry->d_name, aPath ) && !HasListener( aPath.data() ) )
            unlink( aPath.data() );
    }
    if ( pFolder != nullptr )
        closedir( pFolder );
    errno = nSavedErrno;
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
