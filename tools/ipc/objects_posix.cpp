#include "platform/object/objectlist.h"
#include "tools/errors/displaytext.h"
#include "tools/ipc/objects.h"
#include "tools/toolfailure.h"

#include <bxtools/platform.h>

std::vector<SharedObject> ReadSharedObjects( bool fGlobal )
{
    std::vector<ListedObject> aListed;
    if ( !ListObjects( fGlobal ? NamespaceScope::Global : NamespaceScope::Local, aListed ) )
        throw ToolFailure( ExitCode::Input, "the folder of named objects cannot be read: error " +
                                                std::to_string( GetLastError() ) );
    std::vector<SharedObject> aObjects;
    for ( const ListedObject& rListed : aListed )
        aObjects.push_back( { MakeVisible( rListed.strName ),
                              rListed.strKind,
                              rListed.strState,
                              rListed.aHolders,
                              {},
                              rListed.dwWaiters,
                              rListed.ullAge } );
    return aObjects;
}
