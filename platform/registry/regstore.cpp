#include "platform/registry/regstore.h"

#include "platform/errno_to_win32.h"
#include "platform/forkhandlers.h"
#include "platform/locked.h"
#include "platform/registry/regfolder.h"
#include "platform/registry/regimagewriter.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <sys/mman.h>
#include <unistd.h>

namespace
{
constinit RegStore g_aStores[] = {
    { "local_machine", true },
    { "current_user", false },
    { "users", true },
    { "current_config", true },
};

// An image without the keys that went with the machine's last start.
LONG WithoutPassingKeys( RegImage*& rpImage )
{
    RegImageUse aOld;
    aOld.Set( rpImage );
    rpImage = nullptr;
    RegTree aTree;
    if ( const LONG lError = aTree.Load( *aOld.Get() ) )
        return lError;
    RegImageWriter aWriter;
    if ( const LONG lError = aWriter.Plan( aTree ) )
        return lError;
    auto pBytes = std::make_unique<BYTE[]>( aWriter.GetSize() );
    aWriter.CopyTo( pBytes.get() );
    return RegImage::Adopt( std::move( pBytes ), aWriter.GetSize(), rpImage );
}

bool HasKeysOfLastStart( const RegImageHead& rHead ) noexcept
{
    return ( rHead.dwFlags & IMAGE_HAS_PASSING_KEYS ) != 0 &&
           std::memcmp( rHead.aBoot, GetRegBoot(), sizeof( rHead.aBoot ) ) != 0;
}
} // namespace

RegStore& GetRegStore( RegStoreName eName ) noexcept
{
    return g_aStores[static_cast<size_t>( eName )];
}

RegFileIdentity RegFileIdentity::Of( const struct stat& rStatus ) noexcept
{
    return { rStatus.st_dev, rStatus.st_ino, rStatus.st_size, rStatus.st_mtim };
}

bool RegFileIdentity::operator==( const RegFileIdentity& rOther ) const noexcept
{
    return nDevice == rOther.nDevice && nFile == rOther.nFile && nSize == rOther.nSize &&
           aModified.tv_sec == rOther.aModified.tv_sec && aModified.tv_nsec == rOther.aModified.tv_nsec;
}

const RegStorePaths* RegStore::GetPaths() noexcept
{
    const LockedScope aLocked( m_aLock );
    if ( m_pPaths != nullptr )
        return m_pPaths;
    InstallForkHandlers();
    try
    {
        const std::string strFolder = m_fOfMachine ? FindMachineRegFolder() : FindUserRegFolder();
        if ( strFolder.empty() )
            return nullptr;
        const std::string strStem = strFolder + "/" + m_pName;
        m_pPaths = new RegStorePaths{ strFolder, strStem + ".bxreg", strStem + ".changes", strStem + ".next",
                                      strStem + ".previous" };
    }
    catch ( const std::bad_alloc& )
    {
    }
    return m_pPaths;
}

void RegStore::FollowPage( ULONGLONG ullGeneration ) noexcept
{
    const LockedScope aLocked( m_aLock );
    if ( ReadPage() != ullGeneration )
        FindPage();
}

void RegStore::FindPage() noexcept
{
    const int nFile = open( m_pPaths->strChanges.c_str(), O_RDONLY | O_CLOEXEC );
    if ( nFile < 0 )
        return;
    struct stat aStatus;
    const bool fWhole =
        fstat( nFile, &aStatus ) == 0 && aStatus.st_size >= static_cast<off_t>( REG_CHANGES_SIZE );
    void* const pBytes =
        fWhole ? mmap( nullptr, REG_CHANGES_SIZE, PROT_READ, MAP_SHARED, nFile, 0 ) : MAP_FAILED;
    close( nFile );
    if ( pBytes == MAP_FAILED )
        return;
    const RegChangesPage* const pPage = static_cast<const RegChangesPage*>( pBytes );
    if ( std::memcmp( pPage->aMark, REG_CHANGES_MARK, sizeof( REG_CHANGES_MARK ) ) != 0 )
    {
        munmap( pBytes, REG_CHANGES_SIZE );
        return;
    }
    m_aPageFile = RegFileIdentity::Of( aStatus );
    m_pPage.store( pPage, std::memory_order_release );
}

void RegStore::LookAtPage() noexcept
{
    const int nSavedErrno = errno;
    const LockedScope aLocked( m_aLock );
    m_nLooked.store( GetSeconds(), std::memory_order_relaxed );
    struct stat aStatus;
    if ( m_pPaths != nullptr && m_pPage.load( std::memory_order_relaxed ) != nullptr &&
         ( stat( m_pPaths->strChanges.c_str(), &aStatus ) != 0 || aStatus.st_dev != m_aPageFile.nDevice ||
           aStatus.st_ino != m_aPageFile.nFile ) )
    {
        m_pPage.store( nullptr, std::memory_order_release );
        m_ullGeneration = 0;
        FindPage();
    }
    errno = nSavedErrno;
}

LONG RegStore::TakeImage( RegImage*& rpImage, ULONGLONG& rullGeneration ) noexcept
{
    const int nSavedErrno = errno;
    const LockedScope aLocked( m_aLock );
    if ( GetPaths() == nullptr )
        return ERROR_PATH_NOT_FOUND;
    if ( m_pPage.load( std::memory_order_relaxed ) == nullptr )
        FindPage();
    // Before the look at the file: what is put in place after this makes the image older than its number.
    const ULONGLONG ullGeneration = GetGeneration();
    if ( ullGeneration == 0 || ullGeneration != m_ullGeneration )
    {
        m_ullGeneration = 0;
        if ( const LONG lError = Reload() )
        {
            errno = nSavedErrno;
            return lError;
        }
        m_ullGeneration = ullGeneration;
    }
    errno = nSavedErrno;
    rpImage = m_pImage;
    rpImage->AddReference();
    rullGeneration = ullGeneration;
    return ERROR_SUCCESS;
}

LONG RegStore::TakeNewestImage( RegImage*& rpImage ) noexcept
{
    const LockedScope aLocked( m_aLock );
    m_ullGeneration = 0;
    if ( const LONG lError = Reload() )
        return lError;
    rpImage = m_pImage;
    rpImage->AddReference();
    return ERROR_SUCCESS;
}

void RegStore::Add( RegImageKeeper& rKeeper ) noexcept
{
    const LockedScope aLocked( m_aLock );
    rKeeper.m_pNext = m_pKeepers;
    rKeeper.m_ppThis = &m_pKeepers;
    if ( m_pKeepers != nullptr )
        m_pKeepers->m_ppThis = &rKeeper.m_pNext;
    m_pKeepers = &rKeeper;
}

void RegStore::Remove( RegImageKeeper& rKeeper ) noexcept
{
    const LockedScope aLocked( m_aLock );
    *rKeeper.m_ppThis = rKeeper.m_pNext;
    if ( rKeeper.m_pNext != nullptr )
        rKeeper.m_pNext->m_ppThis = rKeeper.m_ppThis;
}

LONG RegStore::Keep( RegImage* pImage, LONG lError, const RegFileIdentity& aIdentity ) noexcept
{
    for ( RegImageKeeper* pKeeper = m_pKeepers; pKeeper != nullptr; pKeeper = pKeeper->m_pNext )
        pKeeper->DropImage();
    if ( m_pImage != nullptr )
        m_pImage->Release();
    m_pImage = pImage;
    m_lError = lError;
    m_aIdentity = aIdentity;
    return lError;
}

void RegStore::Install( RegImage* pImage, const RegFileIdentity& aIdentity, ULONGLONG ullGeneration ) noexcept
{
    const LockedScope aLocked( m_aLock );
    Keep( pImage, ERROR_SUCCESS, aIdentity );
    m_ullGeneration = ullGeneration;
}

LONG RegStore::Reload() noexcept
{
    struct stat aStatus;
    if ( stat( m_pPaths->strImage.c_str(), &aStatus ) != 0 )
    {
        if ( errno != ENOENT && errno != ENOTDIR )
            return static_cast<LONG>( ErrnoToWin32( errno ) );
        return Keep( RegImage::Empty(), ERROR_SUCCESS, {} );
    }
    if ( ( m_pImage != nullptr || m_lError != ERROR_SUCCESS ) &&
         m_aIdentity == RegFileIdentity::Of( aStatus ) )
        return m_lError;
    const int nFile = open( m_pPaths->strImage.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK );
    if ( nFile < 0 )
        return static_cast<LONG>( ErrnoToWin32( errno ) );
    const LONG lError = LoadFrom( nFile );
    close( nFile );
    return lError;
}

LONG RegStore::LoadFrom( int nFile ) noexcept
{
    struct stat aStatus;
    if ( fstat( nFile, &aStatus ) != 0 )
        return static_cast<LONG>( ErrnoToWin32( errno ) );
    RegImage* pImage = nullptr;
    LONG lError =
        S_ISREG( aStatus.st_mode ) ? RegImage::FromFile( nFile, aStatus, pImage ) : ERROR_REGISTRY_CORRUPT;
    try
    {
        if ( pImage != nullptr && HasKeysOfLastStart( pImage->GetHead() ) )
            lError = WithoutPassingKeys( pImage );
    }
    catch ( const std::bad_alloc& )
    {
        lError = ERROR_NOT_ENOUGH_MEMORY;
    }
    // What may be better the next time is tried again.
    if ( lError != ERROR_SUCCESS && lError != ERROR_REGISTRY_CORRUPT )
        return lError;
    return Keep( pImage, lError, RegFileIdentity::Of( aStatus ) );
}

int RegStore::OpenLockFile( mode_t nMode ) noexcept
{
    const LockedScope aLocked( m_aLock );
    CloseLockFile();
    const int nFile = open( m_pPaths->strChanges.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, nMode );
    m_nLockFile.store( nFile );
    return nFile;
}

void RegStore::CloseLockFile() noexcept
{
    const LockedScope aLocked( m_aLock );
    const int nFile = m_nLockFile.exchange( -1 );
    if ( nFile >= 0 )
        close( nFile );
}

RegChangesPage* RegStore::MapLockFile() noexcept
{
    const LockedScope aLocked( m_aLock );
    void* const pBytes =
        mmap( nullptr, REG_CHANGES_SIZE, PROT_READ | PROT_WRITE, MAP_SHARED, m_nLockFile.load(), 0 );
    if ( pBytes == MAP_FAILED )
        return nullptr;
    (void)madvise( pBytes, REG_CHANGES_SIZE, MADV_DONTFORK );
    return static_cast<RegChangesPage*>( pBytes );
}

// ---- fork, the end and tests ----------------------------------------------------------------------------------------

void RegStore::LockForFork() noexcept
{
    EnterCriticalSection( &m_aLock );
}

void RegStore::UnlockAfterFork() noexcept
{
    LeaveCriticalSection( &m_aLock );
}

// The lock of a writer among the parent's threads is the parent's alone: it would stay taken until this copy of the
// descriptor was closed, too.
void RegStore::ResetInChild() noexcept
{
    CloseLockFile();
    UnlockAfterFork();
}

void RegStore::Forget() noexcept
{
    const LockedScope aLocked( m_aLock );
    Keep( nullptr, ERROR_SUCCESS, {} );
    m_ullGeneration = 0;
    m_pPage.store( nullptr );
    delete m_pPaths;
    m_pPaths = nullptr;
}

void RegStore::Close() noexcept
{
    const RegChangesPage* const pPage = m_pPage;
    Forget();
    if ( pPage != nullptr )
        munmap( const_cast<RegChangesPage*>( pPage ), REG_CHANGES_SIZE );
}

void CloseRegStores() noexcept
{
    for ( RegStore& rStore : g_aStores )
        rStore.Close();
}

// What is made on first use is made before the process forks: the child could wait for a lost thread to finish it.
void LockRegStores()
{
    GetRegBoot();
    RegImage::Empty()->Release();
    for ( RegStore& rStore : g_aStores )
        rStore.LockForFork();
}

void UnlockRegStores()
{
    for ( RegStore& rStore : g_aStores )
        rStore.UnlockAfterFork();
}

void ResetRegStoresInChild()
{
    for ( RegStore& rStore : g_aStores )
        rStore.ResetInChild();
}

void ForgetRegistryForTest() noexcept
{
    for ( RegStore& rStore : g_aStores )
        rStore.Forget();
}
