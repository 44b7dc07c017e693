#include "platform/object/objectfile.h"

#include "platform/errno_to_win32.h"
#include "platform/highdescriptor.h"
#include "platform/object/sharedlock.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <new>
#include <sys/mman.h>
#include <sys/stat.h>

namespace
{
// As long as a file that is no mapping; a mapping's own bytes follow further behind.
constexpr off_t PLAIN_BYTES = sizeof( ObjectPages );

// What must be there before it is touched: a full memory file system answers a touch with a signal.
off_t BytesUpToHolder( DWORD dwSlot ) noexcept
{
    return static_cast<off_t>( offsetof( ObjectPages, auHolders ) + ( dwSlot + 1 ) * sizeof( uint32_t ) );
}

off_t FileBytes( ObjectKind eKind, ULONGLONG ullDataBytes ) noexcept
{
    return eKind != KIND_MAPPING ? PLAIN_BYTES : static_cast<off_t>( OBJECT_DATA_OFFSET + ullDataBytes );
}

bool IsWholeFile( const ObjectHeader& rHeader, off_t nFileBytes ) noexcept
{
    constexpr ULONGLONG MOST_BYTES = ULONGLONG{ 1 } << 62;
    return HasGoodHeader( rHeader ) && rHeader.ullDataBytes <= MOST_BYTES &&
           nFileBytes >= FileBytes( static_cast<ObjectKind>( rHeader.uKind.load() ), rHeader.ullDataBytes );
}

bool FillHeader( ObjectHeader& rHeader, std::string_view aName, ObjectKind eKind,
                 ULONGLONG ullDataBytes ) noexcept
{
    if ( !MakeRobustLock( rHeader.aGuard, true ) || !MakeRobustLock( rHeader.aLock, true ) )
        return false;
    rHeader.acMagic = OBJECT_MAGIC;
    rHeader.uVersion = OBJECT_VERSION;
    rHeader.uKind = eKind;
    rHeader.ullDataBytes = ullDataBytes;
    rHeader.uNameLength = static_cast<uint32_t>( aName.size() );
    std::copy( aName.begin(), aName.end(), rHeader.acName.begin() );
    return true;
}
} // namespace

bool ObjectFile::Map( int nDescriptor ) noexcept
{
    void* const pMemory =
        mmap( nullptr, sizeof( ObjectPages ), PROT_READ | PROT_WRITE, MAP_SHARED, nDescriptor, 0 );
    if ( pMemory == MAP_FAILED )
    {
        SetLastErrorFromErrno();
        return false;
    }
    m_pPages = std::launder( static_cast<ObjectPages*>( pMemory ) );
    return true;
}

// Views of a mapping are made through the descriptor; other kinds have no use for it.
void ObjectFile::Keep( int nDescriptor, ObjectKind eKind ) noexcept
{
    if ( eKind != KIND_MAPPING )
    {
        close( nDescriptor );
        return;
    }
    m_nDescriptor = MoveDescriptorHigh( nDescriptor );
    struct stat aStatus;
    if ( fstat( m_nDescriptor, &aStatus ) == 0 )
    {
        m_ullDevice = aStatus.st_dev;
        m_ullFile = aStatus.st_ino;
    }
}

void ObjectFile::Close() noexcept
{
    if ( m_pPages != nullptr )
        munmap( m_pPages, sizeof( ObjectPages ) );
    m_pPages = nullptr;
    int nDescriptor = NO_DESCRIPTOR;
    if ( GetDescriptor( nDescriptor ) )
        close( nDescriptor );
    m_nDescriptor = NO_DESCRIPTOR;
}

ObjectFile::Opening ObjectFile::Open( NamespaceScope eScope, const ObjectLeaf& rLeaf,
                                      const ProcessSlot& rSlot ) noexcept
{
    NamespacePath aPath;
    if ( !FindInNamespace( eScope, rLeaf.data(), aPath ) )
        return Opening::Failed;
    m_eScope = eScope;
    const int nDescriptor = open( aPath.data(), O_RDWR | NAMESPACE_OPEN_FLAGS );
    if ( nDescriptor < 0 )
    {
        const int nError = errno;
        SetLastErrorFromErrno();
        return nError == ENOENT                                         ? Opening::Missing
               : nError == ELOOP || nError == EISDIR || nError == ENXIO ? Opening::Damaged
                                                                        : Opening::Failed;
    }
    off_t nBytes = 0;
    Opening eOpening = Opening::Damaged;
    if ( IsObjectFile( nDescriptor, eScope, nBytes ) )
    {
        const int nError = posix_fallocate( nDescriptor, 0, BytesUpToHolder( rSlot.dwSlot ) );
        if ( nError != 0 )
            SetLastError( ErrnoToWin32( nError ) );
        if ( nError != 0 || !Map( nDescriptor ) )
            eOpening = Opening::Failed;
        else if ( IsWholeFile( GetHeader(), nBytes ) && GetHeader().eState != ObjectState::New )
            eOpening = Opening::Done;
    }
    if ( eOpening == Opening::Done )
        Keep( nDescriptor, static_cast<ObjectKind>( GetHeader().uKind.load() ) );
    else
        close( nDescriptor );
    return eOpening;
}

bool ObjectFile::Make( const ObjectName& rName, const ObjectLeaf& rLeaf, ObjectKind eKind,
                       ULONGLONG ullDataBytes, ULONGLONG ullAllocatedBytes,
                       const ProcessSlot& rSlot ) noexcept
{
    NamespacePath aPath;
    m_eScope = rName.GetScope();
    if ( !FindInNamespace( m_eScope, rLeaf.data(), aPath ) )
        return false;
    const mode_t nMode = GetNamespaceFileMode( m_eScope );
    const int nDescriptor =
        open( aPath.data(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY, nMode );
    if ( nDescriptor < 0 )
    {
        SetLastErrorFromErrno();
        return false;
    }
    // The process's mask may have taken away what the folder's group needs.
    int nError =
        fchmod( nDescriptor, nMode ) == 0 && ftruncate( nDescriptor, FileBytes( eKind, ullDataBytes ) ) == 0
            ? posix_fallocate( nDescriptor, 0, BytesUpToHolder( rSlot.dwSlot ) )
            : errno;
    if ( nError == 0 && ullAllocatedBytes > 0 )
        nError = posix_fallocate( nDescriptor, OBJECT_DATA_OFFSET, static_cast<off_t>( ullAllocatedBytes ) );
    if ( nError != 0 )
        SetLastError( ErrnoToWin32( nError ) );
    if ( nError == 0 && Map( nDescriptor ) &&
         FillHeader( GetHeader(), rName.GetText(), eKind, ullDataBytes ) )
    {
        Keep( nDescriptor, eKind );
        return true;
    }
    unlink( aPath.data() );
    close( nDescriptor );
    return false;
}

bool ObjectFile::HasName( const ObjectName& rName ) const noexcept
{
    const ObjectHeader& rHeader = GetHeader();
    const size_t nLength = std::min<size_t>( rHeader.uNameLength, MOST_NAME_CHARACTERS );
    return rName.GetText() == std::string_view( rHeader.acName.data(), nLength );
}

bool ObjectFile::GetDescriptor( int& rnDescriptor ) const noexcept
{
    rnDescriptor = m_nDescriptor;
    struct stat aStatus;
    return m_nDescriptor >= 0 && fstat( m_nDescriptor, &aStatus ) == 0 && aStatus.st_dev == m_ullDevice &&
           aStatus.st_ino == m_ullFile;
}

void ObjectFile::EnterHolder( const ProcessSlot& rSlot ) noexcept
{
    ObjectHeader& rHeader = GetHeader();
    const DWORD dwSlot = rSlot.dwSlot % MOST_PROCESSES;
    if ( rHeader.uHoldersUsed.load( std::memory_order_relaxed ) <= dwSlot )
        rHeader.uHoldersUsed.store( dwSlot + 1, std::memory_order_release );
    m_pPages->auHolders[dwSlot].store( rSlot.dwGeneration, std::memory_order_release );
}

bool ObjectFile::LeaveHolder( const ProcessSlot& rSlot ) noexcept
{
    std::atomic<uint32_t>& ruOwn = m_pPages->auHolders[rSlot.dwSlot % MOST_PROCESSES];
    if ( ruOwn.load( std::memory_order_relaxed ) == rSlot.dwGeneration )
        ruOwn.store( 0, std::memory_order_release );
    const DWORD dwUsed = std::min<DWORD>( GetHeader().uHoldersUsed, MOST_PROCESSES );
    for ( DWORD i = 0; i < dwUsed; ++i )
    {
        if ( m_pPages->auHolders[i].load( std::memory_order_relaxed ) != 0 )
            return false;
    }
    return true;
}

bool ObjectFile::HasLivingHolder( const ProcessSlot& rOwn ) noexcept
{
    const DWORD dwUsed = std::min<DWORD>( GetHeader().uHoldersUsed, MOST_PROCESSES );
    for ( DWORD i = 0; i < dwUsed; ++i )
    {
        std::atomic<uint32_t>& ruHolder = m_pPages->auHolders[i];
        const ProcessSlot aHolder{ i, ruHolder.load( std::memory_order_relaxed ) };
        if ( aHolder.dwGeneration == 0 )
            continue;
        if ( aHolder != rOwn && IsProcessAlive( m_eScope, aHolder ) )
            return true;
        ruHolder.store( 0, std::memory_order_relaxed );
    }
    return false;
}

void ObjectFile::ClearHoldersAndBells() noexcept
{
    ObjectHeader& rHeader = GetHeader();
    const DWORD dwHolders = std::min<DWORD>( rHeader.uHoldersUsed, MOST_PROCESSES );
    for ( DWORD i = 0; i < dwHolders; ++i )
        m_pPages->auHolders[i].store( 0, std::memory_order_relaxed );
    const size_t nBells = std::min<size_t>( rHeader.uBellsUsed, MOST_SHARED_BELLS );
    for ( size_t i = 0; i < nBells; ++i )
        m_pPages->aullBells[i].store( 0, std::memory_order_relaxed );
    rHeader.uHoldersUsed.store( 0, std::memory_order_relaxed );
    rHeader.uBellsUsed.store( 0, std::memory_order_relaxed );
}

void RemoveObjectFile( NamespaceScope eScope, const char* pLeaf ) noexcept
{
    NamespacePath aPath;
    if ( FindInNamespace( eScope, pLeaf, aPath ) )
        unlink( aPath.data() );
}

ObjectGuard::ObjectGuard( ObjectHeader& rHeader ) noexcept : m_rHeader( rHeader )
{
    const int nOutcome = pthread_mutex_lock( &rHeader.aGuard );
    m_fGood = nOutcome == 0 || ( nOutcome == EOWNERDEAD && pthread_mutex_consistent( &rHeader.aGuard ) == 0 );
}

ObjectGuard::~ObjectGuard()
{
    if ( m_fGood )
        pthread_mutex_unlock( &m_rHeader.aGuard );
}
