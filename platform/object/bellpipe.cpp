#include "platform/object/bellpipe.h"

#include "platform/errno_to_win32.h"
#include "platform/futex.h"
#include "platform/highdescriptor.h"
#include "platform/textoutput.h"

#include <bxtools/platform.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <new>
#include <string_view>
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
    return static_cast<int>( syscall( SYS_openat, AT_FDCWD, pPath, nFlags | NAMESPACE_OPEN_FLAGS ) );
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
} // namespace

DWORD MakeSharedBellPipe( NamespaceScope eScope, SharedBellPipe& rPipe ) noexcept
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
        if ( nPipe >= 0 )
            rPipe = { nPipe, ullName, std::move( pPath ) };
    }
    return nPipe >= 0 ? 0 : ErrnoToWin32( -nPipe );
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
