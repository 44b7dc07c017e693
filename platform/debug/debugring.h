// The ring of debug messages: one file in the namespace folder, mapped by every process that writes or reads messages.
//
// A message stands in one slot, a long one in several that follow each other: its pieces. A writer takes numbers with one
// addition, fills the slots that belong to them and publishes each with its state word; it waits for nobody. Whatever is
// found in a slot is believed only when its state and its checksum say so, so a writer that is killed, or overtaken by the
// ring's next turn, costs its own message alone. Readers keep their positions for themselves.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <sys/types.h>

inline constexpr uint64_t DEBUG_RING_MAGIC = 0x31474E4952584200; // "\0BXRING1"
inline constexpr size_t DEBUG_RING_SLOTS = 16384;                // a power of two
inline constexpr size_t DEBUG_PIECE_LENGTH = 192;
// What is longer is cut, so that no message fills the ring alone.
inline constexpr size_t DEBUG_MOST_PIECES = DEBUG_RING_SLOTS / 4;

// What stands in front of a piece's text.
struct DebugPiece
{
    uint64_t ullTime; // nanoseconds since 1970
    uint32_t dwProcess;
    uint32_t dwThread;
    uint32_t nPiece; // from 0
    uint32_t nPieces;
    uint32_t nCheck;
    uint32_t nLength; // of this piece's text
    uint64_t ullText; // length of the whole text, more than the pieces hold where it was cut
    char szProcess[16];
};

inline constexpr size_t DEBUG_HEAD_WORDS = sizeof( DebugPiece ) / sizeof( uint64_t );
inline constexpr size_t DEBUG_TEXT_WORDS = DEBUG_PIECE_LENGTH / sizeof( uint64_t );

// Written and read in whole words, since a reader may look at a slot while it is being written.
struct DebugSlot
{
    std::atomic<uint64_t> ullState;
    std::atomic<uint64_t> aHead[DEBUG_HEAD_WORDS];
    std::atomic<uint64_t> aText[DEBUG_TEXT_WORDS];
};

struct DebugRing
{
    uint64_t ullMagic;
    uint32_t nSlotSize;
    uint32_t nSlots;
    std::atomic<uint32_t> nRetired; // not 0: another file has taken its place; look for that
    alignas( 64 ) std::atomic<uint64_t> ullNext;
    // A reader that is going to sleep stores here at which stroke of the bell. A writer rings only when the two are equal:
    // so a reader that is killed in its sleep costs one system call, not one for each message to come.
    alignas( 64 ) std::atomic<uint32_t> nBell;
    std::atomic<uint32_t> nAsleepAt;
    alignas( 4096 ) DebugSlot aSlots[DEBUG_RING_SLOTS];

    DebugSlot& Slot( uint64_t ullNumber ) noexcept { return aSlots[ullNumber % DEBUG_RING_SLOTS]; }
};
static_assert( sizeof( DebugSlot ) == 256 && sizeof( DebugRing ) == 4096 + DEBUG_RING_SLOTS * 256 );
static_assert( std::atomic<uint64_t>::is_always_lock_free && std::atomic<uint32_t>::is_always_lock_free );

// The states of the slot while message number ullNumber is written there, and when it can be read.
constexpr uint64_t DebugStateClaimed( uint64_t ullNumber ) noexcept
{
    return ullNumber << 1;
}
constexpr uint64_t DebugStatePublished( uint64_t ullNumber ) noexcept
{
    return ( ullNumber << 1 ) | 1;
}

// The sum over a slot's words: of two words, neither a change nor an exchange leaves it as it was.
class DebugCheck
{
public:
    explicit DebugCheck( uint64_t ullNumber ) noexcept : m_ullSum( ullNumber ), m_ullSums( ullNumber ) {}
    void Add( uint64_t ullWord ) noexcept
    {
        m_ullSum += ullWord;
        m_ullSums += m_ullSum;
    }
    uint32_t Value() const noexcept
    {
        const uint64_t ullBoth = ( m_ullSum ^ ( m_ullSums << 32 | m_ullSums >> 32 ) ) * 0x9E3779B97F4A7C15;
        return static_cast<uint32_t>( ullBoth >> 32 );
    }

private:
    uint64_t m_ullSum;
    uint64_t m_ullSums;
};

// The file of the ring, found or made; one that has another layout or size is replaced.
//   rIdentity  out: which file it is.
// Result: a descriptor for reading and writing, -1 on failure. Must not be cancelled.
struct DebugRingFile
{
    dev_t nDevice;
    ino_t nInode;
};
int OpenDebugRingFile( DebugRingFile& rIdentity ) noexcept;
// Whether the namespace's ring is still that file.
bool IsDebugRingFile( const DebugRingFile& rIdentity ) noexcept;

// Maps the file: anywhere, or in the place of what is mapped at pPlace. Null: what was there still is.
DebugRing* MapDebugRing( int nFile, void* pPlace ) noexcept;

// Wakes whoever sleeps at the bell's present stroke.
void RingDebugBell( DebugRing& rRing ) noexcept;
