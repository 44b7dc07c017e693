#include "platform/namespacefolder.h"

#include "platform/errno_to_win32.h"
#include "platform/locked.h"
#include "platform/textoutput.h"

#include <bxtools/platform.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr char SETTINGS_FILE[] = "/etc/bxtools/bxtools.conf";
constexpr std::string_view SETTING = "object_dir";
constexpr mode_t OWN_FOLDER = 0700;
constexpr mode_t GROUP_FOLDER = 02770;
constexpr mode_t ALL_MODE_BITS = 07777;

struct Folder
{
    bool fKnown;   // where it is
    bool fRefused; // and standard error said so
    bool fOfGroup;
    NamespacePath aPath;
};

constinit CRITICAL_SECTION g_aLock{};
constinit Folder g_aFolders[2]{};

std::string_view Trimmed( std::string_view aText ) noexcept
{
    constexpr std::string_view BLANKS = " \t\r\n";
    const size_t nFirst = aText.find_first_not_of( BLANKS );
    if ( nFirst == std::string_view::npos )
        return {};
    return aText.substr( nFirst, aText.find_last_not_of( BLANKS ) - nFirst + 1 );
}

bool CopyPath( std::string_view aFrom, NamespacePath& rTo ) noexcept
{
    if ( aFrom.empty() || aFrom.front() != '/' || aFrom.size() >= rTo.size() )
        return false;
    *std::copy( aFrom.begin(), aFrom.end(), rTo.begin() ) = '\0';
    return true;
}

// "object_dir = PATH" in a file that only root can have written.
bool ReadSettingsFile( NamespacePath& rPath ) noexcept
{
    std::array<char, 4096> aText;
    const int nFile = open( SETTINGS_FILE, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY | O_NONBLOCK );
    if ( nFile < 0 )
        return false;
    struct stat aStatus;
    const bool fTrusted = fstat( nFile, &aStatus ) == 0 && aStatus.st_uid == 0 &&
                          ( aStatus.st_mode & ( S_IWGRP | S_IWOTH ) ) == 0;
    const ssize_t nRead = fTrusted ? read( nFile, aText.data(), aText.size() ) : -1;
    close( nFile );
    std::string_view aLeft( aText.data(), nRead > 0 ? static_cast<size_t>( nRead ) : 0 );
    while ( !aLeft.empty() )
    {
        const std::string_view aLine = aLeft.substr( 0, aLeft.find( '\n' ) );
        aLeft.remove_prefix( std::min( aLine.size() + 1, aLeft.size() ) );
        const size_t nEquals = aLine.find( '=' );
        if ( nEquals != std::string_view::npos && Trimmed( aLine.substr( 0, nEquals ) ) == SETTING )
            return CopyPath( Trimmed( aLine.substr( nEquals + 1 ) ), rPath );
    }
    return false;
}

bool ReadEnvironment( NamespacePath& rPath ) noexcept
{
    const char* const pPath = secure_getenv( "BXTOOLS_OBJECT_DIR" );
    return pPath != nullptr && CopyPath( pPath, rPath );
}

void ChoosePath( NamespaceScope eScope, NamespacePath& rPath ) noexcept
{
    const bool fGlobal = eScope == NamespaceScope::Global;
    if ( fGlobal ? ReadSettingsFile( rPath ) || ReadEnvironment( rPath )
                 : ReadEnvironment( rPath ) || ReadSettingsFile( rPath ) )
        return;
    std::snprintf( rPath.data(), rPath.size(), "/dev/shm/bxtools-%u", static_cast<unsigned>( geteuid() ) );
}

DWORD Refuse( Folder& rFolder, std::string_view aReason ) noexcept
{
    if ( !rFolder.fRefused )
        WriteToStandardError(
            { "bxtools: named objects and debug messages of other processes cannot be had: the folder ",
              rFolder.aPath.data(), aReason, "\n" } );
    rFolder.fRefused = true;
    return ERROR_ACCESS_DENIED;
}

// 0, or the error of a use of the folder as it is now.
DWORD Check( Folder& rFolder ) noexcept
{
    struct stat aStatus;
    const bool fMissing = lstat( rFolder.aPath.data(), &aStatus ) != 0;
    if ( fMissing && mkdir( rFolder.aPath.data(), OWN_FOLDER ) != 0 && errno != EEXIST )
    {
        const int nError = errno;
        Refuse( rFolder, " cannot be made; name another one in BXTOOLS_OBJECT_DIR" );
        return ErrnoToWin32( nError );
    }
    if ( fMissing && lstat( rFolder.aPath.data(), &aStatus ) != 0 )
        return ErrnoToWin32( errno );
    if ( !S_ISDIR( aStatus.st_mode ) )
        return Refuse( rFolder, " is a link or a file; remove it" );
    const mode_t nMode = aStatus.st_mode & ALL_MODE_BITS;
    rFolder.fOfGroup = aStatus.st_uid == 0 && nMode == GROUP_FOLDER;
    if ( rFolder.fOfGroup )
        return 0;
    if ( aStatus.st_uid != geteuid() )
        return Refuse( rFolder, " belongs to another user; remove it" );
    if ( ( nMode & ~OWN_FOLDER ) != 0 )
        return Refuse( rFolder, " can be read or written by others; give it the mode 0700" );
    return 0;
}

bool MakeSure( Folder& rFolder, NamespaceScope eScope ) noexcept
{
    if ( !rFolder.fKnown )
    {
        ChoosePath( eScope, rFolder.aPath );
        rFolder.fRefused = false;
        rFolder.fKnown = true;
    }
    // Each time: somebody may have tidied it up meanwhile, and somebody else have made another one in its place.
    const DWORD dwRefusal = Check( rFolder );
    if ( dwRefusal != 0 )
        SetLastError( dwRefusal );
    return dwRefusal == 0;
}
} // namespace

bool FindInNamespace( NamespaceScope eScope, const char* pLeaf, NamespacePath& rPath ) noexcept
{
    const int nSavedErrno = errno;
    const LockedScope aLocked( g_aLock );
    Folder& rFolder = g_aFolders[static_cast<size_t>( eScope )];
    const bool fGood = MakeSure( rFolder, eScope );
    errno = nSavedErrno;
    if ( !fGood )
        return false;
    const size_t nFolder = std::strlen( rFolder.aPath.data() );
    const size_t nLeaf = std::strlen( pLeaf );
    if ( nFolder + 1 + nLeaf >= rPath.size() )
    {
        SetLastError( ERROR_FILENAME_EXCED_RANGE );
        return false;
    }
    std::memcpy( rPath.data(), rFolder.aPath.data(), nFolder );
    rPath[nFolder] = '/';
    std::memcpy( rPath.data() + nFolder + 1, pLeaf, nLeaf + 1 );
    return true;
}

unsigned GetNamespaceFileMode( NamespaceScope eScope ) noexcept
{
    const LockedScope aLocked( g_aLock );
    return g_aFolders[static_cast<size_t>( eScope )].fOfGroup ? 0660 : 0600;
}

void ForgetNamespaceForTest() noexcept
{
    const LockedScope aLocked( g_aLock );
    for ( Folder& rFolder : g_aFolders )
        rFolder.fKnown = false;
}
