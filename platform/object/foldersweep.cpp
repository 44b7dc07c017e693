#include "platform/object/foldersweep.h"

#include "platform/object/bell.h"
#include "platform/object/objectfile.h"

#include <cstring>
#include <dirent.h>

namespace
{
// Whether the file is no object any more; those who have it mapped know then, too.
bool GiveUp( ObjectFile& rFile, const ProcessSlot& rOwn ) noexcept
{
    const ObjectGuard aGuard( rFile.GetHeader() );
    if ( aGuard.IsGood() && rFile.GetHeader().eState == ObjectState::Live && rFile.HasLivingHolder( rOwn ) )
        return false;
    rFile.GetHeader().eState = ObjectState::Unlinked;
    return true;
}

void SweepObject( NamespaceScope eScope, const char* pLeaf, const ProcessSlot& rOwn ) noexcept
{
    ObjectLeaf aLeaf{};
    if ( std::strlen( pLeaf ) >= aLeaf.size() )
        return;
    std::strcpy( aLeaf.data(), pLeaf );
    ObjectFile aFile;
    const ObjectFile::Opening eOpening = aFile.Open( eScope, aLeaf, rOwn );
    if ( eOpening == ObjectFile::Opening::Damaged ||
         ( eOpening == ObjectFile::Opening::Done && GiveUp( aFile, rOwn ) ) )
        RemoveObjectFile( eScope, pLeaf );
}
} // namespace

void SweepFolder( NamespaceScope eScope, const ProcessSlot& rOwn ) noexcept
{
    NamespacePath aPath;
    DIR* const pFolder = FindInNamespace( eScope, ".", aPath ) ? opendir( aPath.data() ) : nullptr;
    while ( const dirent* const pEntry = pFolder != nullptr ? readdir( pFolder ) : nullptr )
    {
        if ( std::string_view( pEntry->d_name ).starts_with( OBJECT_LEAF ) )
            SweepObject( eScope, pEntry->d_name, rOwn );
    }
    if ( pFolder != nullptr )
        closedir( pFolder );
    SweepSharedBells( eScope );
}
