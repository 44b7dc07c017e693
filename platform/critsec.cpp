// Critical sections: one 64-bit word that names the owning thread, so that taking and giving back a free lock
// is one atomic instruction each. A waiter marks bit 0 and sleeps on the word's low half.
//
// The word holds the thread's own number and not the kernel's, because that number stays the same for the
// thread that survives a fork and is never given again: in the child a lock whose owner's number was lost is
// recognised and taken over.

#include "platform/futex.h"
#include "platform/threadstate.h"

#include <bxtools/platform.h>

#include <bit>

namespace
{
constexpr ULONGLONG WAITED_FOR = 1;

// As long as a short section takes on another processor; sleeping and waking costs some twenty times that.
constexpr int SPIN_ROUNDS = 40;

ULONGLONG OwnerOf( ULONGLONG ullWord ) noexcept
{
    return ullWord >> 1;
}

bool Replace( LPCRITICAL_SECTION pSection, ULONGLONG& rExpected, ULONGLONG ullNew ) noexcept
{
    return __atomic_compare_exchange_n( &pSection->m_ullOwner, &rExpected, ullNew, false, __ATOMIC_ACQUIRE,
                                        __ATOMIC_RELAXED );
}

const uint32_t* SleepingWord( LPCRITICAL_SECTION pSection ) noexcept
{
    constexpr size_t LOW_HALF = std::endian::native == std::endian::little ? 0 : 1;
    return reinterpret_cast<const uint32_t*>( &pSection->m_ullOwner ) + LOW_HALF;
}

void Pause() noexcept
{
#if defined( __x86_64__ ) || defined( __i386__ )
    __builtin_ia32_pause();
#endif
}

// One round of waiting: TRUE when the lock was free, or left behind by a thread that a fork lost, and is
// taken.
bool TakeIfFree( LPCRITICAL_SECTION pSection, ULONGLONG& rWord, ULONGLONG ullWanted ) noexcept
{
    if ( rWord == 0 )
        return Replace( pSection, rWord, ullWanted );
    if ( !WasLostInFork( OwnerOf( rWord ) ) || !Replace( pSection, rWord, ullWanted ) )
        return false;
    pSection->m_lRecursion = 0;
    return true;
}

void EnterContended( LPCRITICAL_SECTION pSection, ULONGLONG ullWord, ULONGLONG ullMine ) noexcept
{
    for ( int i = 0; i < SPIN_ROUNDS; ++i )
    {
        if ( TakeIfFree( pSection, ullWord, ullMine ) )
            return;
        Pause();
        ullWord = __atomic_load_n( &pSection->m_ullOwner, __ATOMIC_RELAXED );
    }
    // Who has slept takes the lock with the mark set, since others may still sleep.
    for ( ;; )
    {
        if ( TakeIfFree( pSection, ullWord, ullMine | WAITED_FOR ) )
            return;
        const ULONGLONG ullMarked = ullWord | WAITED_FOR;
        if ( ullWord != 0 && ( ullWord == ullMarked || Replace( pSection, ullWord, ullMarked ) ) )
        {
            FutexWait( SleepingWord( pSection ), static_cast<uint32_t>( ullMarked ) );
            ullWord = __atomic_load_n( &pSection->m_ullOwner, __ATOMIC_RELAXED );
        }
    }
}
} // namespace

void InitializeCriticalSection( LPCRITICAL_SECTION pSection )
{
    *pSection = CRITICAL_SECTION{};
}

BOOL InitializeCriticalSectionAndSpinCount( LPCRITICAL_SECTION pSection, DWORD )
{
    InitializeCriticalSection( pSection );
    return TRUE;
}

void EnterCriticalSection( LPCRITICAL_SECTION pSection )
{
    const ULONGLONG ullMine = GetThreadNumber() << 1;
    ULONGLONG ullWord = 0;
    if ( Replace( pSection, ullWord, ullMine ) )
        return;
    if ( ( ullWord | WAITED_FOR ) == ( ullMine | WAITED_FOR ) )
        ++pSection->m_lRecursion;
    else
        EnterContended( pSection, ullWord, ullMine );
}

BOOL TryEnterCriticalSection( LPCRITICAL_SECTION pSection )
{
    const ULONGLONG ullMine = GetThreadNumber() << 1;
    ULONGLONG ullWord = 0;
    if ( Replace( pSection, ullWord, ullMine ) )
        return TRUE;
    if ( ( ullWord | WAITED_FOR ) == ( ullMine | WAITED_FOR ) )
    {
        ++pSection->m_lRecursion;
        return TRUE;
    }
    // Sleepers of the parent are gone as well, but a mark too many costs no more than a wake-up for nobody.
    return TakeIfFree( pSection, ullWord, ullMine | WAITED_FOR ) ? TRUE : FALSE;
}

void LeaveCriticalSection( LPCRITICAL_SECTION pSection )
{
    if ( pSection->m_lRecursion > 0 )
    {
        --pSection->m_lRecursion;
        return;
    }
    const ULONGLONG ullWord = __atomic_exchange_n( &pSection->m_ullOwner, 0, __ATOMIC_RELEASE );
    if ( ( ullWord & WAITED_FOR ) != 0 )
        FutexWake( SleepingWord( pSection ), 1 );
}

void DeleteCriticalSection( LPCRITICAL_SECTION pSection )
{
    *pSection = CRITICAL_SECTION{};
}
