#include "platform/object/handletable.h"

#include "platform/locked.h"

#include <bxtools/platform.h>

#include <atomic>
#include <new>

// A place in the table. m_ullState holds, from bit 0:
//
//   32 bits  how many uses are under way
//    1 bit   OPEN: there is a handle
//    1 bit   CLOSING: the handle was closed, and the object goes when no use is left
//   11 bits  generation, 1 to 2047
//
// A look-up counts itself as a use first and looks at OPEN and the generation then, in one atomic step, so
// that finding an object takes no lock; a use that turns out to be none is taken back. Whoever takes back the
// last use of a closing place frees it: the change from CLOSING to the next generation happens exactly once.
struct HandleSlot
{
    std::atomic<ULONGLONG> m_ullState;
    KernelObject* m_pObject;
    DWORD m_dwAccess;
    DWORD m_dwPlace;
    DWORD m_dwNextFree;
};

namespace
{
constexpr ULONGLONG ONE_USE = 1;
constexpr ULONGLONG USES = 0xFFFFFFFFull;
constexpr ULONGLONG OPEN = 1ull << 32;
constexpr ULONGLONG CLOSING = 1ull << 33;
constexpr unsigned GENERATION_SHIFT = 34;
constexpr DWORD LAST_GENERATION = 2047;

// A handle's bits: two zeros, 18 of the place, 11 of the generation.
constexpr unsigned PLACE_SHIFT = 2;
constexpr unsigned PLACE_BITS = 18;
constexpr DWORD PLACES = 1u << PLACE_BITS;
constexpr ULONG_PTR HANDLE_LIMIT = 1ull << 31;

// Places come in blocks that are never given back while there are calls, so that a stale handle still has a place to be
// looked up in.
constexpr DWORD BLOCK_PLACES = 256;
constexpr DWORD BLOCKS = PLACES / BLOCK_PLACES;
constexpr DWORD NO_PLACE = 0xFFFFFFFFu;

constinit std::atomic<HandleSlot*> g_apBlocks[BLOCKS]{};

// Guards what follows. Free places queue up, so that a place rests as long as possible before it serves
// again.
constinit CRITICAL_SECTION g_aLock{};
constinit DWORD g_dwBlocks = 0;
constinit DWORD g_dwFirstFree = NO_PLACE;
constinit DWORD g_dwLastFree = NO_PLACE;

DWORD GenerationOf( ULONGLONG ullState ) noexcept
{
    return static_cast<DWORD>( ullState >> GENERATION_SHIFT );
}

ULONGLONG NextGeneration( ULONGLONG ullState ) noexcept
{
    const DWORD dwGeneration = GenerationOf( ullState );
    return static_cast<ULONGLONG>( dwGeneration < LAST_GENERATION ? dwGeneration + 1 : 1 )
           << GENERATION_SHIFT;
}

HandleSlot* SlotAt( DWORD dwPlace ) noexcept
{
    HandleSlot* const pBlock = g_apBlocks[dwPlace / BLOCK_PLACES].load( std::memory_order_acquire );
    return pBlock != nullptr ? &pBlock[dwPlace % BLOCK_PLACES] : nullptr;
}

HANDLE ToHandle( DWORD dwPlace, ULONGLONG ullState ) noexcept
{
    const ULONG_PTR ulGeneration = GenerationOf( ullState );
    return reinterpret_cast<HANDLE>( ( ulGeneration << PLACE_BITS | dwPlace ) << PLACE_SHIFT );
}

// With the lock held.
void QueueFree( HandleSlot& rSlot ) noexcept
{
    rSlot.m_dwNextFree = NO_PLACE;
    if ( g_dwLastFree != NO_PLACE )
        SlotAt( g_dwLastFree )->m_dwNextFree = rSlot.m_dwPlace;
    else
        g_dwFirstFree = rSlot.m_dwPlace;
    g_dwLastFree = rSlot.m_dwPlace;
}

// With the lock held; the last error says why not.
bool AddBlock() noexcept
{
    HandleSlot* const pBlock =
        g_dwBlocks < BLOCKS ? new ( std::nothrow ) HandleSlot[BLOCK_PLACES]{} : nullptr;
    if ( pBlock == nullptr )
    {
        SetLastError( g_dwBlocks < BLOCKS ? ERROR_NOT_ENOUGH_MEMORY : ERROR_TOO_MANY_OPEN_FILES );
        return false;
    }
    g_apBlocks[g_dwBlocks].store( pBlock, std::memory_order_release );
    for ( DWORD i = 0; i < BLOCK_PLACES; ++i )
    {
        pBlock[i].m_ullState.store( 1ull << GENERATION_SHIFT, std::memory_order_relaxed );
        pBlock[i].m_dwPlace = g_dwBlocks * BLOCK_PLACES + i;
        QueueFree( pBlock[i] );
    }
    ++g_dwBlocks;
    return true;
}

DWORD TakeFreePlace() noexcept
{
    const LockedScope aLocked( g_aLock );
    if ( g_dwFirstFree == NO_PLACE && !AddBlock() )
        return NO_PLACE;
    const DWORD dwPlace = g_dwFirstFree;
    g_dwFirstFree = SlotAt( dwPlace )->m_dwNextFree;
    if ( g_dwFirstFree == NO_PLACE )
        g_dwLastFree = NO_PLACE;
    return dwPlace;
}

struct HandleParts
{
    HandleSlot* pSlot; // null: never was a handle
    DWORD dwGeneration;
};

HandleParts Split( HANDLE hObject ) noexcept
{
    const ULONG_PTR ulHandle = reinterpret_cast<ULONG_PTR>( hObject );
    if ( ulHandle >= HANDLE_LIMIT || ( ulHandle & ( ( 1u << PLACE_SHIFT ) - 1 ) ) != 0 )
        return { nullptr, 0 };
    const DWORD dwHandle = static_cast<DWORD>( ulHandle >> PLACE_SHIFT );
    return { SlotAt( dwHandle % PLACES ), dwHandle / PLACES };
}

void EndUse( HandleSlot& rSlot ) noexcept
{
    ULONGLONG ullState = rSlot.m_ullState.fetch_sub( ONE_USE, std::memory_order_acq_rel ) - ONE_USE;
    if ( ( ullState & ( USES | CLOSING ) ) != CLOSING )
        return;
    KernelObject* pObject = nullptr;
    {
        // A fork sees the place either with its object or free.
        const LockedScope aLocked( g_aLock );
        if ( !rSlot.m_ullState.compare_exchange_strong( ullState, NextGeneration( ullState ),
                                                        std::memory_order_acq_rel ) )
            return;
        pObject = rSlot.m_pObject;
        QueueFree( rSlot );
    }
    pObject->Release();
}

// Null, and nothing to end, when there is no such handle.
HandleSlot* BeginUse( HANDLE hObject ) noexcept
{
    const HandleParts aParts = Split( hObject );
    if ( aParts.pSlot == nullptr )
        return nullptr;
    const ULONGLONG ullState = aParts.pSlot->m_ullState.fetch_add( ONE_USE, std::memory_order_acq_rel );
    if ( ( ullState & OPEN ) != 0 && GenerationOf( ullState ) == aParts.dwGeneration )
        return aParts.pSlot;
    EndUse( *aParts.pSlot );
    return nullptr;
}

// TRUE for the one caller who closes it.
bool MarkClosing( HandleSlot& rSlot ) noexcept
{
    ULONGLONG ullState = rSlot.m_ullState.load( std::memory_order_relaxed );
    while ( ( ullState & OPEN ) != 0 )
    {
        if ( rSlot.m_ullState.compare_exchange_weak( ullState, ( ullState & ~OPEN ) | CLOSING,
                                                     std::memory_order_acq_rel ) )
            return true;
    }
    return false;
}

void ForgetSlotInChild( HandleSlot& rSlot ) noexcept
{
    const ULONGLONG ullState = rSlot.m_ullState.load( std::memory_order_relaxed );
    rSlot.m_ullState.store( NextGeneration( ullState ), std::memory_order_relaxed );
    QueueFree( rSlot );
    if ( ( ullState & ( OPEN | CLOSING ) ) == 0 )
        return;
    rSlot.m_pObject->AbandonInChild();
    rSlot.m_pObject->Release();
}
} // namespace

HANDLE MakeHandle( KernelObject* pObject, DWORD dwAccess ) noexcept
{
    const DWORD dwPlace = TakeFreePlace();
    if ( dwPlace == NO_PLACE )
    {
        const DWORD dwError = GetLastError();
        pObject->HandleClosed();
        pObject->Release();
        SetLastError( dwError );
        return nullptr;
    }
    HandleSlot& rSlot = *SlotAt( dwPlace );
    rSlot.m_pObject = pObject;
    rSlot.m_dwAccess = dwAccess;
    // Not a plain store: somebody may just be looking up a stale handle.
    return ToHandle( dwPlace, rSlot.m_ullState.fetch_or( OPEN, std::memory_order_acq_rel ) );
}

BOOL CloseHandleOfKind( HANDLE hObject, DWORD dwKinds ) noexcept
{
    const StopGate aGate;
    HandleSlot* const pSlot = BeginUse( hObject );
    const bool fClosed =
        pSlot != nullptr && ( pSlot->m_pObject->GetKind() & dwKinds ) != 0 && MarkClosing( *pSlot );
    const DWORD dwError = fClosed ? pSlot->m_pObject->FinishUse() : DWORD{ ERROR_INVALID_HANDLE };
    if ( fClosed )
        pSlot->m_pObject->HandleClosed();
    if ( pSlot != nullptr )
        EndUse( *pSlot );
    if ( dwError != ERROR_SUCCESS )
        SetLastError( dwError );
    return dwError == ERROR_SUCCESS;
}

BOOL CloseHandle( HANDLE hObject )
{
    return CloseHandleOfKind( hObject, KINDS_OF_CLOSE_HANDLE );
}

HandleUse::HandleUse( HANDLE hObject, DWORD dwKinds, DWORD dwAccess ) noexcept
    : m_pSlot( BeginUse( hObject ) )
{
    const bool fKind = m_pSlot != nullptr && ( m_pSlot->m_pObject->GetKind() & dwKinds ) != 0;
    if ( fKind && ( m_pSlot->m_dwAccess & dwAccess ) == dwAccess )
        return;
    SetLastError( fKind ? ERROR_ACCESS_DENIED : ERROR_INVALID_HANDLE );
    if ( m_pSlot != nullptr )
        EndUse( *m_pSlot );
    m_pSlot = nullptr;
}

HandleUse::~HandleUse()
{
    GiveBack();
}

void HandleUse::GiveBack() noexcept
{
    if ( m_pSlot != nullptr )
        EndUse( *m_pSlot );
}

KernelObject* HandleUse::FindObject() const noexcept
{
    return m_pSlot->m_pObject;
}

DWORD HandleUse::GetAccess() const noexcept
{
    return m_pSlot->m_dwAccess;
}

void CloseHandleTable() noexcept
{
    const LockedScope aLocked( g_aLock );
    while ( g_dwBlocks > 0 )
        delete[] g_apBlocks[--g_dwBlocks].exchange( nullptr );
    g_dwFirstFree = g_dwLastFree = NO_PLACE;
}

void LockHandleTable()
{
    EnterCriticalSection( &g_aLock );
}

void UnlockHandleTable()
{
    LeaveCriticalSection( &g_aLock );
}

void ResetHandleTableInChild()
{
    g_dwFirstFree = g_dwLastFree = NO_PLACE;
    for ( DWORD dwPlace = 0; dwPlace < g_dwBlocks * BLOCK_PLACES; ++dwPlace )
        ForgetSlotInChild( *SlotAt( dwPlace ) );
    UnlockHandleTable();
}
