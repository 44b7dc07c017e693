#include "runtime/treepagefill.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <numeric>

namespace
{
constexpr size_t ROOM = sizeof( TreePage::aBytes );

// What stands in a page behind the slots for a key whose first characters are the page's prefix.
size_t SizeOfKey( const TreeEntry& rEntry, size_t nPrefix, unsigned uLevel ) noexcept
{
    const size_t nLength = rEntry.GetInPage().size() - nPrefix;
    const size_t nInSlot = uLevel == 0 ? 0 : std::min( nLength, TREE_HEAD_SIZE );
    return nLength - nInSlot + ( ( rEntry.usLength & KEY_GOES_ON ) != 0 ? sizeof( TreeKeyRest ) : 0 );
}

constexpr size_t SizeOfSlot( unsigned uLevel ) noexcept
{
    return uLevel == 0 ? sizeof( LeafSlot ) : sizeof( InnerSlot ) + TREE_HEAD_SIZE;
}

// Entries that come into a page one after the other. Above the leaves the first one has no key there.
class Filling
{
public:
    explicit Filling( unsigned uLevel ) : m_uLevel( uLevel ) {}

    // Result: false, and nothing changed, when there is no room for one more.
    bool Add( const TreeEntry& rEntry )
    {
        Filling aNext = *this;
        aNext.m_pFirst = m_pFirst == nullptr ? &rEntry : m_pFirst;
        aNext.m_nSize += SizeOfSlot( m_uLevel );
        if ( m_uLevel == 0 || m_pFirst != nullptr )
            aNext.AddKey( rEntry );
        if ( aNext.m_nSize > ROOM )
            return false;
        *this = aNext;
        return true;
    }

private:
    void AddKey( const TreeEntry& rEntry )
    {
        const TreeEntry* const pFirstKey = m_pFirst + ( m_uLevel == 0 ? 0 : 1 );
        const size_t nPrefix =
            pFirstKey == &rEntry
                ? rEntry.GetInPage().size()
                : CommonLength( pFirstKey->GetInPage().substr( 0, m_nPrefix ), rEntry.GetInPage() );
        if ( nPrefix != m_nPrefix )
        {
            // Those before have more behind the prefix now, and the prefix less.
            m_nSize += nPrefix;
            m_nSize -= m_nPrefix;
            for ( const TreeEntry* pEntry = pFirstKey; pEntry != &rEntry; ++pEntry )
                m_nSize +=
                    SizeOfKey( *pEntry, nPrefix, m_uLevel ) - SizeOfKey( *pEntry, m_nPrefix, m_uLevel );
            m_nPrefix = nPrefix;
        }
        m_nSize += SizeOfKey( rEntry, m_nPrefix, m_uLevel );
    }

    unsigned m_uLevel;
    const TreeEntry* m_pFirst = nullptr;
    size_t m_nPrefix = 0;
    size_t m_nSize = 0;
};

bool FitIntoPage( std::span<const TreeEntry> aEntries, unsigned uLevel )
{
    Filling aFilling( uLevel );
    return std::all_of( aEntries.begin(), aEntries.end(),
                        [&aFilling]( const TreeEntry& rEntry ) { return aFilling.Add( rEntry ); } );
}

// Gives the last page, which may be nearly empty, a half of what it has together with the one before.
void ShareLastPages( std::vector<size_t>& rStarts, std::span<const TreeEntry> aEntries, unsigned uLevel )
{
    const size_t nFirst = rStarts[rStarts.size() - 2];
    const auto aBoth = aEntries.subspan( nFirst );
    const auto SizeOf = [uLevel]( const TreeEntry& rEntry )
    { return SizeOfSlot( uLevel ) + SizeOfKey( rEntry, 0, uLevel ); };
    size_t nSize = 0;
    for ( const TreeEntry& rEntry : aBoth )
        nSize += SizeOf( rEntry );
    size_t nHalf = 0;
    for ( size_t nTaken = 0; nTaken < nSize / 2; ++nHalf )
        nTaken += SizeOf( aBoth[nHalf] );
    if ( nHalf < aBoth.size() && FitIntoPage( aBoth.first( nHalf ), uLevel ) &&
         FitIntoPage( aBoth.subspan( nHalf ), uLevel ) )
        rStarts.back() = nFirst + nHalf;
}

// Writes into a page from front to back.
class PageFiller
{
public:
    PageFiller( TreePage& rPage, size_t nPlace ) : m_rPage( rPage ), m_nPlace( nPlace ) {}

    uint16_t GetPlace() const noexcept { return static_cast<uint16_t>( sizeof( TreePageHead ) + m_nPlace ); }
    void Put( const void* pBytes, size_t nSize )
    {
        if ( nSize != 0 )
            std::memcpy( m_rPage.aBytes + m_nPlace, pBytes, nSize );
        m_nPlace += nSize;
    }
    // Result: the length of the key as slots have it.
    uint16_t PutKey( const TreeEntry& rEntry, size_t nPrefix, size_t nInSlot )
    {
        const std::string_view aKey = rEntry.GetInPage().substr( nPrefix );
        if ( aKey.size() > nInSlot )
            Put( aKey.data() + nInSlot, aKey.size() - nInSlot );
        const uint16_t usGoesOn = rEntry.usLength & KEY_GOES_ON;
        if ( usGoesOn != 0 )
            Put( &rEntry.aRest, sizeof( TreeKeyRest ) );
        return static_cast<uint16_t>( aKey.size() | usGoesOn );
    }

private:
    TreePage& m_rPage;
    size_t m_nPlace;
};

// Hashes with the numbers of their entries behind them. As they are spread evenly, each is put about where it belongs at once.
std::vector<uint64_t> SortedByHash( std::span<const TreeEntry> aEntries )
{
    constexpr unsigned SHIFT = 32 - 9;
    std::array<uint16_t, ( 1 << 9 ) + 1> ausPlaces{};
    for ( const TreeEntry& rEntry : aEntries )
        ++ausPlaces[( rEntry.ulHash >> SHIFT ) + 1];
    std::partial_sum( ausPlaces.begin(), ausPlaces.end(), ausPlaces.begin() );
    std::vector<uint64_t> aByHash( aEntries.size() );
    for ( size_t i = 0; i < aEntries.size(); ++i )
        aByHash[ausPlaces[aEntries[i].ulHash >> SHIFT]++] = uint64_t{ aEntries[i].ulHash } << 32 | i;
    for ( auto pHash = aByHash.begin(); pHash != aByHash.end(); ++pHash )
    {
        const uint64_t ullHash = *pHash;
        auto pPlace = pHash;
        for ( ; pPlace != aByHash.begin() && pPlace[-1] > ullHash; --pPlace )
            *pPlace = pPlace[-1];
        *pPlace = ullHash;
    }
    return aByHash;
}

void FillLeaf( TreePage& rPage, std::span<const TreeEntry> aEntries, size_t nPrefix, PageFiller& rFiller )
{
    LeafSlot* pSlot = reinterpret_cast<LeafSlot*>( rPage.aBytes );
    for ( const uint64_t ullHashed : SortedByHash( aEntries ) )
    {
        const TreeEntry& rEntry = aEntries[static_cast<uint32_t>( ullHashed )];
        const uint16_t usPlace = rFiller.GetPlace();
        *pSlot++ = { rEntry.ulHash, rEntry.ulPlace, rEntry.ulChecksum, usPlace,
                     rFiller.PutKey( rEntry, nPrefix, 0 ) };
    }
}

void FillInner( TreePage& rPage, std::span<const TreeEntry> aEntries, size_t nPrefix, PageFiller& rFiller )
{
    uint64_t* pHead = reinterpret_cast<uint64_t*>( rPage.aBytes );
    InnerSlot* pSlot = reinterpret_cast<InnerSlot*>( pHead + aEntries.size() );
    *pHead++ = 0;
    *pSlot++ = { aEntries[0].ulPlace, rFiller.GetPlace(), 0 };
    for ( const TreeEntry& rEntry : aEntries.subspan( 1 ) )
    {
        const uint16_t usPlace = rFiller.GetPlace();
        *pHead++ = HeadOfText( rEntry.GetInPage().substr( nPrefix ) );
        *pSlot++ = { rEntry.ulPlace, usPlace, rFiller.PutKey( rEntry, nPrefix, TREE_HEAD_SIZE ) };
    }
}
} // namespace

std::vector<size_t> SplitIntoPages( std::span<const TreeEntry> aEntries, unsigned uLevel )
{
    std::vector<size_t> aStarts{ 0 };
    Filling aFilling( uLevel );
    for ( size_t i = 0; i < aEntries.size(); ++i )
    {
        if ( aFilling.Add( aEntries[i] ) )
            continue;
        aStarts.push_back( i );
        aFilling = Filling( uLevel );
        aFilling.Add( aEntries[i] );
    }
    if ( aStarts.size() > 1 )
        ShareLastPages( aStarts, aEntries, uLevel );
    return aStarts;
}

void FillPage( TreePage& rPage, std::span<const TreeEntry> aEntries, unsigned uLevel )
{
    std::memset( rPage.aBytes, 0, sizeof( rPage.aBytes ) );
    const auto aKeys = aEntries.subspan( std::min<size_t>( uLevel == 0 ? 0 : 1, aEntries.size() ) );
    std::string_view aPrefix = aKeys.empty() ? std::string_view() : aKeys[0].GetInPage();
    for ( const TreeEntry& rEntry : aKeys )
        aPrefix = aPrefix.substr( 0, CommonLength( aPrefix, rEntry.GetInPage() ) );

    PageFiller aFiller( rPage, aEntries.size() * SizeOfSlot( uLevel ) );
    rPage.aHead.usLevel = static_cast<uint16_t>( uLevel );
    rPage.aHead.usEntries = static_cast<uint16_t>( aEntries.size() );
    rPage.aHead.usPrefixPlace = aFiller.GetPlace();
    rPage.aHead.usPrefixLength = static_cast<uint16_t>( aPrefix.size() );
    aFiller.Put( aPrefix.data(), aPrefix.size() );
    if ( uLevel == 0 )
        FillLeaf( rPage, aEntries, aPrefix.size(), aFiller );
    else
        FillInner( rPage, aEntries, aPrefix.size(), aFiller );
}

TreeKey KeyBetween( const TreeKey& rLeft, const TreeKey& rRight ) noexcept
{
    const size_t nCommon = CommonLength( rLeft.aInPage, rRight.aInPage );
    if ( nCommon == rRight.aInPage.size() )
        return rRight;
    return { rRight.aInPage.substr( 0, nCommon + 1 ) };
}
