// Keys that were inserted and stand in no page yet: found by their hashes, and put in order when they are to be written.
// A key takes about 80 bytes beside its characters in pages, all tables counted.
#pragma once

#include "runtime/treepage.h"

#include <memory>
#include <vector>

class PendingKeys
{
public:
    struct Entry
    {
        uint32_t ulHash;
        uint32_t ulText; // as in a LeafSlot
        uint32_t ulChecksum;
        uint16_t usLength; // of the characters behind it; with KEY_GOES_ON a TreeKeyRest follows them
    };

    explicit PendingKeys( RWFileManager& rFile ) : m_rFile( rFile ) {}

    bool IsEmpty() const noexcept { return m_nKeys == 0; }
    size_t CountKeys() const noexcept { return m_nKeys; }
    // How much they take in pages at the most.
    uint64_t GetSizeInPages() const noexcept { return m_ullSizeInPages; }
    // Whether they take so much memory that they ought to be written.
    bool AreMany() const noexcept;

    // Whether a key comes behind all of them, as it always does where keys come in their order.
    bool IsBehindAll( const TreeKey& rKey ) const noexcept
    {
        return m_fInOrder && ( m_pLast == nullptr || KeyOf( *m_pLast ).aInPage < rKey.aInPage );
    }
    // NULL: the key is not among them.
    const Entry* Find( const TreeKey& rKey, uint32_t ulHash );
    // Adds a key that is not among them; the rest of one that goes on is in the file. Throws without a change.
    void Add( const TreeKey& rKey, const LeafSlot& rSlot );
    void Clear() noexcept;

    static TreeKey KeyOf( const Entry& rEntry ) noexcept;
    // All of them, in the order of their keys.
    std::vector<const Entry*> GetSorted() const;

private:
    struct Chunk
    {
        std::unique_ptr<char[]> pBytes;
        size_t nUsed;
    };
    struct Place
    {
        uint32_t ulHash;
        uint32_t ulEntry; // counted from one; 0: a free place
    };
    static constexpr unsigned CHUNK_BITS = 20;

    const Entry& EntryAt( uint32_t ulEntry ) const noexcept;
    Entry* NewEntry( uint16_t usLength );
    void PutInPlaces();

    RWFileManager& m_rFile;
    // A power of two, at most half of them taken. Whoever asks for nothing and keeps to the order needs none.
    std::vector<Place> m_aPlaces;
    size_t m_nInPlaces = 0;       // keys that have one, and
    uint32_t m_ulNextEntry = 1;   // where those begin that have none
    std::vector<Chunk> m_aChunks; // entries one behind the other, as they came
    size_t m_nKeys = 0;
    uint64_t m_ullSizeInPages = 0;
    const Entry* m_pLast = nullptr; // the greatest, as long as they come in their order
    bool m_fInOrder = true;
};
