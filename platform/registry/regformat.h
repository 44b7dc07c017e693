// The bytes of a registry image, as docs/formats.md draws them; numbers are little-endian.
//
// A key is one piece of the file with everything that stands below it inside: a block that describes it, the data of its
// values, and its subkeys, one directly behind the other. All places are counted from the key's own first byte. So a
// subtree in which nothing has changed is copied into the next image as it is, and a check that follows the file down can
// neither run in a circle nor come to the same byte twice.
#pragma once

#include <bxtools/wintypes.h>

#include <bit>
#include <cstddef>

static_assert( std::endian::native == std::endian::little, "images are mapped as they are" );

// The names of the four kinds of change, in the order of the bits REG_NOTIFY_CHANGE_...
constexpr size_t CHANGE_KINDS = 4;

constexpr BYTE REG_IMAGE_MARK[8] = { 'B', 'X', 'R', 'E', 'G', '\r', '\n', 0x1A };
constexpr DWORD REG_IMAGE_VERSION = 1;

// The root's is the first.
constexpr ULONGLONG FIRST_FREE_REG_ID = 2;

// Numbers of images and keys stay below it, so that none ever runs over.
constexpr ULONGLONG LAST_REG_NUMBER = 1ull << 62;

enum RegImageFlags : DWORD
{
    IMAGE_HAS_PASSING_KEYS = 1 // some keys are gone when the machine has started again
};

struct RegImageHead
{
    BYTE aMark[8];
    ULONGLONG ullChecksum; // of what follows in the head
    ULONGLONG ullFileSize;
    ULONGLONG ullSequence; // one more than that of the image before
    ULONGLONG ullNextId;   // of the next key that is made
    BYTE aBoot[16];        // the start of the machine in which the image was written
    DWORD dwVersion;
    DWORD dwFlags;
};
static_assert( sizeof( RegImageHead ) == 64 );

enum RegKeyFlags : DWORD
{
    KEY_IS_VOLATILE = 1, // goes with the machine's next start
    KEY_IS_LOADED = 2    // hung in by RegLoadKeyA; goes likewise
};

// Followed in the block by the entries of children and values, by the slots of both, and by the characters of: name,
// class, security descriptor, value names.
struct RegKeyHead
{
    ULONGLONG ullChecksum; // of what follows in the block
    ULONGLONG ullSize;     // of the key with everything below it
    ULONGLONG ullId;       // never given to another key of this image or a later one
    ULONGLONG ullLastWrite;
    ULONGLONG aullChanged[CHANGE_KINDS];      // the sequence number of the last change of the key itself
    ULONGLONG aullChangedBelow[CHANGE_KINDS]; // the same, of the key or anything below it
    DWORD dwBlockSize;
    DWORD dwFlags;
    DWORD dwNameSize;
    DWORD dwClassSize;
    DWORD dwSecuritySize; // 0: the default descriptor
    DWORD dwChildren;
    DWORD dwChildSlots;
    DWORD dwValues;
    DWORD dwValueSlots;
    DWORD dwLongestChild;
    DWORD dwLongestChildClass;
    DWORD dwLongestValueName;
    DWORD dwLongestValue;
    DWORD dwReserved;
};
static_assert( sizeof( RegKeyHead ) == 152 );

// Sorted by name.
struct RegChildEntry
{
    ULONGLONG ullOffset;
    ULONGLONG ullSize;
    DWORD dwHash;
    DWORD dwReserved;
};
static_assert( sizeof( RegChildEntry ) == 24 );

// In the order in which the values were made.
struct RegValueEntry
{
    ULONGLONG ullOffset;
    ULONGLONG ullChecksum; // of the data
    DWORD dwSize;
    DWORD dwType;
    DWORD dwHash;
    DWORD dwNameOffset;
    DWORD dwNameSize;
    DWORD dwReserved;
};
static_assert( sizeof( RegValueEntry ) == 40 );

// A slot holds a number of an entry, counted from one, or zero. A name's entry stands in the slot of its hash or in the
// next ones without a gap. Few entries have no slots.
using RegSlot = DWORD;
constexpr size_t MOST_WITHOUT_SLOTS = 8;

constexpr size_t CountRegSlots( size_t nEntries ) noexcept
{
    return nEntries <= MOST_WITHOUT_SLOTS ? 0 : std::bit_ceil( nEntries + nEntries / 2 );
}

// Everything in a file begins at a multiple of eight.
constexpr ULONGLONG AlignedInReg( ULONGLONG ullSize ) noexcept
{
    return ( ullSize + 7 ) & ~7ull;
}

// What detects damage: any change within eight bytes in a row changes it.
ULONGLONG ChecksumOfReg( const BYTE* pBytes, size_t nSize ) noexcept;
