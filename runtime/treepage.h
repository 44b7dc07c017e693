// The pages of a tree file, as docs/formats.md draws them; numbers are little-endian.
//
// A leaf holds keys of one range, each with the place and the checksum of its text. They stand in the order of their hashes,
// so that a look at where a hash should be, and at most a few beside it, finds a key or tells that there is none. Pages above
// the leaves divide the range among their children and are searched by the first eight bytes of their keys as numbers. What
// the keys of a page begin with, all alike, stands in it once.
//
// Whatever stands in a page, no function here looks outside it or runs for ever; nonsense is RWFileErr or a wrong answer.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

class RWFileManager;

static_assert( std::endian::native == std::endian::little, "pages are mapped as they are" );

constexpr size_t TREE_PAGE_SIZE = 8192;
// The first two pages of a file, one the root of the last complete state, the other that of the state before.
constexpr uint32_t TREE_ROOTS = 2;
// More than enough for offsets of 31 bits.
constexpr unsigned MOST_TREE_LEVELS = 12;
// A page has room for several keys of that length.
constexpr size_t MOST_KEY_IN_PAGE = 1024;
constexpr char TREE_PAGE_MARK[8] = { 'B', 'X', 'T', 'R', 'E', 'E', '\r', 1 };

struct TreePageHead
{
    char aMark[8];
    uint64_t ullChecksum; // of what follows in the page
    uint32_t ulPage;      // the page's own number
    uint16_t usLevel;     // 0: a leaf
    uint16_t usEntries;
    uint16_t usPrefixPlace;
    uint16_t usPrefixLength;
    // Of a root only; 0 elsewhere.
    uint32_t ulKeyLength; // how many characters of a key stand in pages
    uint64_t ullSequence; // one more than that of the state before
    uint64_t ullKeys;     // in the tree
    uint32_t ulEnd;       // behind everything that belongs to the state
    uint32_t ulPages;     // of the tree, without its root
    uint64_t ullReserved;
};
static_assert( sizeof( TreePageHead ) == 64 );

// The part of a key that stands in no page: a text of its own.
struct TreeKeyRest
{
    int32_t lPlace = 0;
    uint32_t ulChecksum = 0;
};

// Set in the length of a key that goes on elsewhere; a TreeKeyRest stands behind its characters then.
constexpr uint16_t KEY_GOES_ON = 0x8000;

// An entry of a leaf.
struct LeafSlot
{
    uint32_t ulHash;     // of the whole key
    uint32_t ulText;     // the place of the text
    uint32_t ulChecksum; // of the text with its length
    uint16_t usPlace;    // of the key without the prefix, in the page
    uint16_t usLength;
};

// An entry of a page above the leaves, behind the heads of all entries. Its key, the child's first or less, is what the head
// and the characters at usPlace are together. The first entry has no key.
struct InnerSlot
{
    uint32_t ulChild;
    uint16_t usPlace; // of what follows the first eight characters
    uint16_t usLength;
};

struct TreePage
{
    TreePageHead aHead;
    alignas( 8 ) char aBytes[TREE_PAGE_SIZE - sizeof( TreePageHead )];
};
static_assert( sizeof( TreePage ) == TREE_PAGE_SIZE );

constexpr size_t TREE_HEAD_SIZE = sizeof( uint64_t );
constexpr size_t MOST_LEAF_SLOTS = sizeof( TreePage::aBytes ) / sizeof( LeafSlot );
constexpr size_t MOST_INNER_SLOTS = sizeof( TreePage::aBytes ) / ( sizeof( InnerSlot ) + TREE_HEAD_SIZE );

// A key that is looked for, or that is to be put into a page.
struct TreeKey
{
    std::string_view aInPage;    // its first characters; all of it unless it goes on
    bool fGoesOn = false;        // longer than what stands in pages
    std::string_view aRest = {}; // of one that goes on; where it is not at hand,
    TreeKeyRest aRestInFile = {};
};

// Negative, 0 or positive as the left key is before, equal to or after the right one.
int CompareTreeKeys( const TreeKey& rLeft, const TreeKey& rRight, RWFileManager& rFile );

uint64_t HashOfTreeKey( std::string_view aKey ) noexcept;
uint32_t ChecksumOfText( std::string_view aTextWithLength ) noexcept;
uint64_t ChecksumOfPage( const TreePage& rPage ) noexcept;

// Whether a page is as it was written, and is that one.
bool IsWholePage( const TreePage& rPage, uint32_t ulPage ) noexcept;

// How many characters two texts begin with alike.
size_t CommonLength( std::string_view aLeft, std::string_view aRight ) noexcept;

// The first eight characters of a text as a number that orders as they do; zeros stand for missing ones.
uint64_t HeadOfText( std::string_view aText ) noexcept;

// The entry of a key in a leaf, null where there is none.
const LeafSlot* FindInLeaf( const TreePage& rPage, const TreeKey& rKey, uint32_t ulHash,
                            RWFileManager& rFile );
// The number of the entry below which a key stands.
size_t FindChild( const TreePage& rPage, const TreeKey& rKey, RWFileManager& rFile );

// How many entries a page has; those that would not fit are not counted.
size_t CountSlots( const TreePage& rPage ) noexcept;
const LeafSlot* LeafSlots( const TreePage& rPage ) noexcept;
const uint64_t* InnerHeads( const TreePage& rPage ) noexcept;
const InnerSlot* InnerSlots( const TreePage& rPage ) noexcept;

// The key of an entry, put together in rCharacters.
TreeKey KeyOfLeafSlot( const TreePage& rPage, const LeafSlot& rSlot, std::string& rCharacters );
TreeKey KeyOfInnerSlot( const TreePage& rPage, size_t nSlot, std::string& rCharacters );
