// Modules over the system's loader, whose handles ours are: a file has one of them however it is spelled. How
// often this process asked for a module through LoadLibraryA is counted here, and the loader holds it once
// for all of them, so that giving it back too often is noticed instead of taking away somebody else's use.

#include "platform/module/module.h"

#include "platform/locked.h"
#include "platform/module/loadergate.h"
#include "platform/module/modulepath.h"
#include "platform/threadend.h"

#include <bxtools/platform.h>

#include <algorithm>
#include <cstring>
#include <dlfcn.h>
#include <link.h>
#include <new>
#include <pthread.h>
#include <string>

namespace
{
struct LoadedModule
{
    void* pHandle;
    ULONG ulUses;
    LoadedModule* pNext;
};

constinit CRITICAL_SECTION g_aLock{};
constinit LoadedModule* g_pFirst = nullptr;

HMODULE ToModule( void* pHandle ) noexcept
{
    return static_cast<HMODULE>( pHandle );
}

LoadedModule** FindLink( const void* pHandle ) noexcept
{
    LoadedModule** ppLink = &g_pFirst;
    while ( *ppLink != nullptr && ( *ppLink )->pHandle != pHandle )
        ppLink = &( *ppLink )->pNext;
    return ppLink;
}

// Counts a use of what dlopen returned. Whatever this does, the loader's own count is right afterwards.
BOOL CountUse( void* pHandle ) noexcept
{
    bool fHeldAlready = true;
    bool fCounted = true;
    {
        const LockedScope aLocked( g_aLock );
        LoadedModule** const ppLink = FindLink( pHandle );
        if ( *ppLink != nullptr )
            ++( *ppLink )->ulUses;
        else if ( LoadedModule* const pNew = new ( std::nothrow ) LoadedModule{ pHandle, 1, nullptr } )
        {
            *ppLink = pNew;
            fHeldAlready = false;
        }
        else
            fCounted = false;
    }
    if ( fHeldAlready || !fCounted )
        dlclose( pHandle );
    return fCounted;
}

// Opens the first candidate that there is. A file that is there but cannot be loaded ends the search.
void* OpenFirst( LPCSTR pFileName, int nFlags, DWORD& rError )
{
    rError = ERROR_MOD_NOT_FOUND;
    for ( const std::string& aCandidate : ListLibraryCandidates( pFileName ) )
    {
        const bool fFile = aCandidate.find( '/' ) != std::string::npos;
        const LibraryFile eFile = fFile ? CheckLibraryFile( aCandidate ) : LibraryFile::Loadable;
        if ( eFile == LibraryFile::Missing )
            continue;
        if ( eFile == LibraryFile::NoLibrary )
        {
            rError = ERROR_BAD_EXE_FORMAT;
            return nullptr;
        }
        void* const pHandle = dlopen( aCandidate.c_str(), nFlags );
        if ( pHandle != nullptr || ( fFile && ( nFlags & RTLD_NOLOAD ) == 0 ) )
            return pHandle;
    }
    return nullptr;
}

void* OpenByName( LPCSTR pFileName, int nFlags ) noexcept
{
    DWORD dwError = ERROR_NOT_ENOUGH_MEMORY;
    void* pHandle = nullptr;
    try
    {
        const LoaderCall aCall;
        pHandle = OpenFirst( pFileName != nullptr ? pFileName : "", nFlags, dwError );
    }
    catch ( const std::bad_alloc& )
    {
        dwError = ERROR_NOT_ENOUGH_MEMORY;
    }
    if ( pHandle == nullptr )
        SetLastError( dwError );
    return pHandle;
}

struct ModuleSearch
{
    const void* pHandle;
    bool fFound;
};

// Runs once, under the lock that keeps the loader's list of modules as it is; the thread sanitizer does not
// see that lock.
__attribute__( ( no_sanitize( "thread" ) ) ) int SearchLoaderList( dl_phdr_info*, size_t, void* pArgument )
{
    ModuleSearch* const pSearch = static_cast<ModuleSearch*>( pArgument );
    for ( const link_map* pMap = _r_debug.r_map; pMap != nullptr && !pSearch->fFound; pMap = pMap->l_next )
        pSearch->fFound = pMap == pSearch->pHandle;
    return 1;
}

// The loader's record of a module; null, with error 126, when the handle is none. Handles are the addresses
// of such records, but not to be touched before they were found in the loader's list.
const link_map* FindMap( HMODULE hModule ) noexcept
{
    const link_map* const pMap =
        hModule != nullptr ? reinterpret_cast<const link_map*>( hModule ) : _r_debug.r_map;
    ModuleSearch aSearch{ pMap, false };
    {
        const LoaderCall aCall;
        dl_iterate_phdr( SearchLoaderList, &aSearch );
    }
    if ( aSearch.fFound )
        return pMap;
    SetLastError( ERROR_MOD_NOT_FOUND );
    return nullptr;
}

// The loader also finds names in what a module depends on; a module's own are meant.
bool IsDefinedIn( const void* pAddress, const link_map* pMap ) noexcept
{
    Dl_info aInfo{};
    link_map* pDefining = nullptr;
    if ( dladdr1( pAddress, &aInfo, reinterpret_cast<void**>( &pDefining ), RTLD_DL_LINKMAP ) == 0 )
        return true;
    return pDefining == pMap;
}

DWORD CopyPath( const std::string& aPath, LPSTR pFileName, DWORD dwSize ) noexcept
{
    const bool fFits = aPath.size() < dwSize;
    const size_t nLength = fFits ? aPath.size() : dwSize - 1;
    memcpy( pFileName, aPath.data(), nLength );
    pFileName[nLength] = '\0';
    SetLastError( fFits ? ERROR_SUCCESS : ERROR_INSUFFICIENT_BUFFER );
    return fFits ? static_cast<DWORD>( nLength ) : dwSize;
}
} // namespace

HMODULE LoadLibraryA( LPCSTR pFileName )
{
    void* const pHandle = OpenByName( pFileName, RTLD_NOW | RTLD_LOCAL );
    if ( pHandle == nullptr )
        return nullptr;
    const LoaderCall aCall;
    if ( CountUse( pHandle ) )
        return ToModule( pHandle );
    SetLastError( ERROR_NOT_ENOUGH_MEMORY );
    return nullptr;
}

BOOL FreeLibrary( HMODULE hModule )
{
    LoadedModule* pUnused = nullptr;
    {
        const LockedScope aLocked( g_aLock );
        LoadedModule** const ppLink = FindLink( hModule );
        if ( *ppLink == nullptr )
        {
            SetLastError( hModule != nullptr ? ERROR_MOD_NOT_FOUND : ERROR_INVALID_HANDLE );
            return FALSE;
        }
        if ( --( *ppLink )->ulUses > 0 )
            return TRUE;
        pUnused = *ppLink;
        *ppLink = pUnused->pNext;
    }
    const LoaderCall aCall;
    dlclose( pUnused->pHandle );
    delete pUnused;
    return TRUE;
}

FARPROC GetProcAddress( HMODULE hModule, LPCSTR pProcName )
{
    const link_map* const pMap = FindMap( hModule );
    if ( pMap == nullptr )
        return nullptr;
    void* const pAddress = pProcName != nullptr ? dlsym( const_cast<link_map*>( pMap ), pProcName ) : nullptr;
    if ( pAddress != nullptr && IsDefinedIn( pAddress, pMap ) )
        return reinterpret_cast<FARPROC>( pAddress );
    SetLastError( ERROR_PROC_NOT_FOUND );
    return nullptr;
}

HMODULE GetModuleHandleA( LPCSTR pModuleName )
{
    if ( pModuleName == nullptr )
        return ToModule( _r_debug.r_map );
    const LoaderCall aCall;
    void* const pHandle = OpenByName( pModuleName, RTLD_LAZY | RTLD_NOLOAD );
    if ( pHandle != nullptr )
        dlclose( pHandle );
    return ToModule( pHandle );
}

DWORD GetModuleFileNameA( HMODULE hModule, LPSTR pFileName, DWORD dwSize )
{
    const link_map* const pMap = FindMap( hModule );
    if ( pMap == nullptr )
        return 0;
    if ( dwSize == 0 || pFileName == nullptr )
    {
        SetLastError( ERROR_INSUFFICIENT_BUFFER );
        return 0;
    }
    try
    {
        return CopyPath( pMap == _r_debug.r_map ? GetProgramPath() : MakeAbsolute( pMap->l_name ), pFileName,
                         dwSize );
    }
    catch ( const std::bad_alloc& )
    {
        SetLastError( ERROR_NOT_ENOUGH_MEMORY );
        return 0;
    }
}

BOOL PinCurrentModule() noexcept
{
    Dl_info aInfo{};
    link_map* pMap = nullptr;
    if ( dladdr1( reinterpret_cast<const void*>( &PinCurrentModule ), &aInfo,
                  reinterpret_cast<void**>( &pMap ), RTLD_DL_LINKMAP ) == 0 )
        return FALSE;
    if ( pMap == _r_debug.r_map )
        return TRUE;
    const LoaderCall aCall;
    void* const pHandle = dlopen( pMap->l_name, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE );
    if ( pHandle == nullptr )
        return FALSE;
    dlclose( pHandle );
    return TRUE;
}

void LockModules()
{
    EnterCriticalSection( &g_aLock );
}

void UnlockModules()
{
    LeaveCriticalSection( &g_aLock );
}
