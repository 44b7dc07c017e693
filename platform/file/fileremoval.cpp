// Files that go away under their name: deleted, or renamed.
#include "platform/file/fileattempt.h"
#include "platform/file/filecallscope.h"
#include "platform/file/fileobject.h"
#include "platform/file/filepath.h"
#include "platform/forkhandlers.h"

#include <cstdio>
#include <sys/sendfile.h>

namespace
{
// Inside the gate, so that whoever is about to open the file finds it gone and not half-way; and claiming it for itself,
// for those whom the gate cannot keep out.
template <class Remove>
Attempt TryRemoving( const FilePath& rPath, const struct stat& rStatus, Remove aRemove ) noexcept
{
    ShareDescriptor aShare;
    if ( !aShare.Open( rPath, false ) && ( errno != EACCES || !aShare.Open( rPath, true ) ) )
        return FailAttempt( ErrorOfPath( rPath, errno ) );
    const ShareGate aGate( aShare );
    DWORD dwError = aGate.GetError();
    struct stat aOfPath;
    struct stat aOfShare;
    if ( dwError == ERROR_SUCCESS &&
         ( lstat( rPath.Text(), &aOfPath ) != 0 || !IsSameFile( aOfPath, rStatus ) ||
           fstat( aShare.Get(), &aOfShare ) != 0 || !IsSameFile( aOfShare, rStatus ) ) )
        return Attempt::Again;
    if ( dwError == ERROR_SUCCESS )
        dwError = aShare.Claim( CLAIM_DENIES_READS | CLAIM_DENIES_WRITES, CLAIM_READS | CLAIM_WRITES );
    if ( dwError != ERROR_SUCCESS )
        return FailAttempt( dwError );
    return aRemove() ? Attempt::Done : Attempt::Failed;
}

// Calls aRemove when what the path names is no open file. Links, folders and the like are never open.
//   fDeletes  folders and read-only files stay.
template <class Remove>
bool RemoveUnlessOpen( const FilePath& rPath, bool fDeletes, Remove aRemove ) noexcept
{
    InstallForkHandlers();
    const ForkHeldOff aForkHeldOff;
    return TryUntilSettled(
        [&]
        {
            struct stat aStatus;
            if ( lstat( rPath.Text(), &aStatus ) != 0 )
                return FailAttempt( ErrorOfPath( rPath, errno ) );
            const bool fFile = S_ISREG( aStatus.st_mode );
            if ( fDeletes && ( S_ISDIR( aStatus.st_mode ) || ( fFile && IsReadOnly( aStatus ) ) ) )
                return FailAttempt( ERROR_ACCESS_DENIED );
            if ( fFile )
                return TryRemoving( rPath, aStatus, aRemove );
            return aRemove() ? Attempt::Done : Attempt::Failed;
        } );
}

// What is left of a new file goes when it cannot be completed.
bool CopyData( int nFrom, int nTo, const struct stat& rStatus ) noexcept
{
    constexpr size_t AT_ONCE = 1u << 20;
    ssize_t nCopied = 0;
    do
        nCopied = Uninterrupted( [&] { return sendfile( nTo, nFrom, nullptr, AT_ONCE ); } );
    while ( nCopied > 0 );
    const timespec aTimes[] = { rStatus.st_atim, rStatus.st_mtim };
    // The copy is the mover's own, and must not run with the mover's rights because the old one ran with its owner's.
    return nCopied == 0 && fchmod( nTo, rStatus.st_mode & ACCESSPERMS ) == 0 &&
           futimens( nTo, aTimes ) == 0 && fsync( nTo ) == 0;
}

// Onto another file system.
bool MoveByCopying( const FilePath& rOld, const FilePath& rNew ) noexcept
{
    const DescriptorGuard aFrom(
        open( rOld.Text(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | O_NOFOLLOW ) );
    struct stat aStatus;
    if ( aFrom.Get() < 0 || fstat( aFrom.Get(), &aStatus ) != 0 )
        return FailForPath( rOld );
    if ( !S_ISREG( aStatus.st_mode ) )
        return FailWith( ERROR_NOT_SAME_DEVICE );
    const DescriptorGuard aTo(
        open( rNew.Text(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR ) );
    if ( aTo.Get() < 0 )
        return errno == EEXIST ? FailWith( ERROR_ALREADY_EXISTS ) : FailForPath( rNew );
    if ( CopyData( aFrom.Get(), aTo.Get(), aStatus ) && unlink( rOld.Text() ) == 0 )
        return true;
    const DWORD dwError = ErrnoToWin32( errno );
    unlink( rNew.Text() );
    return FailWith( dwError );
}

bool IsThere( const FilePath& rPath ) noexcept
{
    struct stat aStatus;
    return lstat( rPath.Text(), &aStatus ) == 0;
}

// Some file systems cannot refuse to overwrite in one step.
int RenameToNewName( const FilePath& rOld, const FilePath& rNew ) noexcept
{
    if ( renameat2( AT_FDCWD, rOld.Text(), AT_FDCWD, rNew.Text(), RENAME_NOREPLACE ) == 0 )
        return 0;
    if ( errno != EINVAL && errno != ENOSYS )
        return errno;
    if ( IsThere( rNew ) )
        return EEXIST;
    return rename( rOld.Text(), rNew.Text() ) == 0 ? 0 : errno;
}

bool Rename( const FilePath& rOld, const FilePath& rNew ) noexcept
{
    const int nErrno = RenameToNewName( rOld, rNew );
    if ( nErrno == 0 )
        return true;
    if ( nErrno == EXDEV )
        return MoveByCopying( rOld, rNew );
    if ( nErrno == EEXIST )
        return rOld.View() == rNew.View() || FailWith( ERROR_ALREADY_EXISTS );
    // The old name is there: what is missing is the new one's folder.
    return FailWith( nErrno == ENOENT ? DWORD{ ERROR_PATH_NOT_FOUND } : ErrorOfPath( rNew, nErrno ) );
}
} // namespace

BOOL DeleteFileA( LPCSTR pFileName )
{
    const FileCallScope aScope;
    FilePath aPath;
    return aPath.Set( pFileName ) &&
           RemoveUnlessOpen( aPath, true,
                             [&] { return unlink( aPath.Text() ) == 0 || FailForPath( aPath ); } );
}

BOOL MoveFileA( LPCSTR pOldName, LPCSTR pNewName )
{
    const FileCallScope aScope;
    FilePath aOld;
    FilePath aNew;
    if ( !aOld.Set( pOldName ) || !aNew.Set( pNewName ) )
        return FALSE;
    if ( HasWildcards( aNew.LastPiece() ) )
        return FailWith( ERROR_INVALID_NAME );
    return RemoveUnlessOpen( aOld, false, [&] { return Rename( aOld, aNew ); } );
}
