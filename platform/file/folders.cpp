// Folders, and what may be done with a path.
#include "platform/file/filecallscope.h"
#include "platform/file/filepath.h"

#include <fcntl.h>
#include <unistd.h>

namespace
{
constexpr mode_t NEW_FOLDER_MODE = S_IRWXU | S_IRWXG | S_IRWXO;

bool IsNoFolder( const FilePath& rPath ) noexcept
{
    struct stat aStatus;
    return lstat( rPath.Text(), &aStatus ) == 0 && !S_ISDIR( aStatus.st_mode );
}

// 0, or errno.
int CheckAccess( const FilePath& rPath, int nMode ) noexcept
{
    if ( faccessat( AT_FDCWD, rPath.Text(), nMode, nMode == F_OK ? 0 : AT_EACCESS ) != 0 )
        return errno == ENOTDIR ? ENOENT : errno;
    if ( nMode == F_OK || geteuid() != 0 )
        return 0;
    struct stat aStatus;
    if ( stat( rPath.Text(), &aStatus ) != 0 )
        return errno;
    const bool fAllowed = ( ( nMode & R_OK ) == 0 || ModeAllowsReading( aStatus ) ) &&
                          ( ( nMode & W_OK ) == 0 || ModeAllowsWriting( aStatus ) );
    return fAllowed ? 0 : EACCES;
}
} // namespace

BOOL CreateDirectoryA( LPCSTR pPath, LPSECURITY_ATTRIBUTES )
{
    const FileCallScope aScope;
    FilePath aPath;
    if ( !aPath.Set( pPath ) )
        return FALSE;
    if ( HasWildcards( aPath.LastPiece() ) )
        return FailWith( ERROR_INVALID_NAME );
    if ( mkdir( aPath.Text(), NEW_FOLDER_MODE ) == 0 )
        return TRUE;
    // All that can be missing is a folder on the way.
    return FailWith( errno == EEXIST   ? DWORD{ ERROR_ALREADY_EXISTS }
                     : errno == ENOENT ? DWORD{ ERROR_PATH_NOT_FOUND }
                                       : ErrnoToWin32( errno ) );
}

BOOL RemoveDirectoryA( LPCSTR pPath )
{
    const FileCallScope aScope;
    FilePath aPath;
    if ( !aPath.Set( pPath ) )
        return FALSE;
    if ( rmdir( aPath.Text() ) == 0 )
        return TRUE;
    const DWORD dwError = ErrorOfPath( aPath, errno );
    return FailWith( dwError == ERROR_PATH_NOT_FOUND && IsNoFolder( aPath ) ? DWORD{ ERROR_DIRECTORY }
                                                                            : dwError );
}

int _access( const char* pPath, int nMode )
{
    static_assert( R_OK == 4 && W_OK == 2 && F_OK == 0 );
    const DWORD dwLastError = GetLastError();
    int nErrno = ENOENT;
    {
        const FileCallScope aScope;
        FilePath aPath;
        if ( ( nMode & ~( R_OK | W_OK ) ) != 0 )
            nErrno = EINVAL;
        else if ( aPath.Set( pPath ) )
            nErrno = CheckAccess( aPath, nMode );
    }
    SetLastError( dwLastError );
    if ( nErrno == 0 )
        return 0;
    errno = nErrno;
    return -1;
}
