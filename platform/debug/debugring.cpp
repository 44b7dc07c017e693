#include "platform/debug/debugring.h"

#include "platform/fileroom.h"
#include "platform/namespacefolder.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <fcntl.h>
#include <linux/futex.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{
constexpr int NO_FILE = -1;

// A descriptor for a scope.
class OpenFile
{
public:
    explicit OpenFile( int nFile ) noexcept : m_nFile( nFile ) {}
    ~OpenFile()
    {
        if ( m_nFile >= 0 )
            close( m_nFile );
    }
    OpenFile( const OpenFile& ) = delete;
    OpenFile& operator=( const OpenFile& ) = delete;

    int Get() const noexcept { return m_nFile; }
    int Detach() noexcept
    {
        const int nFile = m_nFile;
        m_nFile = NO_FILE;
        return nFile;
    }

private:
    int m_nFile;
};

bool IsRing( int nFile ) noexcept
{
    struct stat aStatus;
    if ( fstat( nFile, &aStatus ) != 0 || !S_ISREG( aStatus.st_mode ) ||
         aStatus.st_size != static_cast<off_t>( sizeof( DebugRing ) ) )
        return false;
    struct
    {
        uint64_t ullMagic;
        uint32_t nSlotSize;
        uint32_t nSlots;
    } aHeader;
    return pread( nFile, &aHeader, sizeof( aHeader ), 0 ) == static_cast<ssize_t>( sizeof( aHeader ) ) &&
           aHeader.ullMagic == DEBUG_RING_MAGIC && aHeader.nSlotSize == sizeof( DebugSlot ) &&
           aHeader.nSlots == DEBUG_RING_SLOTS;
}

bool FillRing( int nFile ) noexcept
{
    if ( fchmod( nFile, GetNamespaceFileMode( NamespaceScope::Local ) ) != 0 ||
         !MakeFileRoom( nFile, sizeof( DebugRing ) ) )
        return false;
    DebugRing* const pRing = MapDebugRing( nFile, nullptr );
    if ( pRing == nullptr )
        return false;
    pRing->ullMagic = DEBUG_RING_MAGIC;
    pRing->nSlotSize = sizeof( DebugSlot );
    pRing->nSlots = DEBUG_RING_SLOTS;
    pRing->nBell.store( 1, std::memory_order_relaxed ); // nobody sleeps at 0
    munmap( pRing, sizeof( DebugRing ) );
    return true;
}

// The file gets its name when it is complete. False: errno says why, EEXIST that another process was faster.
bool MakeRing( const NamespacePath& rPath, std::string_view aFolder ) noexcept
{
    NamespacePath aFolderPath;
    *std::copy( aFolder.begin(), aFolder.end(), aFolderPath.begin() ) = '\0';
    const OpenFile aFile( open( aFolderPath.data(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600 ) );
    if ( aFile.Get() < 0 || !FillRing( aFile.Get() ) )
        return false;
    char szFile[32];
    std::snprintf( szFile, sizeof( szFile ), "/proc/self/fd/%d", aFile.Get() );
    return linkat( AT_FDCWD, szFile, AT_FDCWD, rPath.data(), AT_SYMLINK_FOLLOW ) == 0;
}

bool IsSameFile( const char* pPath, dev_t nDevice, ino_t nInode ) noexcept
{
    struct stat aStatus;
    return lstat( pPath, &aStatus ) == 0 && aStatus.st_dev == nDevice && aStatus.st_ino == nInode;
}

// Takes away what is no ring. Of several processes that want to, one does, and never another one's new ring.
void RemoveForeign( int nFile, const NamespacePath& rPath ) noexcept
{
    struct stat aStatus;
    if ( flock( nFile, LOCK_EX | LOCK_NB ) == 0 && fstat( nFile, &aStatus ) == 0 &&
         IsSameFile( rPath.data(), aStatus.st_dev, aStatus.st_ino ) )
        unlink( rPath.data() );
}
} // namespace

int OpenDebugRingFile( DebugRingFile& rIdentity ) noexcept
{
    constexpr int ATTEMPTS = 10;
    NamespacePath aPath;
    if ( !FindInNamespace( NamespaceScope::Local, "messages", aPath ) )
        return NO_FILE;
    const std::string_view aFolder( aPath.data(), std::string_view( aPath.data() ).rfind( '/' ) );
    for ( int i = 0; i < ATTEMPTS; ++i )
    {
        OpenFile aFile( open( aPath.data(), O_RDWR | NAMESPACE_OPEN_FLAGS ) );
        if ( aFile.Get() < 0 )
        {
            if ( errno != ENOENT || ( !MakeRing( aPath, aFolder ) && errno != EEXIST ) )
                return NO_FILE;
            continue;
        }
        struct stat aStatus;
        if ( IsRing( aFile.Get() ) && fstat( aFile.Get(), &aStatus ) == 0 )
        {
            rIdentity = { aStatus.st_dev, aStatus.st_ino };
            return aFile.Detach();
        }
        RemoveForeign( aFile.Get(), aPath );
    }
    return NO_FILE;
}

bool IsDebugRingFile( const DebugRingFile& rIdentity ) noexcept
{
    NamespacePath aPath;
    return FindInNamespace( NamespaceScope::Local, "messages", aPath ) &&
           IsSameFile( aPath.data(), rIdentity.nDevice, rIdentity.nInode );
}

DebugRing* MapDebugRing( int nFile, void* pPlace ) noexcept
{
    return static_cast<DebugRing*>( MapSharedFile( nFile, sizeof( DebugRing ), pPlace ) );
}

void RingDebugBell( DebugRing& rRing ) noexcept
{
    // One step for the kernel, so that no writer is killed between the stroke and the waking.
    syscall( SYS_futex, &rRing.nBell, FUTEX_WAKE_OP, INT_MAX, 0, &rRing.nBell,
             FUTEX_OP( FUTEX_OP_ADD, 1, FUTEX_OP_CMP_EQ, 0 ) );
}
