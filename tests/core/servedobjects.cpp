#include "core/servedobjects.h"

#include <atomic>
#include <mutex>
#include <utility>

namespace
{

std::mutex g_aMutex;
std::vector<std::string> g_aServed;
std::atomic<long> g_lCount{ 0 };

void Record( const std::string& strWhat )
{
    const std::lock_guard<std::mutex> aLock( g_aMutex );
    g_aServed.push_back( strWhat );
}

LPVOID Make( const char* pName )
{
    ++g_lCount;
    Record( std::string( "+" ) + pName );
    return new std::string( pName );
}

BOOL Destroy( LPVOID pObject )
{
    std::string* pName = static_cast<std::string*>( pObject );
    Record( pName != NULL ? "-" + *pName : "null" );
    if ( pName == NULL )
        return FALSE;
    --g_lCount;
    delete pName;
    return TRUE;
}

} // namespace

std::vector<std::string> TakeServed()
{
    const std::lock_guard<std::mutex> aLock( g_aMutex );
    return std::exchange( g_aServed, {} );
}

long ServedCount()
{
    return g_lCount;
}

// clang-format off
LPVOID DLL_EXPORT CreateA() { return Make( "a" ); }
LPVOID DLL_EXPORT CreateB() { return Make( "b" ); }
BOOL DLL_EXPORT DeleteA( LPVOID pObject ) { return Destroy( pObject ); }
BOOL DLL_EXPORT DeleteB( LPVOID pObject ) { return Destroy( pObject ); }
// clang-format on
