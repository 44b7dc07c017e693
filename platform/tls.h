// What the rest of the layer needs of the thread-local slots.
#pragma once

#include "platform/threadstate.h"

#include <bxtools/wintypes.h>

#include <atomic>

typedef std::atomic<LPVOID> TlsValue;

// Split as on Windows: most programs never need more than the first part.
inline constexpr DWORD FIRST_TLS_SLOTS = 64;
inline constexpr DWORD MORE_TLS_SLOTS = 1024;
inline constexpr DWORD ALL_TLS_SLOTS = FIRST_TLS_SLOTS + MORE_TLS_SLOTS;

struct MoreTlsValues
{
    TlsValue aValues[MORE_TLS_SLOTS];
};

// The values of one thread.
struct TlsBlock
{
    TlsValue aValues[FIRST_TLS_SLOTS];
    std::atomic<MoreTlsValues*> pMore;
    TlsBlock* pNext;
    TlsBlock* pPrevious;
    bool fStays; // is kept for later threads
};

// Where a block keeps a slot's value; null when it never held one.
inline TlsValue* FindTlsValue( TlsBlock& rBlock, DWORD dwIndex ) noexcept
{
    if ( dwIndex < FIRST_TLS_SLOTS )
        return &rBlock.aValues[dwIndex];
    MoreTlsValues* const pMore = rBlock.pMore.load( std::memory_order_acquire );
    return pMore != nullptr ? &pMore->aValues[dwIndex - FIRST_TLS_SLOTS] : nullptr;
}

// TlsGetValue for the library's own use: it leaves the last error alone. Every use of a per-thread object comes this
// way, and nearly always finds it among the first slots.
inline LPVOID PeekTlsValue( DWORD dwIndex ) noexcept
{
    TlsBlock* const pBlock = t_aThreadState.pTlsBlock;
    if ( pBlock == nullptr )
        return nullptr;
    if ( dwIndex < FIRST_TLS_SLOTS ) [[likely]]
        return pBlock->aValues[dwIndex].load( std::memory_order_relaxed );
    const TlsValue* const pValue = dwIndex < ALL_TLS_SLOTS ? FindTlsValue( *pBlock, dwIndex ) : nullptr;
    return pValue != nullptr ? pValue->load( std::memory_order_relaxed ) : nullptr;
}

// Frees the calling thread's values; the slots then read null in it. Called at its end.
void ReleaseTlsOfThread() noexcept;
// Gives those of a thread that was ended by force to later threads; null is fine.
void KeepTlsBlock( TlsBlock* pBlock ) noexcept;

// Fork handlers. In the child the values of the parent's other threads are freed.
void LockTls();
void UnlockTls();
void ResetTlsInChild();
