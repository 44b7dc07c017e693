// Puts sorted keys into a tree: the pages that they belong to are written anew elsewhere, as full as may be, and so are those
// above them, up to the root.
#pragma once

#include "runtime/pendingkeys.h"
#include "runtime/rwfilemanager.h"

#include <span>

// A page of a level, and the key at which its range begins.
struct TreeChild
{
    std::string strKey;
    bool fGoesOn = false;
    TreeKeyRest aRest;
    uint32_t ulPage = 0;

    TreeKey GetKey() const noexcept { return { strKey, fGoesOn, {}, aRest }; }
};

// A key on its way into a page, with its text or its child. There may be as many of them as there are keys pending, so it is
// small.
struct TreeEntry
{
    TreeEntry( const TreeKey& rKey, uint32_t ulHashOfKey, uint32_t ulPlaceOf, uint32_t ulChecksumOf ) noexcept
        : pKey( rKey.aInPage.data() ),
          aRest( rKey.aRestInFile ),
          usLength( static_cast<uint16_t>( rKey.aInPage.size() | ( rKey.fGoesOn ? KEY_GOES_ON : 0 ) ) ),
          ulHash( ulHashOfKey ),
          ulPlace( ulPlaceOf ),
          ulChecksum( ulChecksumOf )
    {
    }
    std::string_view GetInPage() const noexcept { return { pKey, size_t( usLength & ~KEY_GOES_ON ) }; }
    TreeKey GetKey() const noexcept { return { GetInPage(), ( usLength & KEY_GOES_ON ) != 0, {}, aRest }; }

    const char* pKey;
    TreeKeyRest aRest;
    uint16_t usLength;
    uint32_t ulHash;
    uint32_t ulPlace; // of the text; or the child
    uint32_t ulChecksum;
};

class TreeWriter
{
public:
    using Keys = std::span<const PendingKeys::Entry* const>;

    explicit TreeWriter( RWFileManager& rFile ) : m_rFile( rFile ) {}

    // The tree below rRoot and the keys, none of which it has. When it throws, rRoot still is what it was, and its pages are.
    void Merge( TreePage& rRoot, Keys aKeys );

private:
    using Entries = std::span<const TreeEntry>;

    std::vector<TreeChild> MergePage( uint32_t ulPage, unsigned uLevel, Keys aKeys, const TreeChild& rLower );
    std::vector<TreeChild> MergeChildren( const TreePage& rPage, Keys aKeys );
    std::vector<TreeEntry> MergeLeaf( const TreePage& rPage, Keys aKeys,
                                      std::vector<std::string>& rCharacters );
    std::vector<TreeChild> WriteLevel( Entries aEntries, unsigned uLevel, const TreeChild& rLower );
    void WriteRoot( TreePage& rRoot, Entries aEntries, unsigned uLevel );

    RWFileManager& m_rFile;
    std::vector<uint32_t> m_aReplaced;
    uint32_t m_ulWritten = 0;
};
