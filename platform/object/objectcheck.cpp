#include "platform/object/objectfile.h"

#include <sys/stat.h>
#include <unistd.h>

bool IsObjectFile( int nDescriptor, NamespaceScope eScope, off_t& rnBytes ) noexcept
{
    constexpr mode_t RIGHTS = S_IRWXU | S_IRWXG | S_IRWXO;
    constexpr mode_t OWNER_ALONE = 0600;
    const mode_t nMode = GetNamespaceFileMode( eScope );
    struct stat aStatus;
    if ( fstat( nDescriptor, &aStatus ) != 0 )
        return false;
    rnBytes = aStatus.st_size;
    return S_ISREG( aStatus.st_mode ) && aStatus.st_nlink == 1 &&
           ( aStatus.st_mode & RIGHTS & ~nMode ) == 0 &&
           ( nMode != OWNER_ALONE || aStatus.st_uid == geteuid() ) &&
           aStatus.st_size >= static_cast<off_t>( sizeof( ObjectPages ) );
}

bool HasGoodHeader( const ObjectHeader& rHeader ) noexcept
{
    return rHeader.acMagic == OBJECT_MAGIC && rHeader.uVersion == OBJECT_VERSION &&
           rHeader.uNameLength <= MOST_NAME_CHARACTERS;
}
