// The values are a page of the library's image, over which the namespace's file of them is mapped.
#include "core/guards.h"
#include "diag/sharedvalues.h"
#include "platform/fileroom.h"
#include "platform/namespacefolder.h"

#include <cstddef>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

// Nothing else stands on the page. The process's own values, zero, until it is shared.
struct alignas( 4096 ) SharedDebugValuesPage
{
    SharedDebugValues aValues;
    std::byte aRest[4096 - sizeof( SharedDebugValues )];
};
extern SharedDebugValuesPage g_aPage asm( "g_aSharedDebugValues" );
constinit SharedDebugValuesPage g_aPage{};

namespace
{

bool MakeRoom( int nFile, unsigned uMode ) noexcept
{
    constexpr off_t BLOCK = 512;
    struct stat aStatus;
    if ( fstat( nFile, &aStatus ) != 0 )
        return false;
    if ( aStatus.st_size >= static_cast<off_t>( sizeof( g_aPage ) ) &&
         aStatus.st_blocks * BLOCK >= static_cast<off_t>( sizeof( g_aPage ) ) )
        return true;
    // The mask may have taken bits away that the folder's group needs. Only the owner's call succeeds.
    fchmod( nFile, uMode );
    return MakeFileRoom( nFile, sizeof( g_aPage ) );
}

} // namespace

void ShareDebugValues() noexcept
{
    const LastErrorGuard aLastError;
    NamespacePath aPath;
    if ( sysconf( _SC_PAGESIZE ) != sizeof( g_aPage ) ||
         !FindInNamespace( NamespaceScope::Local, "values", aPath ) )
        return;
    const unsigned uMode = GetNamespaceFileMode( NamespaceScope::Local );
    const int nFile = open( aPath.data(), O_RDWR | O_CREAT | NAMESPACE_OPEN_FLAGS, uMode );
    if ( nFile < 0 )
        return;
    if ( MakeRoom( nFile, uMode ) )
        MapSharedFile( nFile, sizeof( g_aPage ), &g_aPage );
    close( nFile );
}
