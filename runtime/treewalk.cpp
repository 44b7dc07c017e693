// A tree file from its first key to its last.
#include "runtime/rwbtreeondisk.h"

#include <algorithm>
#include <string>
#include <vector>

namespace
{
struct WalkedKey
{
    std::string strKey;
    RWoffset lValue;
};

// The keys of a leaf in their own order, where the leaf has them in that of their hashes.
std::vector<WalkedKey> SortedKeys( const TreePage& rLeaf, RWFileManager& rFile )
{
    std::vector<WalkedKey> aKeys;
    std::vector<TreeKeyRest> aRests;
    std::string strCharacters;
    for ( size_t nSlot = 0; nSlot < CountSlots( rLeaf ); ++nSlot )
    {
        const LeafSlot& rSlot = LeafSlots( rLeaf )[nSlot];
        const TreeKey aKey = KeyOfLeafSlot( rLeaf, rSlot, strCharacters );
        aKeys.push_back( { std::string( aKey.aInPage ), static_cast<RWoffset>( rSlot.ulText ) } );
        aRests.push_back( aKey.fGoesOn ? aKey.aRestInFile : TreeKeyRest{} );
    }
    // The leaf may be gone when the file is asked again.
    for ( size_t nKey = 0; nKey < aKeys.size(); ++nKey )
        if ( aRests[nKey].lPlace != 0 )
            aKeys[nKey].strKey += rFile.ViewText( aRests[nKey] );
    std::sort( aKeys.begin(), aKeys.end(),
               []( const WalkedKey& rLeft, const WalkedKey& rRight )
               { return rLeft.strKey < rRight.strKey; } );
    return aKeys;
}
} // namespace

void RWBTreeOnDisk::applyToKeyAndValue( void ( *pApply )( const char* pKey, RWoffset lValue, void* pContext ),
                                        void* pContext )
{
    Flush();
    // A tree whose pages go round in circles is none.
    uint64_t ullPagesLeft = uint64_t( GetRoot().aHead.ulPages ) + 1;
    const auto Walk = [&]( const auto& rWalk, const TreePage& rPage ) -> void
    {
        if ( ullPagesLeft-- == 0 )
            throw RWFileErr( "RWBTreeOnDisk: the tree has more pages than it says" );
        const unsigned uLevel = rPage.aHead.usLevel;
        std::vector<uint32_t> aChildren;
        for ( size_t nSlot = 0; uLevel != 0 && nSlot < CountSlots( rPage ); ++nSlot )
            aChildren.push_back( InnerSlots( rPage )[nSlot].ulChild );
        for ( const uint32_t ulChild : aChildren )
            rWalk( rWalk, m_rFile.GetPage( ulChild, uLevel - 1 ) );
        if ( uLevel == 0 )
            for ( const WalkedKey& rKey : SortedKeys( rPage, m_rFile ) )
                pApply( rKey.strKey.c_str(), rKey.lValue, pContext );
    };
    Walk( Walk, GetRoot() );
}
