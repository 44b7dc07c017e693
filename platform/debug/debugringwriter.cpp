#include "platform/debug/debugringwriter.h"

#include "platform/debug/debugring.h"
#include "platform/locked.h"
#include "platform/nocancellation.h"

#include <bxtools/platform.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <unistd.h>

namespace
{
constexpr uint64_t NANOSECONDS = 1000000000;

// A late writer leaves a slot alone that belongs to a newer message. A state further ahead is no writer's but damage.
constexpr uint64_t NEWEST_STATE = 2 * 4 * DEBUG_RING_SLOTS;

enum class RingUse
{
    NotTried,
    Mapped,
    None
};

// The ring is mapped over this. It is part of the library's image, so it is where it is until the library is unmapped,
// whoever still writes while the process ends.
alignas( 4096 ) constinit std::byte g_aPlace[sizeof( DebugRing )]{};

constinit CRITICAL_SECTION g_aLock{};
constinit std::atomic<RingUse> g_eUse{ RingUse::NotTried };
constinit DebugRingFile g_aFile{};
constinit std::atomic<uint64_t> g_ullLooked{ 0 };
constinit std::array<char, sizeof( DebugPiece::szProcess )> g_aProcessName{};

DebugRing& TheRing() noexcept
{
    return *reinterpret_cast<DebugRing*>( g_aPlace );
}

RingUse MapNamespaceRing() noexcept
{
    const NoCancellation aNoCancellation;
    const int nFile = OpenDebugRingFile( g_aFile );
    if ( nFile < 0 )
        return RingUse::None;
    const DebugRing* const pRing = MapDebugRing( nFile, g_aPlace );
    close( nFile );
    return pRing != nullptr ? RingUse::Mapped : RingUse::None;
}

[[gnu::noinline]] RingUse FindRing() noexcept
{
    const LockedScope aLocked( g_aLock );
    RingUse eUse = g_eUse.load( std::memory_order_acquire );
    if ( eUse != RingUse::NotTried )
        return eUse;
    const std::string_view aName( program_invocation_short_name );
    std::copy_n( aName.begin(), std::min( aName.size(), g_aProcessName.size() ), g_aProcessName.begin() );
    eUse = MapNamespaceRing();
    g_eUse.store( eUse, std::memory_order_release );
    return eUse;
}

// Somebody may have tidied the folder up: whoever looks for the ring now would not find ours.
[[gnu::noinline]] void LookForNewRing() noexcept
{
    const LockedScope aLocked( g_aLock );
    const NoCancellation aNoCancellation;
    if ( IsDebugRingFile( g_aFile ) )
        return;
    TheRing().nRetired.store( 1, std::memory_order_relaxed );
    RingDebugBell( TheRing() );
    // Other threads may be writing: what they write then stands half in each ring, and neither checksum fits.
    MapNamespaceRing();
}

uint64_t Now() noexcept
{
    timespec aNow{};
    clock_gettime( CLOCK_REALTIME, &aNow );
    return static_cast<uint64_t>( aNow.tv_sec ) * NANOSECONDS + static_cast<uint64_t>( aNow.tv_nsec );
}

void LookOnceASecond( uint64_t ullNow ) noexcept
{
    uint64_t ullLooked = g_ullLooked.load( std::memory_order_relaxed );
    if ( ullNow - ullLooked >= NANOSECONDS && g_ullLooked.compare_exchange_strong( ullLooked, ullNow ) &&
         ullLooked != 0 )
        LookForNewRing();
}

void Store( std::atomic<uint64_t>& rWord, uint64_t ullWord, DebugCheck& rCheck ) noexcept
{
    rCheck.Add( ullWord );
    // Releases, so that nothing of it is seen before the claim.
    rWord.store( ullWord, std::memory_order_release );
}

void StoreText( DebugSlot& rSlot, std::string_view aText, DebugCheck& rCheck ) noexcept
{
    std::atomic<uint64_t>* pWord = rSlot.aText;
    uint64_t ullWord;
    for ( ; aText.size() >= sizeof( ullWord ); aText.remove_prefix( sizeof( ullWord ) ) )
    {
        std::memcpy( &ullWord, aText.data(), sizeof( ullWord ) );
        Store( *pWord++, ullWord, rCheck );
    }
    if ( aText.empty() )
        return;
    ullWord = 0;
    std::memcpy( &ullWord, aText.data(), aText.size() );
    Store( *pWord, ullWord, rCheck );
}

// False: the slot belongs to a newer message already.
bool WritePiece( DebugSlot& rSlot, uint64_t ullNumber, DebugPiece& rPiece, std::string_view aText ) noexcept
{
    const uint64_t ullClaimed = DebugStateClaimed( ullNumber );
    const uint64_t ullAhead = rSlot.ullState.load( std::memory_order_relaxed ) - ullClaimed;
    if ( ullAhead != 0 && ullAhead < NEWEST_STATE )
        return false;
    rSlot.ullState.store( ullClaimed, std::memory_order_relaxed );
    rPiece.nLength = static_cast<uint32_t>( aText.size() );
    rPiece.nCheck = 0;
    DebugCheck aCheck( ullNumber );
    StoreText( rSlot, aText, aCheck );
    auto aWords = std::bit_cast<std::array<uint64_t, DEBUG_HEAD_WORDS>>( rPiece );
    for ( const uint64_t ullWord : aWords )
        aCheck.Add( ullWord );
    rPiece.nCheck = aCheck.Value();
    aWords = std::bit_cast<std::array<uint64_t, DEBUG_HEAD_WORDS>>( rPiece );
    for ( size_t i = 0; i < DEBUG_HEAD_WORDS; ++i )
        rSlot.aHead[i].store( aWords[i], std::memory_order_release );
    return true;
}

void WriteMessage( DebugRing& rRing, DebugPiece& rPiece, std::string_view aText ) noexcept
{
    const uint64_t ullFirst = rRing.ullNext.fetch_add( rPiece.nPieces, std::memory_order_relaxed );
    // The first piece comes last: when it can be read, the others can, too.
    for ( uint32_t i = rPiece.nPieces; i-- > 0; )
    {
        rPiece.nPiece = i;
        DebugSlot& rSlot = rRing.Slot( ullFirst + i );
        if ( !WritePiece( rSlot, ullFirst + i, rPiece,
                          aText.substr( i * DEBUG_PIECE_LENGTH, DEBUG_PIECE_LENGTH ) ) )
            continue;
        // An exchange, so that it is done before the look at the sleepers; they store first and look then.
        if ( i == 0 )
            rSlot.ullState.exchange( DebugStatePublished( ullFirst ) );
        else
            rSlot.ullState.store( DebugStatePublished( ullFirst + i ), std::memory_order_release );
    }
    if ( rRing.nAsleepAt.load() == rRing.nBell.load( std::memory_order_relaxed ) )
        RingDebugBell( rRing );
}
} // namespace

void WriteToDebugRing( std::string_view aText ) noexcept
{
    RingUse eUse = g_eUse.load( std::memory_order_acquire );
    if ( eUse == RingUse::NotTried )
        eUse = FindRing();
    if ( eUse == RingUse::None )
        return;
    const size_t nPieces = ( aText.size() + DEBUG_PIECE_LENGTH - 1 ) / DEBUG_PIECE_LENGTH;
    DebugPiece aPiece{};
    aPiece.ullTime = Now();
    LookOnceASecond( aPiece.ullTime );
    aPiece.dwProcess = GetCurrentProcessId();
    aPiece.dwThread = GetCurrentThreadId();
    aPiece.nPieces = static_cast<uint32_t>( std::clamp<size_t>( nPieces, 1, DEBUG_MOST_PIECES ) );
    aPiece.ullText = aText.size();
    std::memcpy( aPiece.szProcess, g_aProcessName.data(), sizeof( aPiece.szProcess ) );
    WriteMessage( TheRing(), aPiece, aText );
}

void ForgetDebugRingForTest() noexcept
{
    g_eUse.store( RingUse::NotTried, std::memory_order_release );
    g_ullLooked.store( 0, std::memory_order_relaxed );
}
