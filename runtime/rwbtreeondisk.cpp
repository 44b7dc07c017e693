#include "runtime/rwbtreeondisk.h"

#include "runtime/treewriter.h"

#include <algorithm>
#include <cstring>

namespace
{
// A mapping pays when it is used more often than that.
constexpr unsigned LOOKUPS_WITHOUT_MAPPING = 3;

uint32_t HashOf( std::string_view aKey ) noexcept
{
    return static_cast<uint32_t>( HashOfTreeKey( aKey ) >> 32 );
}
} // namespace

RWBTreeOnDisk::RWBTreeOnDisk( RWFileManager& rFile, unsigned, createMode, unsigned ulKeyLength,
                              bool fIgnoreNull, RWoffset, styleMode, unsigned, unsigned )
    : m_rFile( rFile ),
      m_fIgnoreNull( fIgnoreNull ),
      m_aPending( rFile )
{
    if ( rFile.GetStates().GetRoot() != nullptr )
        return;
    if ( rFile.IsReadOnly() || !rFile.GetStates().IsNewFile() )
        throw RWFileErr( "RWBTreeOnDisk: the file holds no tree, or one that is damaged" );
    const auto pRoot = std::make_unique<TreePage>();
    pRoot->aHead.ulKeyLength = std::max( ulKeyLength, 1u );
    rFile.Complete( *pRoot, false );
}

RWBTreeOnDisk::~RWBTreeOnDisk()
{
    try
    {
        Flush();
    }
    catch ( const std::exception& )
    {
    }
}

TreeKey RWBTreeOnDisk::MakeKey( std::string_view aKey ) const noexcept
{
    const size_t nInPage = std::min<size_t>( GetRoot().aHead.ulKeyLength, MOST_KEY_IN_PAGE );
    if ( aKey.size() <= nInPage )
        return { aKey };
    return { aKey.substr( 0, nInPage ), true, aKey.substr( nInPage ) };
}

bool RWBTreeOnDisk::Find( const TreeKey& rKey, uint32_t ulHash, LeafSlot& rSlot )
{
    if ( const PendingKeys::Entry* const pPending = m_aPending.Find( rKey, ulHash ) )
    {
        rSlot = { ulHash, pPending->ulText, pPending->ulChecksum, 0, 0 };
        return true;
    }
    if ( m_uLookups == LOOKUPS_WITHOUT_MAPPING )
        m_rFile.Map();
    m_uLookups = std::min( m_uLookups + 1, LOOKUPS_WITHOUT_MAPPING + 1 );
    const TreePage* pPage = &GetRoot();
    for ( unsigned uLevel = pPage->aHead.usLevel; uLevel > 0; --uLevel )
    {
        const size_t nChild = FindChild( *pPage, rKey, m_rFile );
        pPage = &m_rFile.GetPage( InnerSlots( *pPage )[nChild].ulChild, uLevel - 1 );
    }
    const LeafSlot* const pFound = FindInLeaf( *pPage, rKey, ulHash, m_rFile );
    if ( pFound != nullptr )
        rSlot = *pFound;
    return pFound != nullptr;
}

uint64_t RWBTreeOnDisk::FollowState()
{
    if ( m_rFile.IsReadOnly() )
        m_rFile.FollowStates();
    return m_rFile.GetStates().GetRoot()->aHead.ullSequence;
}

bool RWBTreeOnDisk::findKeyAndValue( const char* pKey, RWCString& rFoundKey, RWoffset& rlValue )
{
    const std::string_view aText( pKey != NULL ? pKey : "" );
    if ( m_fIgnoreNull && aText.empty() )
        return false;
    FollowState();
    LeafSlot aSlot;
    if ( !Find( MakeKey( aText ), HashOf( aText ), aSlot ) )
        return false;
    m_rFile.ViewText( { static_cast<RWoffset>( aSlot.ulText ), aSlot.ulChecksum } );
    if ( rFoundKey.data() != pKey )
        rFoundKey.assign( aText.data(), aText.size() );
    rlValue = static_cast<RWoffset>( aSlot.ulText );
    return true;
}

bool RWBTreeOnDisk::insertKeyAndValue( const char* pKey, RWoffset lValue )
{
    const std::string_view aText( pKey != NULL ? pKey : "" );
    if ( m_rFile.IsReadOnly() )
        throw RWFileErr( "RWBTreeOnDisk: the file was opened to be read" );
    if ( m_fIgnoreNull && aText.empty() )
        return false;
    TreeKey aKey = MakeKey( aText );
    LeafSlot aSlot;
    const uint32_t ulHash = HashOf( aText );
    if ( Find( aKey, ulHash, aSlot ) )
        return false;
    ReserveForOneMore( aKey );
    if ( aKey.fGoesOn )
        SaveRest( aKey );
    const uint32_t ulText = static_cast<uint32_t>( lValue );
    m_aPending.Add( aKey, { ulHash, ulText, ChecksumOfText( m_rFile.ViewTextBlock( ulText ) ), 0, 0 } );
    if ( m_aPending.AreMany() )
        WritePending();
    return true;
}

// Pages are written when it is too late to refuse a key, so their room is kept from now on: for every page that there is, up to
// one for each key, two, and what the keys themselves take.
void RWBTreeOnDisk::ReserveForOneMore( const TreeKey& rKey )
{
    constexpr uint64_t PAGES_AT_LEAST = 2 * MOST_TREE_LEVELS;
    const uint64_t ullTouched =
        std::min<uint64_t>( GetRoot().aHead.ulPages, ( m_aPending.CountKeys() + 1 ) * MOST_TREE_LEVELS );
    const uint64_t ullKeys =
        m_aPending.GetSizeInPages() + rKey.aInPage.size() + sizeof( LeafSlot ) + sizeof( TreeKeyRest );
    m_rFile.Reserve( ( 2 * ullTouched + PAGES_AT_LEAST ) * TREE_PAGE_SIZE + ullKeys + ullKeys / 4 );
}

void RWBTreeOnDisk::SaveRest( TreeKey& rKey )
{
    const RWoffset lPlace =
        m_rFile.allocate( static_cast<unsigned long>( sizeof( uint32_t ) + rKey.aRest.size() ) );
    m_rFile.SeekTo( lPlace );
    m_rFile.WriteText( rKey.aRest );
    rKey.aRestInFile = { lPlace, ChecksumOfText( m_rFile.ViewTextBlock( static_cast<uint32_t>( lPlace ) ) ) };
}

void RWBTreeOnDisk::WritePending()
{
    auto pRoot = std::make_unique<TreePage>( GetRoot() );
    TreeWriter( m_rFile ).Merge( *pRoot, m_aPending.GetSorted() );
    m_pNewRoot = std::move( pRoot );
    m_aPending.Clear();
}

void RWBTreeOnDisk::Flush()
{
    if ( !m_aPending.IsEmpty() )
        WritePending();
    if ( m_pNewRoot == nullptr )
        return;
    m_rFile.Complete( *m_pNewRoot, true );
    m_pNewRoot.reset();
}
