#include "runtime/pendingkeys.h"

#include <algorithm>
#include <cstring>

namespace
{
constexpr size_t MOST_MEMORY = 64 << 20;
constexpr size_t FIRST_PLACES = 1024;

// A key on its way to its place: eight of its characters as a number, and the entry.
struct Sorted
{
    uint64_t ullHead;
    const PendingKeys::Entry* pEntry;
};

// What a key has behind its first characters.
std::string_view Behind( size_t nFirst, const Sorted& rSorted ) noexcept
{
    std::string_view aKey = PendingKeys::KeyOf( *rSorted.pEntry ).aInPage;
    aKey.remove_prefix( std::min( nFirst, aKey.size() ) );
    return aKey;
}

// The bytes of an entry with what stands behind it, and the gap to the next one.
size_t SizeOfEntry( uint16_t usLength ) noexcept
{
    const size_t nRest = ( usLength & KEY_GOES_ON ) != 0 ? sizeof( TreeKeyRest ) : 0;
    const size_t nSize = sizeof( PendingKeys::Entry ) + ( usLength & ~KEY_GOES_ON ) + nRest;
    return ( nSize + 3 ) & ~size_t{ 3 };
}

// Sorts keys that are alike in the first nAlike characters: by the eight behind those that all of them share, then those
// that are alike in these, too, by the next.
void Sort( Sorted* pFirst, Sorted* pEnd, size_t nAlike, RWFileManager& rFile )
{
    if ( pEnd - pFirst < 2 )
        return;
    const std::string_view aFirst = Behind( nAlike, *pFirst );
    size_t nShared = aFirst.size();
    size_t nLongest = aFirst.size();
    for ( const Sorted* p = pFirst + 1; p != pEnd; ++p )
    {
        const std::string_view aKey = Behind( nAlike, *p );
        nLongest = std::max( nLongest, aKey.size() );
        nShared = CommonLength( aFirst.substr( 0, nShared ), aKey );
    }
    if ( nLongest == 0 )
    {
        std::sort( pFirst, pEnd,
                   [&rFile]( const Sorted& rLeft, const Sorted& rRight )
                   {
                       return CompareTreeKeys( PendingKeys::KeyOf( *rLeft.pEntry ),
                                               PendingKeys::KeyOf( *rRight.pEntry ), rFile ) < 0;
                   } );
        return;
    }
    for ( Sorted* p = pFirst; p != pEnd; ++p )
        p->ullHead = HeadOfText( Behind( nAlike + nShared, *p ) );
    std::sort( pFirst, pEnd,
               []( const Sorted& rLeft, const Sorted& rRight ) { return rLeft.ullHead < rRight.ullHead; } );
    for ( Sorted* pRun = pFirst; pRun != pEnd; )
    {
        Sorted* const pRunEnd =
            std::find_if( pRun, pEnd, [pRun]( const Sorted& r ) { return r.ullHead != pRun->ullHead; } );
        Sort( pRun, pRunEnd, nAlike + nShared + TREE_HEAD_SIZE, rFile );
        pRun = pRunEnd;
    }
}
} // namespace

TreeKey PendingKeys::KeyOf( const Entry& rEntry ) noexcept
{
    const char* const pCharacters = reinterpret_cast<const char*>( &rEntry + 1 );
    const size_t nLength = rEntry.usLength & ~KEY_GOES_ON;
    TreeKey aKey{ { pCharacters, nLength }, ( rEntry.usLength & KEY_GOES_ON ) != 0 };
    if ( aKey.fGoesOn )
        std::memcpy( &aKey.aRestInFile, pCharacters + nLength, sizeof( TreeKeyRest ) );
    return aKey;
}

bool PendingKeys::AreMany() const noexcept
{
    return ( m_aChunks.size() << CHUNK_BITS ) + m_aPlaces.size() * sizeof( Place ) +
               m_nKeys * ( sizeof( Sorted ) + sizeof( Entry* ) ) >
           MOST_MEMORY;
}

const PendingKeys::Entry& PendingKeys::EntryAt( uint32_t ulEntry ) const noexcept
{
    const uint32_t ulPlace = ulEntry - 1;
    const char* const pChunk = m_aChunks[ulPlace >> ( CHUNK_BITS - 2 )].pBytes.get();
    return *reinterpret_cast<const Entry*>( pChunk + ( ulPlace << 2 & ( ( 1u << CHUNK_BITS ) - 1 ) ) );
}

const PendingKeys::Entry* PendingKeys::Find( const TreeKey& rKey, uint32_t ulHash )
{
    if ( m_nKeys == 0 || IsBehindAll( rKey ) )
        return nullptr;
    if ( m_nInPlaces != m_nKeys )
        PutInPlaces();
    const size_t nMask = m_aPlaces.size() - 1;
    for ( size_t i = ulHash & nMask; m_aPlaces[i].ulEntry != 0; i = ( i + 1 ) & nMask )
    {
        if ( m_aPlaces[i].ulHash != ulHash )
            continue;
        const Entry& rEntry = EntryAt( m_aPlaces[i].ulEntry );
        if ( CompareTreeKeys( KeyOf( rEntry ), rKey, m_rFile ) == 0 )
            return &rEntry;
    }
    return nullptr;
}

// Gives the keys that have no place theirs; all of them, when there have to be more places.
void PendingKeys::PutInPlaces()
{
    if ( 2 * m_nKeys > m_aPlaces.size() )
    {
        m_aPlaces = std::vector<Place>( std::max( FIRST_PLACES, std::bit_ceil( 4 * m_nKeys ) ) );
        m_nInPlaces = 0;
        m_ulNextEntry = 1;
    }
    const size_t nMask = m_aPlaces.size() - 1;
    for ( size_t nChunk = ( m_ulNextEntry - 1 ) >> ( CHUNK_BITS - 2 ); m_nInPlaces < m_nKeys; ++nChunk )
    {
        const uint32_t ulFirst = static_cast<uint32_t>( nChunk << ( CHUNK_BITS - 2 ) ) + 1;
        m_ulNextEntry = std::max( m_ulNextEntry, ulFirst );
        while ( m_ulNextEntry - ulFirst < m_aChunks[nChunk].nUsed / 4 )
        {
            const Entry& rEntry = EntryAt( m_ulNextEntry );
            size_t i = rEntry.ulHash & nMask;
            while ( m_aPlaces[i].ulEntry != 0 )
                i = ( i + 1 ) & nMask;
            m_aPlaces[i] = { rEntry.ulHash, m_ulNextEntry };
            ++m_nInPlaces;
            m_ulNextEntry += static_cast<uint32_t>( SizeOfEntry( rEntry.usLength ) / 4 );
        }
    }
}

// Room for an entry and its characters.
PendingKeys::Entry* PendingKeys::NewEntry( uint16_t usLength )
{
    constexpr size_t CHUNK_SIZE = size_t{ 1 } << CHUNK_BITS;
    const size_t nSize = SizeOfEntry( usLength );
    if ( m_aChunks.empty() || m_aChunks.back().nUsed + nSize > CHUNK_SIZE )
        m_aChunks.push_back( { std::make_unique_for_overwrite<char[]>( CHUNK_SIZE ), 0 } );
    Chunk& rChunk = m_aChunks.back();
    Entry* const pEntry = reinterpret_cast<Entry*>( rChunk.pBytes.get() + rChunk.nUsed );
    rChunk.nUsed += nSize;
    return pEntry;
}

void PendingKeys::Add( const TreeKey& rKey, const LeafSlot& rSlot )
{
    const size_t nLength = rKey.aInPage.size();
    const uint16_t usLength = static_cast<uint16_t>( nLength | ( rKey.fGoesOn ? KEY_GOES_ON : 0 ) );
    m_fInOrder = IsBehindAll( rKey );
    Entry* const pEntry = NewEntry( usLength );
    *pEntry = { rSlot.ulHash, rSlot.ulText, rSlot.ulChecksum, usLength };
    char* const pCharacters = reinterpret_cast<char*>( pEntry + 1 );
    std::copy( rKey.aInPage.begin(), rKey.aInPage.end(), pCharacters );
    if ( rKey.fGoesOn )
        std::memcpy( pCharacters + nLength, &rKey.aRestInFile, sizeof( TreeKeyRest ) );
    m_pLast = pEntry;
    ++m_nKeys;
    m_ullSizeInPages += sizeof( LeafSlot ) + sizeof( TreeKeyRest ) + nLength;
}

void PendingKeys::Clear() noexcept
{
    m_aPlaces = std::vector<Place>();
    m_aChunks.clear();
    m_nKeys = 0;
    m_nInPlaces = 0;
    m_ulNextEntry = 1;
    m_ullSizeInPages = 0;
    m_pLast = nullptr;
    m_fInOrder = true;
}

std::vector<const PendingKeys::Entry*> PendingKeys::GetSorted() const
{
    std::vector<const Entry*> aEntries;
    aEntries.reserve( m_nKeys );
    for ( const Chunk& rChunk : m_aChunks )
    {
        for ( size_t nPlace = 0; nPlace < rChunk.nUsed; )
        {
            aEntries.push_back( reinterpret_cast<const Entry*>( rChunk.pBytes.get() + nPlace ) );
            nPlace += SizeOfEntry( aEntries.back()->usLength );
        }
    }
    if ( m_fInOrder )
        return aEntries;
    std::vector<Sorted> aSorted;
    aSorted.reserve( m_nKeys );
    for ( const Entry* const pEntry : aEntries )
        aSorted.push_back( { 0, pEntry } );
    Sort( aSorted.data(), aSorted.data() + aSorted.size(), 0, m_rFile );
    std::transform( aSorted.begin(), aSorted.end(), aEntries.begin(),
                    []( const Sorted& rSorted ) { return rSorted.pEntry; } );
    return aEntries;
}
