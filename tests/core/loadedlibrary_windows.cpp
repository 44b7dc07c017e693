#include "core/loadedlibrary.h"

#include <gtest/gtest.h>

#include <vector>

LoadedBXTools LoadBXTools()
{
    const HMODULE hLibrary = LoadLibraryA( BXTOOLS_LIBRARY );
    if ( hLibrary == NULL )
        ADD_FAILURE() << "error " << GetLastError();
    return hLibrary;
}

bool UnloadBXTools( LoadedBXTools hLibrary )
{
    return FreeLibrary( static_cast<HMODULE>( hLibrary ) );
}

bool IsBXToolsMapped()
{
    return GetModuleHandleA( BXTOOLS_LIBRARY ) != NULL;
}

void* FindBXToolsFunction( LoadedBXTools hLibrary, const char* pName )
{
    return reinterpret_cast<void*>( GetProcAddress( static_cast<HMODULE>( hLibrary ), pName ) );
}

int CountFreeThreadKeys()
{
    std::vector<DWORD> aSlots;
    for ( DWORD dwSlot = TlsAlloc(); dwSlot != TLS_OUT_OF_INDEXES; dwSlot = TlsAlloc() )
        aSlots.push_back( dwSlot );
    for ( const DWORD dwSlot : aSlots )
        TlsFree( dwSlot );
    return static_cast<int>( aSlots.size() );
}
