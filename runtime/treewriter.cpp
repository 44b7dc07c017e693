#include "runtime/treewriter.h"

#include "runtime/treepagefill.h"

#include <algorithm>

namespace
{
TreeEntry EntryOf( const PendingKeys::Entry* pKey ) noexcept
{
    return { PendingKeys::KeyOf( *pKey ), pKey->ulHash, pKey->ulText, pKey->ulChecksum };
}

TreeChild ChildOf( const TreeKey& rKey, uint32_t ulPage )
{
    return { std::string( rKey.aInPage ), rKey.fGoesOn, rKey.aRestInFile, ulPage };
}

std::vector<TreeEntry> EntriesOf( const std::vector<TreeChild>& aChildren )
{
    std::vector<TreeEntry> aEntries;
    aEntries.reserve( aChildren.size() );
    for ( const TreeChild& rChild : aChildren )
        aEntries.emplace_back( rChild.GetKey(), 0, rChild.ulPage, 0 );
    return aEntries;
}
} // namespace

void TreeWriter::Merge( TreePage& rRoot, Keys aKeys )
{
    const auto pRoot = std::make_unique<TreePage>( rRoot );
    const unsigned uLevel = rRoot.aHead.usLevel;
    if ( uLevel == 0 )
    {
        std::vector<std::string> aCharacters;
        WriteRoot( *pRoot, MergeLeaf( rRoot, aKeys, aCharacters ), 0 );
    }
    else
    {
        const std::vector<TreeChild> aChildren = MergeChildren( rRoot, aKeys );
        WriteRoot( *pRoot, EntriesOf( aChildren ), uLevel );
    }
    pRoot->aHead.ullKeys += aKeys.size();
    pRoot->aHead.ulPages += m_ulWritten - static_cast<uint32_t>( m_aReplaced.size() );
    m_rFile.GiveBack( m_aReplaced );
    rRoot = *pRoot;
}

// What does not fit into the root any longer goes into pages below it.
void TreeWriter::WriteRoot( TreePage& rRoot, Entries aEntries, unsigned uLevel )
{
    std::vector<TreeChild> aChildren;
    std::vector<TreeEntry> aAbove;
    for ( ; SplitIntoPages( aEntries, uLevel ).size() > 1; ++uLevel )
    {
        aChildren = WriteLevel( aEntries, uLevel, TreeChild() );
        aAbove = EntriesOf( aChildren );
        aEntries = aAbove;
    }
    if ( uLevel >= MOST_TREE_LEVELS )
        throw RWFileErr( "RWBTreeOnDisk: the tree is damaged" );
    FillPage( rRoot, aEntries, uLevel );
}

// Result: the pages that take the place of one, whose range begins with the key of rLower.
std::vector<TreeChild> TreeWriter::MergePage( uint32_t ulPage, unsigned uLevel, Keys aKeys,
                                              const TreeChild& rLower )
{
    const auto pPage = std::make_unique<TreePage>( m_rFile.GetPage( ulPage, uLevel ) );
    m_aReplaced.push_back( ulPage );
    if ( uLevel == 0 )
    {
        std::vector<std::string> aCharacters;
        return WriteLevel( MergeLeaf( *pPage, aKeys, aCharacters ), 0, rLower );
    }
    const std::vector<TreeChild> aChildren = MergeChildren( *pPage, aKeys );
    return WriteLevel( EntriesOf( aChildren ), uLevel, rLower );
}

// Result: the children of a page with the keys put in.
std::vector<TreeChild> TreeWriter::MergeChildren( const TreePage& rPage, Keys aKeys )
{
    std::vector<TreeChild> aChildren;
    std::string strNext;
    TreeChild aChild;
    const size_t nSlots = CountSlots( rPage );
    for ( size_t i = 0; i < nSlots; ++i )
    {
        aChild.ulPage = InnerSlots( rPage )[i].ulChild;
        Keys aBelow = aKeys;
        TreeChild aNext;
        if ( i + 1 < nSlots )
        {
            const TreeKey aBound = KeyOfInnerSlot( rPage, i + 1, strNext );
            const auto pEnd = std::partition_point(
                aKeys.begin(), aKeys.end(),
                [&]( const PendingKeys::Entry* pKey )
                { return CompareTreeKeys( PendingKeys::KeyOf( *pKey ), aBound, m_rFile ) < 0; } );
            aBelow = aKeys.first( static_cast<size_t>( pEnd - aKeys.begin() ) );
            aNext = ChildOf( aBound, 0 );
        }
        if ( aBelow.empty() )
            aChildren.push_back( aChild );
        else
        {
            auto aNew = MergePage( aChild.ulPage, rPage.aHead.usLevel - 1u, aBelow, aChild );
            std::move( aNew.begin(), aNew.end(), std::back_inserter( aChildren ) );
        }
        aKeys = aKeys.subspan( aBelow.size() );
        aChild = std::move( aNext );
    }
    return aChildren;
}

// Result: the entries of a leaf and the keys, in their order. The characters of the former stand in rCharacters.
std::vector<TreeEntry> TreeWriter::MergeLeaf( const TreePage& rPage, Keys aKeys,
                                              std::vector<std::string>& rCharacters )
{
    const size_t nSlots = CountSlots( rPage );
    rCharacters.resize( nSlots );
    std::vector<TreeEntry> aEntries;
    aEntries.reserve( nSlots + aKeys.size() );
    for ( size_t i = 0; i < nSlots; ++i )
    {
        const LeafSlot& rSlot = LeafSlots( rPage )[i];
        aEntries.push_back(
            { KeyOfLeafSlot( rPage, rSlot, rCharacters[i] ), rSlot.ulHash, rSlot.ulText, rSlot.ulChecksum } );
    }
    const auto IsBefore = [this]( const TreeEntry& rLeft, const TreeEntry& rRight )
    { return CompareTreeKeys( rLeft.GetKey(), rRight.GetKey(), m_rFile ) < 0; };
    const auto nOld = static_cast<ptrdiff_t>( nSlots );
    std::sort( aEntries.begin(), aEntries.end(), IsBefore );
    std::transform( aKeys.begin(), aKeys.end(), std::back_inserter( aEntries ), EntryOf );
    std::inplace_merge( aEntries.begin(), aEntries.begin() + nOld, aEntries.end(), IsBefore );
    return aEntries;
}

// Result: the pages that the entries of a level fill.
std::vector<TreeChild> TreeWriter::WriteLevel( Entries aEntries, unsigned uLevel, const TreeChild& rLower )
{
    const auto pPage = std::make_unique<TreePage>();
    std::vector<TreeChild> aChildren;
    std::vector<size_t> aStarts = SplitIntoPages( aEntries, uLevel );
    for ( size_t i = 0; i < aStarts.size(); ++i )
    {
        const size_t nStart = aStarts[i];
        const size_t nEnd = i + 1 < aStarts.size() ? aStarts[i + 1] : aEntries.size();
        FillPage( *pPage, aEntries.subspan( nStart, nEnd - nStart ), uLevel );
        TreeKey aKey = rLower.GetKey();
        if ( i != 0 )
            aKey = uLevel == 0 ? KeyBetween( aEntries[nStart - 1].GetKey(), aEntries[nStart].GetKey() )
                               : aEntries[nStart].GetKey();
        aChildren.push_back( ChildOf( aKey, m_rFile.WritePage( *pPage ) ) );
        ++m_ulWritten;
    }
    return aChildren;
}
