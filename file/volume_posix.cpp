#include "file/volume.h"

#include <bxtools/platform.h>

#include <cerrno>
#include <climits>
#include <sys/stat.h>

namespace
{

// The path as the system takes it: callers may divide it by backslashes.
bool LookAt( LPCTSTR pPath, struct stat& rStatus )
{
    TCHAR szFullPath[PATH_MAX];
    const DWORD dwLength = GetFullPathNameA( pPath, sizeof( szFullPath ), szFullPath, NULL );
    return dwLength != 0 && dwLength < sizeof( szFullPath ) && stat( szFullPath, &rStatus ) == 0;
}

} // namespace

// Names are what they are, in every letter.
void AdaptToVolume( MString& ) {}

bool IsSameFile( LPCTSTR pOnePath, LPCTSTR pOtherPath )
{
    const int nErrno = errno;
    struct stat aOne;
    struct stat aOther;
    const bool fSame = LookAt( pOnePath, aOne ) && LookAt( pOtherPath, aOther ) &&
                       aOne.st_dev == aOther.st_dev && aOne.st_ino == aOther.st_ino;
    errno = nErrno;
    return fSame;
}
