#include "platform/highdescriptor.h"
#include "platform/object/processlayout.h"
#include "platform/object/processslots.h"

#include <cerrno>

bool VisitProcesses( NamespaceScope eScope, ProcessVisitor& rVisitor )
{
    NamespacePath aPath;
    if ( !FindInNamespace( eScope, PROCESSES_LEAF, aPath ) )
        return false;
    int nDescriptor = open( aPath.data(), O_RDONLY | NAMESPACE_OPEN_FLAGS );
    if ( nDescriptor < 0 )
        return errno == ENOENT;
    for ( DWORD dwSlot = 0; dwSlot < MOST_PROCESSES; ++dwSlot )
    {
        struct
        {
            uint32_t uGeneration;
            uint32_t uProcess;
        } aRecord;
        if ( pread( nDescriptor, &aRecord, sizeof( aRecord ),
                    static_cast<off_t>( dwSlot * sizeof( aRecord ) ) ) != sizeof( aRecord ) )
            break;
        if ( aRecord.uProcess != 0 && IsLockedByOther( nDescriptor, AliveByte( dwSlot ) ) )
            rVisitor.OnProcess( { dwSlot, aRecord.uGeneration }, aRecord.uProcess );
    }
    CloseDescriptor( nDescriptor );
    return true;
}
