#include "platform/registry/regtransaction.h"

#include "platform/errno_to_win32.h"
#include "platform/registry/regfolder.h"
#include "platform/registry/regimagewriter.h"
#include "platform/stopgate.h"

#include <bxtools/platform.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace
{
constexpr mode_t ANY_WRITE = S_IWUSR | S_IWGRP | S_IWOTH;
constexpr mode_t READ_AND_WRITE = 0666;

// A disk that cannot be written is no different from rights that one does not have.
LONG FromErrno() noexcept
{
    return errno == EROFS ? ERROR_ACCESS_DENIED : static_cast<LONG>( ErrnoToWin32( errno ) );
}

// Whether the user may change a file that exists. The system's own check always passes for root, so that the mode is
// looked at, too.
bool MayWrite( const std::string& strPath, struct stat& rStatus ) noexcept
{
    if ( stat( strPath.c_str(), &rStatus ) != 0 )
        return true;
    return ( rStatus.st_mode & ANY_WRITE ) != 0 &&
           faccessat( AT_FDCWD, strPath.c_str(), W_OK, AT_EACCESS ) == 0;
}

LONG CheckRights( const RegStorePaths& rPaths ) noexcept
{
    struct stat aStatus;
    return MayWrite( rPaths.strFolder, aStatus ) && MayWrite( rPaths.strImage, aStatus )
               ? ERROR_SUCCESS
               : ERROR_ACCESS_DENIED;
}

// Whoever may write into the folder may write the file.
mode_t ModeOfFiles( const RegStorePaths& rPaths ) noexcept
{
    struct stat aFolder;
    return stat( rPaths.strFolder.c_str(), &aFolder ) == 0 ? aFolder.st_mode & READ_AND_WRITE : 0600;
}

// Where the user's mask, or a change of the folder's mode, has made a difference.
void FollowFolder( int nFile, const RegStorePaths& rPaths ) noexcept
{
    struct stat aStatus;
    const mode_t nMode = ModeOfFiles( rPaths );
    if ( fstat( nFile, &aStatus ) == 0 && aStatus.st_uid == geteuid() &&
         ( aStatus.st_mode & READ_AND_WRITE ) != nMode )
        (void)fchmod( nFile, nMode );
}

// The new image belongs to whom the old one does, as far as the user can give it away.
void FollowImage( int nFile, const RegStorePaths& rPaths ) noexcept
{
    struct stat aOld;
    if ( stat( rPaths.strImage.c_str(), &aOld ) != 0 )
        return FollowFolder( nFile, rPaths );
    if ( fchown( nFile, aOld.st_uid, aOld.st_gid ) != 0 )
        (void)!fchown( nFile, static_cast<uid_t>( -1 ), aOld.st_gid );
    (void)fchmod( nFile, aOld.st_mode & READ_AND_WRITE );
}

// A number that no page before had, so that nobody takes an old image for the newest.
ULONGLONG FirstGeneration() noexcept
{
    timespec aNow;
    clock_gettime( CLOCK_REALTIME, &aNow );
    return ( static_cast<ULONGLONG>( aNow.tv_sec ) * 1000000000 + static_cast<ULONGLONG>( aNow.tv_nsec ) ) &
           ~1ull;
}

bool WaitForLock( int nFile ) noexcept
{
    struct flock aLock
    {
    };
    aLock.l_type = F_WRLCK;
    aLock.l_whence = SEEK_SET;
    int nResult;
    do
        nResult = fcntl( nFile, F_OFD_SETLKW, &aLock );
    while ( nResult != 0 && errno == EINTR );
    return nResult == 0;
}
} // namespace

// ---- the lock -------------------------------------------------------------------------------------------------------

LONG RegStoreLock::Take( RegStore& rStore )
{
    const RegStorePaths* const pPaths = rStore.GetPaths();
    if ( pPaths == nullptr )
        return ERROR_PATH_NOT_FOUND;
    RaiseStopGate();
    EnterCriticalSection( &rStore.GetWriteLock() );
    m_pStore = &rStore;
    const int nSavedErrno = errno;
    LONG lError = MakeRegFolder( pPaths->strFolder ) ? CheckRights( *pPaths ) : FromErrno();
    if ( lError == ERROR_SUCCESS )
        lError = Open( *pPaths );
    if ( lError == ERROR_SUCCESS )
        lError = MapPage();
    errno = nSavedErrno;
    if ( lError != ERROR_SUCCESS )
        Leave();
    return lError;
}

// The file may have been removed, and made anew by another writer, before the lock was had.
LONG RegStoreLock::Open( const RegStorePaths& rPaths ) noexcept
{
    do
    {
        const int nFile = m_pStore->OpenLockFile( ModeOfFiles( rPaths ) );
        if ( nFile < 0 )
            return FromErrno();
        FollowFolder( nFile, rPaths );
        if ( !WaitForLock( nFile ) )
            return FromErrno();
    } while ( !IsStillTheFile( rPaths ) );
    return ERROR_SUCCESS;
}

bool RegStoreLock::IsStillTheFile( const RegStorePaths& rPaths ) const noexcept
{
    struct stat aOpened;
    struct stat aNamed;
    return fstat( m_pStore->GetLockFile(), &aOpened ) == 0 &&
           stat( rPaths.strChanges.c_str(), &aNamed ) == 0 && aOpened.st_dev == aNamed.st_dev &&
           aOpened.st_ino == aNamed.st_ino;
}

LONG RegStoreLock::MapPage() noexcept
{
    const int nFile = m_pStore->GetLockFile();
    struct stat aStatus;
    if ( fstat( nFile, &aStatus ) != 0 )
        return FromErrno();
    if ( aStatus.st_size < static_cast<off_t>( REG_CHANGES_SIZE ) )
    {
        // All of it is there before it is mapped: a full disk must give an error and no signal.
        if ( const int nError = posix_fallocate( nFile, 0, static_cast<off_t>( REG_CHANGES_SIZE ) ) )
            return static_cast<LONG>( ErrnoToWin32( nError ) );
    }
    m_pPage = m_pStore->MapLockFile();
    if ( m_pPage == nullptr )
        return ERROR_NOT_ENOUGH_MEMORY;
    if ( std::memcmp( m_pPage->aMark, REG_CHANGES_MARK, sizeof( REG_CHANGES_MARK ) ) != 0 )
    {
        m_pPage->ullGeneration.store( FirstGeneration(), std::memory_order_release );
        std::memcpy( m_pPage->aMark, REG_CHANGES_MARK, sizeof( REG_CHANGES_MARK ) );
    }
    m_pStore->FollowPage( m_pPage->ullGeneration.load( std::memory_order_relaxed ) );
    return ERROR_SUCCESS;
}

void RegStoreLock::Leave() noexcept
{
    if ( m_pStore == nullptr )
        return;
    if ( m_pPage != nullptr && IsHeld() )
        munmap( m_pPage, REG_CHANGES_SIZE );
    m_pPage = nullptr;
    m_pStore->CloseLockFile();
    LeaveCriticalSection( &m_pStore->GetWriteLock() );
    m_pStore = nullptr;
    LowerStopGate();
}

void RegStoreLock::BeginReplacing() noexcept
{
    m_pPage->ullGeneration.store( m_pPage->ullGeneration.load( std::memory_order_relaxed ) | 1,
                                  std::memory_order_seq_cst );
}

ULONGLONG RegStoreLock::EndReplacing() noexcept
{
    const ULONGLONG ullGeneration = ( m_pPage->ullGeneration.load( std::memory_order_relaxed ) | 1 ) + 1;
    m_pPage->ullGeneration.store( ullGeneration, std::memory_order_seq_cst );
    return ullGeneration;
}

// ---- the change -----------------------------------------------------------------------------------------------------

LONG RegTransaction::Begin( RegStore& rStore )
{
    if ( const LONG lError = m_aLock.Take( rStore ) )
        return lError;
    m_pStore = &rStore;
    // What a killed writer has left behind.
    unlink( rStore.GetPaths()->strNext.c_str() );
    RegImage* pImage = nullptr;
    if ( const LONG lError = rStore.TakeNewestImage( pImage ) )
        return lError;
    m_aImage.Set( pImage );
    m_pTree = std::make_unique<RegTree>();
    return m_pTree->Load( *pImage );
}

LONG RegTransaction::Commit()
{
    if ( !m_aLock.IsHeld() )
        return ERROR_INVALID_HANDLE;
    RegImageWriter aWriter;
    if ( const LONG lError = aWriter.Plan( *m_pTree ) )
        return lError;
    const int nSavedErrno = errno;
    const RegStorePaths& rPaths = *m_pStore->GetPaths();
    const int nFile =
        open( rPaths.strNext.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600 );
    LONG lError = nFile >= 0 ? ERROR_SUCCESS : FromErrno();
    if ( lError == ERROR_SUCCESS )
    {
        FollowImage( nFile, rPaths );
        lError = aWriter.WriteTo( nFile );
        if ( lError == ERROR_SUCCESS && fdatasync( nFile ) != 0 )
            lError = FromErrno();
        if ( lError == ERROR_SUCCESS )
            lError = Replace( nFile );
        if ( lError != ERROR_SUCCESS )
            unlink( rPaths.strNext.c_str() );
        close( nFile );
    }
    errno = nSavedErrno;
    return lError;
}

LONG RegTransaction::Replace( int nFile )
{
    const RegStorePaths& rPaths = *m_pStore->GetPaths();
    struct stat aStatus;
    RegImage* pImage = nullptr;
    if ( fstat( nFile, &aStatus ) != 0 )
        return FromErrno();
    if ( const LONG lError = RegImage::FromFile( nFile, aStatus, pImage ) )
        return lError;
    pImage->MarkAllGood();
    unlink( rPaths.strPrevious.c_str() );
    (void)!link( rPaths.strImage.c_str(), rPaths.strPrevious.c_str() );

    m_aLock.BeginReplacing();
    const LONG lError =
        rename( rPaths.strNext.c_str(), rPaths.strImage.c_str() ) == 0 ? ERROR_SUCCESS : FromErrno();
    const ULONGLONG ullGeneration = m_aLock.EndReplacing();
    if ( lError == ERROR_SUCCESS )
        m_pStore->Install( pImage, RegFileIdentity::Of( aStatus ), ullGeneration );
    else
        pImage->Release();
    return lError;
}
