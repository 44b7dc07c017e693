#include "runtime/treepage.h"

#include "runtime/checksum.h"
#include "runtime/rwfilemanager.h"

#include <algorithm>
#include <cstring>

namespace
{
constexpr uint64_t SUM_OF_PAGE = 0x42585401;
constexpr uint64_t SUM_OF_TEXT = 0x42585402;
constexpr uint64_t SUM_OF_KEY = 0x42585403;

[[noreturn]] void ThrowDamaged()
{
    throw RWFileErr( "RWBTreeOnDisk: a page of the file is damaged" );
}

// Characters that a page holds.
std::string_view InPage( const TreePage& rPage, size_t nPlace, size_t nLength )
{
    if ( nPlace > TREE_PAGE_SIZE || nLength > TREE_PAGE_SIZE - nPlace )
        ThrowDamaged();
    return { reinterpret_cast<const char*>( &rPage ) + nPlace, nLength };
}

std::string_view PrefixOf( const TreePage& rPage )
{
    return InPage( rPage, rPage.aHead.usPrefixPlace, rPage.aHead.usPrefixLength );
}

TreeKeyRest RestBehind( const TreePage& rPage, size_t nPlace )
{
    TreeKeyRest aRest;
    std::memcpy( &aRest, InPage( rPage, nPlace, sizeof( aRest ) ).data(), sizeof( aRest ) );
    return aRest;
}

int Compare( std::string_view aLeft, std::string_view aRight ) noexcept
{
    const size_t nCommon = std::min( aLeft.size(), aRight.size() );
    const int nOrder = nCommon == 0 ? 0 : std::memcmp( aLeft.data(), aRight.data(), nCommon );
    return nOrder != 0 ? nOrder : ( aLeft.size() > aRight.size() ) - ( aLeft.size() < aRight.size() );
}

// The rest of a key that goes on, kept in rCharacters where it comes from the file.
std::string_view RestOf( const TreeKey& rKey, std::string& rCharacters, RWFileManager& rFile )
{
    if ( rKey.aRestInFile.lPlace == 0 )
        return rKey.aRest;
    rCharacters = rFile.ViewText( rKey.aRestInFile );
    return rCharacters;
}

// How many of the heads are below one, found without a branch that the processor would have to guess.
size_t CountHeadsBelow( const uint64_t* pHeads, size_t nHeads, uint64_t ullHead ) noexcept
{
    const uint64_t* pFirst = pHeads;
    while ( nHeads > 1 )
    {
        const size_t nHalf = nHeads / 2;
        pFirst += ( pFirst[nHalf - 1] < ullHead ) * nHalf;
        nHeads -= nHalf;
    }
    return static_cast<size_t>( pFirst - pHeads ) + ( nHeads != 0 && *pFirst < ullHead );
}

// A key, its prefix taken away, beside that of an entry above the leaves.
int CompareBehindPrefix( const TreePage& rPage, const TreeKey& rKey, const InnerSlot& rSlot,
                         RWFileManager& rFile )
{
    const std::string_view aKey = rKey.aInPage.substr( rPage.aHead.usPrefixLength );
    const size_t nLength = rSlot.usLength & ~KEY_GOES_ON;
    // Heads are equal, so that of the shorter ones only the lengths can differ.
    if ( nLength <= TREE_HEAD_SIZE || aKey.size() <= TREE_HEAD_SIZE )
    {
        if ( aKey.size() != nLength )
            return aKey.size() < nLength ? -1 : 1;
    }
    else if ( const int nOrder = Compare( aKey.substr( TREE_HEAD_SIZE ),
                                          InPage( rPage, rSlot.usPlace, nLength - TREE_HEAD_SIZE ) ) )
        return nOrder;
    TreeKey aEntry;
    aEntry.fGoesOn = ( rSlot.usLength & KEY_GOES_ON ) != 0;
    if ( aEntry.fGoesOn )
        aEntry.aRestInFile =
            RestBehind( rPage, rSlot.usPlace + nLength - std::min( nLength, TREE_HEAD_SIZE ) );
    TreeKey aLooked = rKey;
    aLooked.aInPage = {};
    return CompareTreeKeys( aLooked, aEntry, rFile );
}

// The key of an entry whose characters have been put together; nPlace is behind them in the page.
TreeKey WholeKey( const TreePage& rPage, const std::string& strCharacters, uint16_t usLength, size_t nPlace )
{
    if ( strCharacters.size() > MOST_KEY_IN_PAGE )
        ThrowDamaged();
    TreeKey aKey{ strCharacters, ( usLength & KEY_GOES_ON ) != 0 };
    if ( aKey.fGoesOn )
        aKey.aRestInFile = RestBehind( rPage, nPlace );
    return aKey;
}

bool IsKeyOfSlot( const TreePage& rPage, const TreeKey& rKey, const LeafSlot& rSlot, RWFileManager& rFile )
{
    const size_t nLength = rSlot.usLength & ~KEY_GOES_ON;
    const std::string_view aPrefix = PrefixOf( rPage );
    if ( aPrefix.size() + nLength != rKey.aInPage.size() ||
         ( ( rSlot.usLength & KEY_GOES_ON ) != 0 ) != rKey.fGoesOn ||
         !rKey.aInPage.ends_with( InPage( rPage, rSlot.usPlace, nLength ) ) ||
         !rKey.aInPage.starts_with( aPrefix ) )
        return false;
    if ( !rKey.fGoesOn )
        return true;
    std::string strRest;
    return RestOf( rKey, strRest, rFile ) == rFile.ViewText( RestBehind( rPage, rSlot.usPlace + nLength ) );
}
} // namespace

int CompareTreeKeys( const TreeKey& rLeft, const TreeKey& rRight, RWFileManager& rFile )
{
    if ( const int nOrder = Compare( rLeft.aInPage, rRight.aInPage ) )
        return nOrder;
    if ( !rLeft.fGoesOn || !rRight.fGoesOn )
        return rLeft.fGoesOn - rRight.fGoesOn;
    std::string strLeft;
    std::string strRight;
    const std::string_view aLeft = RestOf( rLeft, strLeft, rFile );
    return Compare( aLeft, RestOf( rRight, strRight, rFile ) );
}

uint64_t HashOfTreeKey( std::string_view aKey ) noexcept
{
    return ChecksumOf( SUM_OF_KEY, aKey.data(), aKey.size() );
}

uint32_t ChecksumOfText( std::string_view aTextWithLength ) noexcept
{
    return static_cast<uint32_t>( ChecksumOf( SUM_OF_TEXT, aTextWithLength.data(), aTextWithLength.size() ) >>
                                  32 );
}

uint64_t ChecksumOfPage( const TreePage& rPage ) noexcept
{
    constexpr size_t FIRST = offsetof( TreePageHead, ulPage );
    return ChecksumOf( SUM_OF_PAGE, reinterpret_cast<const char*>( &rPage ) + FIRST, TREE_PAGE_SIZE - FIRST );
}

bool IsWholePage( const TreePage& rPage, uint32_t ulPage ) noexcept
{
    return std::memcmp( rPage.aHead.aMark, TREE_PAGE_MARK, sizeof( TREE_PAGE_MARK ) ) == 0 &&
           rPage.aHead.ulPage == ulPage && rPage.aHead.ullChecksum == ChecksumOfPage( rPage );
}

size_t CommonLength( std::string_view aLeft, std::string_view aRight ) noexcept
{
    const size_t nMost = std::min( aLeft.size(), aRight.size() );
    size_t nCommon = 0;
    for ( ; nMost - nCommon >= 8; nCommon += 8 )
    {
        const uint64_t ullDifference =
            Checksum::WordAt( aLeft.data() + nCommon ) ^ Checksum::WordAt( aRight.data() + nCommon );
        if ( ullDifference != 0 )
            return nCommon + static_cast<size_t>( std::countr_zero( ullDifference ) / 8 );
    }
    while ( nCommon < nMost && aLeft[nCommon] == aRight[nCommon] )
        ++nCommon;
    return nCommon;
}

uint64_t HeadOfText( std::string_view aText ) noexcept
{
    if ( aText.empty() )
        return 0;
    const size_t nSize = std::min( aText.size(), TREE_HEAD_SIZE );
    return __builtin_bswap64( nSize == TREE_HEAD_SIZE ? Checksum::WordAt( aText.data() )
                                                      : Checksum::LastWordAt( aText.data(), nSize ) );
}

size_t CountSlots( const TreePage& rPage ) noexcept
{
    return std::min<size_t>( rPage.aHead.usEntries,
                             rPage.aHead.usLevel == 0 ? MOST_LEAF_SLOTS : MOST_INNER_SLOTS );
}

const LeafSlot* LeafSlots( const TreePage& rPage ) noexcept
{
    return reinterpret_cast<const LeafSlot*>( rPage.aBytes );
}

const uint64_t* InnerHeads( const TreePage& rPage ) noexcept
{
    return reinterpret_cast<const uint64_t*>( rPage.aBytes );
}

const InnerSlot* InnerSlots( const TreePage& rPage ) noexcept
{
    return reinterpret_cast<const InnerSlot*>( rPage.aBytes + TREE_HEAD_SIZE * CountSlots( rPage ) );
}

const LeafSlot* FindInLeaf( const TreePage& rPage, const TreeKey& rKey, uint32_t ulHash,
                            RWFileManager& rFile )
{
    const LeafSlot* const pSlots = LeafSlots( rPage );
    const size_t nSlots = CountSlots( rPage );
    // Hashes are spread evenly, so that one stands where its share of the whole range is.
    size_t i = static_cast<size_t>( uint64_t{ ulHash } * nSlots >> 32 );
    while ( i > 0 && pSlots[i - 1].ulHash >= ulHash )
        --i;
    while ( i < nSlots && pSlots[i].ulHash < ulHash )
        ++i;
    for ( ; i < nSlots && pSlots[i].ulHash == ulHash; ++i )
    {
        rFile.Prefetch( pSlots[i].ulText );
        if ( IsKeyOfSlot( rPage, rKey, pSlots[i], rFile ) )
            return pSlots + i;
    }
    return nullptr;
}

size_t FindChild( const TreePage& rPage, const TreeKey& rKey, RWFileManager& rFile )
{
    const size_t nSlots = CountSlots( rPage );
    if ( nSlots == 0 )
        ThrowDamaged();
    const std::string_view aPrefix = PrefixOf( rPage );
    if ( const int nOrder = Compare( rKey.aInPage.substr( 0, aPrefix.size() ), aPrefix ) )
        return nOrder < 0 ? 0 : nSlots - 1;

    // The entries with the key's own head, behind the first one of all, which has no key.
    const uint64_t* const pHeads = InnerHeads( rPage ) + 1;
    const uint64_t ullHead = HeadOfText( rKey.aInPage.substr( aPrefix.size() ) );
    size_t nFirst = CountHeadsBelow( pHeads, nSlots - 1, ullHead );
    if ( nFirst == nSlots - 1 || pHeads[nFirst] != ullHead )
        return nFirst;
    size_t nCount = ullHead == UINT64_MAX
                        ? nSlots - 1 - nFirst
                        : CountHeadsBelow( pHeads + nFirst, nSlots - 1 - nFirst, ullHead + 1 );
    const InnerSlot* const pSlots = InnerSlots( rPage ) + 1;
    while ( nCount > 0 )
    {
        const size_t nHalf = nCount / 2;
        const bool fBehind = CompareBehindPrefix( rPage, rKey, pSlots[nFirst + nHalf], rFile ) >= 0;
        nFirst += fBehind ? nHalf + 1 : 0;
        nCount = fBehind ? nCount - nHalf - 1 : nHalf;
    }
    return nFirst;
}

TreeKey KeyOfLeafSlot( const TreePage& rPage, const LeafSlot& rSlot, std::string& rCharacters )
{
    const size_t nLength = rSlot.usLength & ~KEY_GOES_ON;
    rCharacters = PrefixOf( rPage );
    rCharacters += InPage( rPage, rSlot.usPlace, nLength );
    return WholeKey( rPage, rCharacters, rSlot.usLength, rSlot.usPlace + nLength );
}

TreeKey KeyOfInnerSlot( const TreePage& rPage, size_t nSlot, std::string& rCharacters )
{
    const InnerSlot& rSlot = InnerSlots( rPage )[nSlot];
    const size_t nLength = rSlot.usLength & ~KEY_GOES_ON;
    const size_t nInHead = std::min( nLength, TREE_HEAD_SIZE );
    const uint64_t ullHead = __builtin_bswap64( InnerHeads( rPage )[nSlot] );
    rCharacters = PrefixOf( rPage );
    rCharacters.append( reinterpret_cast<const char*>( &ullHead ), nInHead );
    rCharacters += InPage( rPage, rSlot.usPlace, nLength - nInHead );
    return WholeKey( rPage, rCharacters, rSlot.usLength, rSlot.usPlace + nLength - nInHead );
}
