#include "support/importedcall.h"

// A library calls its imports through a table of their addresses, which its header says the place of.
bool StandInForCall( const char* pLibrary, const char* pFunction, void* pStandIn )
{
    char* const pImage = reinterpret_cast<char*>( GetModuleHandleA( pLibrary ) );
    const LONG lHeaders = reinterpret_cast<IMAGE_DOS_HEADER*>( pImage )->e_lfanew;
    const IMAGE_DATA_DIRECTORY& rTable = reinterpret_cast<IMAGE_NT_HEADERS*>( pImage + lHeaders )
                                             ->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IAT];
    void** const pFirst = reinterpret_cast<void**>( pImage + rTable.VirtualAddress );
    void* const pReal =
        reinterpret_cast<void*>( GetProcAddress( GetModuleHandleA( "kernel32" ), pFunction ) );
    for ( void** pCall = pFirst; pCall != pFirst + rTable.Size / sizeof( void* ); ++pCall )
    {
        DWORD dwBefore = 0;
        if ( *pCall != pReal || !VirtualProtect( pCall, sizeof( void* ), PAGE_READWRITE, &dwBefore ) )
            continue;
        *pCall = pStandIn;
        return VirtualProtect( pCall, sizeof( void* ), dwBefore, &dwBefore ) != FALSE;
    }
    return false;
}
