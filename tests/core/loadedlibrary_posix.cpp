#include "core/loadedlibrary.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <fstream>
#include <mutex>
#include <pthread.h>
#include <string>
#include <vector>

// The loader has such a lock itself, but a thread checker does not see it.
static std::mutex g_aLoaderLock;

LoadedBXTools LoadBXTools()
{
    const std::lock_guard<std::mutex> aLock( g_aLoaderLock );
    void* pLibrary = dlopen( BXTOOLS_LIBRARY, RTLD_NOW | RTLD_LOCAL );
    if ( pLibrary == NULL )
        ADD_FAILURE() << dlerror();
    return pLibrary;
}

bool UnloadBXTools( LoadedBXTools hLibrary )
{
    const std::lock_guard<std::mutex> aLock( g_aLoaderLock );
    return dlclose( hLibrary ) == 0;
}

bool IsBXToolsMapped()
{
    std::ifstream aMaps( "/proc/self/maps" );
    for ( std::string strLine; std::getline( aMaps, strLine ); )
    {
        if ( strLine.find( "libbxtools" ) != std::string::npos )
            return true;
    }
    return false;
}

void* FindBXToolsFunction( LoadedBXTools hLibrary, const char* pName )
{
    return dlsym( hLibrary, pName );
}

int CountFreeThreadKeys()
{
    std::vector<pthread_key_t> aKeys;
    for ( pthread_key_t aKey; pthread_key_create( &aKey, NULL ) == 0; )
        aKeys.push_back( aKey );
    for ( const pthread_key_t aKey : aKeys )
        pthread_key_delete( aKey );
    return static_cast<int>( aKeys.size() );
}
