#include "platform/object/processslots.h"

#include "platform/errno_to_win32.h"
#include "platform/highdescriptor.h"
#include "platform/locked.h"
#include "platform/object/foldersweep.h"
#include "platform/object/processlayout.h"

#include <cerrno>
#include <cstring>
#include <sys/mman.h>
#include <sys/stat.h>

namespace
{
// What this process has of a folder's file.
struct SlotFile
{
    int nDescriptor;
    bool fTaken;
    ProcessSlot aSlot;
    SlotRecord* pRecords;
    dev_t ullDevice;
    ino_t ullFile;
    DWORD dwFolderLocks;
};

// The slots of a process and, since a lock on a file does not keep its own process out, the folder's locks.
constinit CRITICAL_SECTION g_aLock{};
constinit SlotFile g_aFiles[2]{ { NO_DESCRIPTOR, false, {}, nullptr, 0, 0, 0 },
                                { NO_DESCRIPTOR, false, {}, nullptr, 0, 0, 0 } };

// For Global names. Folders do not change while a process runs.
enum class Common : unsigned char
{
    Unknown,
    OneFolder,
    TwoFolders
};
constinit std::atomic<Common> g_eCommon{ Common::Unknown };

SlotFile& FileOf( NamespaceScope eScope ) noexcept
{
    return g_aFiles[static_cast<size_t>( eScope )];
}

// 0, or the errno. Straight to the kernel: no cancellation point.
int ChangeLock( int nDescriptor, int nCommand, short nType, off_t nByte ) noexcept
{
    struct flock aRange = RangeOf( nType, nByte );
    long nResult = 0;
    do
        nResult = syscall( SYS_fcntl, nDescriptor, nCommand, &aRange );
    while ( nResult != 0 && errno == EINTR );
    return nResult == 0 ? 0 : errno;
}

// Whether the descriptor still is the one we opened.
bool IsOurs( const SlotFile& rFile, struct stat& rStatus ) noexcept
{
    return rFile.nDescriptor >= 0 && fstat( rFile.nDescriptor, &rStatus ) == 0 &&
           rStatus.st_dev == rFile.ullDevice && rStatus.st_ino == rFile.ullFile;
}

// And whether its file still has its name.
bool IsIntact( const SlotFile& rFile ) noexcept
{
    struct stat aStatus;
    return rFile.fTaken && IsOurs( rFile, aStatus ) && aStatus.st_nlink > 0;
}

// Gives mapping and descriptor back. What stands in the place of a descriptor that somebody closed is not ours to close.
void Forget( SlotFile& rFile ) noexcept
{
    struct stat aStatus;
    if ( rFile.pRecords != nullptr )
        munmap( rFile.pRecords, PROCESSES_BYTES );
    if ( IsOurs( rFile, aStatus ) )
        CloseDescriptor( rFile.nDescriptor );
    rFile.nDescriptor = NO_DESCRIPTOR;
    rFile.pRecords = nullptr;
    rFile.fTaken = false;
    rFile.dwFolderLocks = 0;
}

// 0, or the error.
int OpenFile( NamespaceScope eScope, const char* pPath, int& rnDescriptor, struct stat& rStatus ) noexcept
{
    const mode_t nMode = GetNamespaceFileMode( eScope );
    rnDescriptor = open( pPath, O_RDWR | O_CREAT | NAMESPACE_OPEN_FLAGS, nMode );
    if ( rnDescriptor < 0 )
        return errno;
    rnDescriptor = MoveDescriptorHigh( rnDescriptor );
    if ( const int nError = ChangeLock( rnDescriptor, F_OFD_SETLKW, F_WRLCK, FOLDER_BYTE ) )
        return nError;
    if ( fstat( rnDescriptor, &rStatus ) != 0 )
        return errno;
    if ( !S_ISREG( rStatus.st_mode ) || rStatus.st_nlink > 1 )
        return EACCES;
    // The process's mask may have taken away what the folder's group needs.
    if ( rStatus.st_uid == geteuid() && ( rStatus.st_mode & 0777 ) != nMode &&
         fchmod( rnDescriptor, nMode ) != 0 )
        return errno;
    return posix_fallocate( rnDescriptor, 0, PROCESSES_BYTES );
}

// Opens and maps the file; the folder's lock is held then.
bool MapFile( NamespaceScope eScope, const char* pPath, SlotFile& rFile ) noexcept
{
    struct stat aStatus
    {
    };
    int nError = 0;
    // Somebody may remove the folder between our opening and our locking.
    constexpr int ATTEMPTS = 10;
    for ( int i = 0; i < ATTEMPTS && nError == 0 && aStatus.st_nlink == 0; ++i )
    {
        CloseDescriptor( rFile.nDescriptor );
        nError = OpenFile( eScope, pPath, rFile.nDescriptor, aStatus );
    }
    void* const pMemory = nError == 0 ? mmap( nullptr, PROCESSES_BYTES, PROT_READ | PROT_WRITE, MAP_SHARED,
                                              rFile.nDescriptor, 0 )
                                      : MAP_FAILED;
    if ( pMemory == MAP_FAILED )
    {
        SetLastError( ErrnoToWin32( nError != 0 ? nError : errno ) );
        CloseDescriptor( rFile.nDescriptor );
        return false;
    }
    rFile.pRecords = static_cast<SlotRecord*>( pMemory );
    rFile.ullDevice = aStatus.st_dev;
    rFile.ullFile = aStatus.st_ino;
    return true;
}

// With the folder's lock.
bool TakeSlot( SlotFile& rFile, DWORD dwSlot ) noexcept
{
    if ( ChangeLock( rFile.nDescriptor, F_OFD_SETLK, F_WRLCK, TakenByte( dwSlot ) ) != 0 )
        return false;
    SlotRecord& rRecord = rFile.pRecords[dwSlot];
    // A process that lost its descriptor takes its old place again, where nobody else took it.
    const bool fOwn = rFile.aSlot.dwGeneration != 0 && dwSlot == rFile.aSlot.dwSlot &&
                      rRecord.uGeneration == rFile.aSlot.dwGeneration &&
                      rRecord.uProcess == GetCurrentProcessId();
    if ( !fOwn )
    {
        const uint32_t uNext = rRecord.uGeneration + 1;
        rRecord.uGeneration = uNext != 0 ? uNext : 1;
        rRecord.uProcess = GetCurrentProcessId();
    }
    if ( ChangeLock( rFile.nDescriptor, F_OFD_SETLK, F_WRLCK, AliveByte( dwSlot ) ) != 0 )
        return false;
    rFile.aSlot = { dwSlot, rRecord.uGeneration };
    return true;
}

bool TakeAnySlot( SlotFile& rFile ) noexcept
{
    const DWORD dwFirst = rFile.aSlot.dwGeneration != 0 ? rFile.aSlot.dwSlot : 0;
    for ( DWORD i = 0; i < MOST_PROCESSES; ++i )
    {
        if ( TakeSlot( rFile, ( dwFirst + i ) % MOST_PROCESSES ) )
            return true;
    }
    SetLastError( ERROR_NO_SYSTEM_RESOURCES );
    return false;
}

// Whether other processes were killed since somebody last swept the folder. With the folder's lock.
//   fForget  the folder is swept: they are of no interest any more.
bool FindKilled( const SlotFile& rFile, bool fForget ) noexcept
{
    bool fAny = false;
    for ( DWORD i = 0; i < MOST_PROCESSES; ++i )
    {
        std::atomic<uint32_t>& ruProcess = rFile.pRecords[i].uProcess;
        const bool fOwn = rFile.fTaken && i == rFile.aSlot.dwSlot;
        if ( fOwn || ruProcess == 0 || IsLockedByOther( rFile.nDescriptor, AliveByte( i ) ) )
            continue;
        fAny = true;
        if ( fForget )
            ruProcess = 0;
    }
    return fAny;
}

bool TakeSlotInFolder( NamespaceScope eScope, const char* pPath, SlotFile& rFile ) noexcept
{
    Forget( rFile );
    if ( !MapFile( eScope, pPath, rFile ) )
        return false;
    // Who has only lost its descriptor would sweep its own things away.
    const bool fSweep = rFile.aSlot.dwGeneration == 0 && FindKilled( rFile, false );
    rFile.fTaken = TakeAnySlot( rFile );
    if ( !rFile.fTaken )
    {
        Forget( rFile );
        return false;
    }
    rFile.dwFolderLocks = 1;
    if ( fSweep )
    {
        SweepFolder( eScope, rFile.aSlot );
        FindKilled( rFile, true );
    }
    rFile.dwFolderLocks = 0;
    ChangeLock( rFile.nDescriptor, F_OFD_SETLK, F_UNLCK, FOLDER_BYTE );
    return true;
}
} // namespace

NamespaceScope FindCommonScope( NamespaceScope eScope ) noexcept
{
    if ( eScope == NamespaceScope::Local )
        return eScope;
    Common eCommon = g_eCommon.load( std::memory_order_relaxed );
    if ( eCommon == Common::Unknown )
    {
        NamespacePath aLocal;
        NamespacePath aGlobal;
        const bool fOne = FindInNamespace( NamespaceScope::Local, PROCESSES_LEAF, aLocal ) &&
                          FindInNamespace( NamespaceScope::Global, PROCESSES_LEAF, aGlobal ) &&
                          std::strcmp( aLocal.data(), aGlobal.data() ) == 0;
        eCommon = fOne ? Common::OneFolder : Common::TwoFolders;
        g_eCommon.store( eCommon, std::memory_order_relaxed );
    }
    return eCommon == Common::OneFolder ? NamespaceScope::Local : NamespaceScope::Global;
}

bool TakeProcessSlot( NamespaceScope eScope, ProcessSlot& rSlot ) noexcept
{
    NamespacePath aPath;
    if ( !FindInNamespace( eScope, PROCESSES_LEAF, aPath ) )
        return false;
    const LockedScope aLocked( g_aLock );
    SlotFile& rFile = FileOf( eScope );
    if ( !IsIntact( rFile ) && !TakeSlotInFolder( eScope, aPath.data(), rFile ) )
        return false;
    rSlot = rFile.aSlot;
    return true;
}

bool HasProcessSlot( NamespaceScope eScope, const ProcessSlot& rSlot ) noexcept
{
    const LockedScope aLocked( g_aLock );
    const SlotFile& rFile = FileOf( eScope );
    return IsIntact( rFile ) && rFile.aSlot == rSlot;
}

bool IsProcessAlive( NamespaceScope eScope, const ProcessSlot& rSlot ) noexcept
{
    const LockedScope aLocked( g_aLock );
    const SlotFile& rFile = FileOf( eScope );
    if ( rSlot.dwSlot >= MOST_PROCESSES || !rFile.fTaken )
        return false;
    if ( rSlot.dwSlot == rFile.aSlot.dwSlot )
        return rSlot == rFile.aSlot;
    if ( rFile.pRecords[rSlot.dwSlot].uGeneration != rSlot.dwGeneration )
        return false;
    // That nobody has the lock is to be believed only of the right file.
    return IsLockedByOther( rFile.nDescriptor, AliveByte( rSlot.dwSlot ) ) || !IsIntact( rFile );
}

FolderLock::FolderLock( NamespaceScope eScope ) noexcept : m_eScope( eScope )
{
    EnterCriticalSection( &g_aLock );
    SlotFile& rFile = FileOf( eScope );
    if ( rFile.dwFolderLocks++ == 0 )
        m_fGood = ChangeLock( rFile.nDescriptor, F_OFD_SETLKW, F_WRLCK, FOLDER_BYTE ) == 0;
}

FolderLock::~FolderLock()
{
    SlotFile& rFile = FileOf( m_eScope );
    if ( --rFile.dwFolderLocks == 0 )
        ChangeLock( rFile.nDescriptor, F_OFD_SETLK, F_UNLCK, FOLDER_BYTE );
    LeaveCriticalSection( &g_aLock );
}

void GiveProcessSlotsBack() noexcept
{
    const LockedScope aLocked( g_aLock );
    for ( SlotFile& rFile : g_aFiles )
    {
        if ( IsIntact( rFile ) )
            rFile.pRecords[rFile.aSlot.dwSlot].uProcess = 0;
        Forget( rFile );
        rFile.aSlot = {};
    }
}

void LockProcessSlots()
{
    EnterCriticalSection( &g_aLock );
}

void UnlockProcessSlots()
{
    LeaveCriticalSection( &g_aLock );
}

void ResetProcessSlotsInChild()
{
    // At once: while the child had it, its parent would seem alive.
    for ( SlotFile& rFile : g_aFiles )
    {
        Forget( rFile );
        rFile.aSlot = {};
    }
    UnlockProcessSlots();
}
