// Thread-local slots. A thread's values lie in one block, which the thread reaches through its own state; the
// blocks are chained, so that a slot can be emptied in all threads when it is reserved and when it is given
// back. Hence a read need not ask whether a value is still meant: it takes the pointer and the value.

#include "platform/tls.h"

#include "platform/locked.h"
#include "platform/threadend.h"

#include <bxtools/platform.h>

#include <bitset>
#include <new>
#include <utility>

namespace
{
// Guards the slots in use and the chain. The values themselves are read and written by their thread without
// it.
constinit CRITICAL_SECTION g_aLock{};
constinit std::bitset<ALL_TLS_SLOTS> g_aUsed;
constinit TlsBlock* g_pFirstBlock = nullptr;
// Blocks that no thread has, all empty. Those of threads that were ended by force are never freed, since that could need a lock of
// malloc which such a thread took along.
constinit std::atomic<TlsBlock*> g_pFirstSpare{ nullptr };

void EmptySlot( DWORD dwIndex ) noexcept
{
    for ( TlsBlock* pBlock = g_pFirstBlock; pBlock != nullptr; pBlock = pBlock->pNext )
    {
        if ( TlsValue* const pValue = FindTlsValue( *pBlock, dwIndex ) )
            pValue->store( nullptr, std::memory_order_relaxed );
    }
}

TlsBlock* TakeSpare() noexcept
{
    if ( g_pFirstSpare.load( std::memory_order_relaxed ) == nullptr )
        return nullptr;
    const LockedScope aLocked( g_aLock );
    TlsBlock* const pBlock = g_pFirstSpare;
    if ( pBlock != nullptr )
        g_pFirstSpare = std::exchange( pBlock->pNext, nullptr );
    return pBlock;
}

TlsBlock* MakeBlock() noexcept
{
    TlsBlock* pBlock = TakeSpare();
    if ( pBlock == nullptr )
        pBlock = new ( std::nothrow ) TlsBlock{};
    if ( pBlock == nullptr )
        return nullptr;
    const LockedScope aLocked( g_aLock );
    pBlock->pNext = g_pFirstBlock;
    if ( g_pFirstBlock != nullptr )
        g_pFirstBlock->pPrevious = pBlock;
    g_pFirstBlock = pBlock;
    t_aThreadState.pTlsBlock = pBlock;
    return pBlock;
}

// With the lock held.
void Unchain( TlsBlock& rBlock ) noexcept
{
    ( rBlock.pPrevious != nullptr ? rBlock.pPrevious->pNext : g_pFirstBlock ) = rBlock.pNext;
    if ( rBlock.pNext != nullptr )
        rBlock.pNext->pPrevious = rBlock.pPrevious;
}

void FreeBlock( TlsBlock* pBlock ) noexcept
{
    delete pBlock->pMore.load( std::memory_order_relaxed );
    delete pBlock;
}

// Where the calling thread keeps a slot's value, made on first use; null when memory is short.
TlsValue* MakeValue( DWORD dwIndex ) noexcept
{
    TlsBlock* pBlock = t_aThreadState.pTlsBlock;
    if ( pBlock == nullptr && ( pBlock = MakeBlock() ) == nullptr )
        return nullptr;
    if ( TlsValue* const pValue = FindTlsValue( *pBlock, dwIndex ) )
        return pValue;
    MoreTlsValues* const pMore = new ( std::nothrow ) MoreTlsValues{};
    if ( pMore == nullptr )
        return nullptr;
    pBlock->pMore.store( pMore, std::memory_order_release );
    return &pMore->aValues[dwIndex - FIRST_TLS_SLOTS];
}
} // namespace

DWORD TlsAlloc()
{
    const LockedScope aLocked( g_aLock );
    for ( DWORD dwIndex = 0; dwIndex < ALL_TLS_SLOTS; ++dwIndex )
    {
        if ( g_aUsed.test( dwIndex ) )
            continue;
        g_aUsed.set( dwIndex );
        EmptySlot( dwIndex );
        return dwIndex;
    }
    SetLastError( ERROR_NO_MORE_ITEMS );
    return TLS_OUT_OF_INDEXES;
}

BOOL TlsFree( DWORD dwIndex )
{
    const LockedScope aLocked( g_aLock );
    if ( dwIndex >= ALL_TLS_SLOTS || !g_aUsed.test( dwIndex ) )
    {
        SetLastError( ERROR_INVALID_PARAMETER );
        return FALSE;
    }
    g_aUsed.reset( dwIndex );
    EmptySlot( dwIndex );
    return TRUE;
}

LPVOID TlsGetValue( DWORD dwIndex )
{
    t_aThreadState.dwLastError = dwIndex < ALL_TLS_SLOTS ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
    return PeekTlsValue( dwIndex );
}

BOOL TlsSetValue( DWORD dwIndex, LPVOID pNewValue )
{
    if ( dwIndex >= ALL_TLS_SLOTS )
    {
        SetLastError( ERROR_INVALID_PARAMETER );
        return FALSE;
    }
    TlsBlock* const pBlock = t_aThreadState.pTlsBlock;
    TlsValue* pValue = pBlock != nullptr ? FindTlsValue( *pBlock, dwIndex ) : nullptr;
    if ( pNewValue != nullptr && ( pValue == nullptr || !t_aThreadState.fEndRequested ) )
    {
        pValue = MakeValue( dwIndex );
        if ( pValue == nullptr || !RequestThreadEnd() )
        {
            SetLastError( ERROR_NOT_ENOUGH_MEMORY );
            return FALSE;
        }
    }
    if ( pValue != nullptr )
        pValue->store( pNewValue, std::memory_order_relaxed );
    return TRUE;
}

void KeepTlsBlock( TlsBlock* pBlock ) noexcept
{
    if ( pBlock == nullptr )
        return;
    const LockedScope aLocked( g_aLock );
    Unchain( *pBlock );
    for ( DWORD dwIndex = 0; dwIndex < ALL_TLS_SLOTS; ++dwIndex )
    {
        if ( TlsValue* const pValue = FindTlsValue( *pBlock, dwIndex ) )
            pValue->store( nullptr, std::memory_order_relaxed );
    }
    pBlock->fStays = true;
    pBlock->pPrevious = nullptr;
    pBlock->pNext = g_pFirstSpare.exchange( pBlock );
}

void ReleaseTlsOfThread() noexcept
{
    TlsBlock* const pBlock = std::exchange( t_aThreadState.pTlsBlock, nullptr );
    if ( pBlock == nullptr || pBlock->fStays )
        return KeepTlsBlock( pBlock );
    {
        const LockedScope aLocked( g_aLock );
        Unchain( *pBlock );
    }
    FreeBlock( pBlock );
}

void LockTls()
{
    EnterCriticalSection( &g_aLock );
}

void UnlockTls()
{
    LeaveCriticalSection( &g_aLock );
}

void ResetTlsInChild()
{
    TlsBlock* const pOwn = t_aThreadState.pTlsBlock;
    for ( TlsBlock* pBlock = g_pFirstBlock; pBlock != nullptr; )
    {
        TlsBlock* const pNext = pBlock->pNext;
        if ( pBlock != pOwn )
            FreeBlock( pBlock );
        pBlock = pNext;
    }
    g_pFirstBlock = pOwn;
    if ( pOwn != nullptr )
        pOwn->pNext = pOwn->pPrevious = nullptr;
    UnlockTls();
}
