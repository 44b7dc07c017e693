#include "platform/object/viewtable.h"

#include "platform/locked.h"

#include <new>

namespace
{
struct View
{
    const void* pAddress;
    size_t nBytes;
    View* pNext;
};

constexpr size_t BUCKETS = 64;

constinit CRITICAL_SECTION g_aLock{};
constinit View* g_apBuckets[BUCKETS]{};

View*& BucketOf( const void* pAddress ) noexcept
{
    constexpr size_t PAGE = 4096;
    return g_apBuckets[reinterpret_cast<uintptr_t>( pAddress ) / PAGE % BUCKETS];
}
} // namespace

bool AddView( const void* pView, size_t nBytes ) noexcept
{
    View* const pNew = new ( std::nothrow ) View{ pView, nBytes, nullptr };
    if ( pNew == nullptr )
    {
        SetLastError( ERROR_NOT_ENOUGH_MEMORY );
        return false;
    }
    const LockedScope aLocked( g_aLock );
    View*& rpBucket = BucketOf( pView );
    pNew->pNext = rpBucket;
    rpBucket = pNew;
    return true;
}

bool FindView( const void* pView, size_t& rnBytes ) noexcept
{
    const LockedScope aLocked( g_aLock );
    const View* pFound = BucketOf( pView );
    while ( pFound != nullptr && pFound->pAddress != pView )
        pFound = pFound->pNext;
    if ( pFound == nullptr )
        return false;
    rnBytes = pFound->nBytes;
    return true;
}

bool RemoveView( const void* pView, size_t& rnBytes ) noexcept
{
    View* pFound = nullptr;
    {
        const LockedScope aLocked( g_aLock );
        View** ppLink = &BucketOf( pView );
        while ( *ppLink != nullptr && ( *ppLink )->pAddress != pView )
            ppLink = &( *ppLink )->pNext;
        pFound = *ppLink;
        if ( pFound != nullptr )
            *ppLink = pFound->pNext;
    }
    if ( pFound == nullptr )
        return false;
    rnBytes = pFound->nBytes;
    delete pFound;
    return true;
}

void LockViews()
{
    EnterCriticalSection( &g_aLock );
}

void UnlockViews()
{
    LeaveCriticalSection( &g_aLock );
}
