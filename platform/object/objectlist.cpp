#include "platform/object/objectlist.h"

#include "platform/errno_to_win32.h"
#include "platform/highdescriptor.h"
#include "platform/object/objectfile.h"
#include "platform/object/sharedlock.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <dirent.h>
#include <memory>

namespace
{
struct LivingProcesses final : ProcessVisitor
{
    void OnProcess( const ProcessSlot& rSlot, DWORD dwProcess ) override
    {
        aSlots.push_back( rSlot );
        aProcesses.push_back( dwProcess );
    }
    std::vector<ProcessSlot> aSlots;
    std::vector<DWORD> aProcesses;
};

std::string EventState( const ObjectHeader& rHeader )
{
    constexpr uint32_t SET = 1;
    return std::string( rHeader.uEvent == SET ? "set" : "not set" ) +
           ( rHeader.uManualReset != 0 ? ", manual reset" : ", automatic reset" );
}

std::string MutexState( const ObjectHeader& rHeader )
{
    const DWORD dwOwner = GetLockOwner( rHeader.aLock );
    if ( dwOwner != 0 )
        return "owned by thread " + std::to_string( dwOwner );
    return rHeader.uAbandoned != 0 || IsLockAbandoned( rHeader.aLock ) ? "abandoned" : "free";
}

std::string MappingState( const ObjectHeader& rHeader )
{
    return std::to_string( rHeader.ullDataBytes ) + " bytes" +
           ( rHeader.uReadOnly != 0 ? ", read-only" : "" );
}

struct KindTexts
{
    uint32_t uKind;
    const char* pName;
    std::string ( *pState )( const ObjectHeader& );
};

constexpr KindTexts g_aKinds[] = {
    { KIND_EVENT, "event", EventState },
    { KIND_MUTEX, "mutex", MutexState },
    { KIND_MAPPING, "mapping", MappingState },
};

// The pages of a file, as they stand at this moment.
bool ReadPages( const char* pPath, NamespaceScope eScope, ObjectPages& rPages )
{
    int nDescriptor = open( pPath, O_RDONLY | NAMESPACE_OPEN_FLAGS );
    off_t nBytes = 0;
    const bool fRead =
        nDescriptor >= 0 && IsObjectFile( nDescriptor, eScope, nBytes ) &&
        pread( nDescriptor, static_cast<void*>( &rPages ), sizeof( rPages ), 0 ) == sizeof( rPages );
    CloseDescriptor( nDescriptor );
    return fRead && HasGoodHeader( rPages.aHeader );
}

void Describe( const ObjectPages& rPages, const LivingProcesses& rProcesses,
               std::vector<ListedObject>& rObjects )
{
    const ObjectHeader& rHeader = rPages.aHeader;
    const auto pKind = std::find_if( std::begin( g_aKinds ), std::end( g_aKinds ),
                                     [&]( const KindTexts& rKind ) { return rKind.uKind == rHeader.uKind; } );
    if ( pKind == std::end( g_aKinds ) || rHeader.eState != ObjectState::Live )
        return;
    ListedObject aObject;
    aObject.strName.assign( rHeader.acName.data(), rHeader.uNameLength );
    aObject.strKind = pKind->pName;
    aObject.strState = pKind->pState( rHeader );
    for ( size_t i = 0; i < rProcesses.aSlots.size(); ++i )
    {
        const ProcessSlot& rSlot = rProcesses.aSlots[i];
        if ( rPages.auHolders[rSlot.dwSlot] == rSlot.dwGeneration )
            aObject.aHolders.push_back( rProcesses.aProcesses[i] );
    }
    aObject.dwWaiters = static_cast<DWORD>( std::count_if( rPages.aullBells.begin(), rPages.aullBells.end(),
                                                           []( const auto& rBell ) { return rBell != 0; } ) );
    const auto ullNow = static_cast<ULONGLONG>( std::time( nullptr ) );
    aObject.ullAge = ullNow > rHeader.ullMade ? ullNow - rHeader.ullMade : 0;
    rObjects.push_back( std::move( aObject ) );
}
} // namespace

bool ListObjects( NamespaceScope eScope, std::vector<ListedObject>& rObjects )
{
    rObjects.clear();
    NamespacePath aPath;
    LivingProcesses aProcesses;
    if ( !FindInNamespace( eScope, ".", aPath ) || !VisitProcesses( eScope, aProcesses ) )
        return false;
    const std::unique_ptr<DIR, int ( * )( DIR* )> pFolder( opendir( aPath.data() ), closedir );
    if ( pFolder == nullptr )
    {
        SetLastErrorFromErrno();
        return false;
    }
    const auto pPages = std::make_unique<ObjectPages>();
    while ( const dirent* const pEntry = readdir( pFolder.get() ) )
    {
        if ( std::string_view( pEntry->d_name ).starts_with( OBJECT_LEAF ) &&
             FindInNamespace( eScope, pEntry->d_name, aPath ) && ReadPages( aPath.data(), eScope, *pPages ) )
            Describe( *pPages, aProcesses, rObjects );
    }
    std::sort( rObjects.begin(), rObjects.end(),
               []( const ListedObject& rFirst, const ListedObject& rSecond )
               { return rFirst.strName < rSecond.strName; } );
    return true;
}
