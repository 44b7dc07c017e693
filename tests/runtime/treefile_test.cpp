#include "runtime/treefile.h"
#include "support/scratchfolder.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

namespace
{
using Texts = std::map<std::string, std::string>;

class Random
{
public:
    explicit Random( unsigned unSeed ) : m_aSource( unSeed ) {}
    size_t Below( size_t nEnd ) { return std::uniform_int_distribution<size_t>( 0, nEnd - 1 )( m_aSource ); }
    // Keys that are alike at the start, short, empty, with bytes above 127, and now and then very long ones.
    std::string Key()
    {
        static const std::string strLong( 5000, 'l' );
        std::string strKey = Below( 9 ) == 0 ? "" : "049MODULE.SECTION" + std::to_string( Below( 5 ) );
        strKey += Below( 40 ) == 0 ? strLong.substr( 0, Below( strLong.size() ) ) : "";
        for ( size_t nMore = Below( 4 ); nMore > 0; --nMore )
            strKey += static_cast<char>( "aZ\x01\xFF"[Below( 4 )] );
        return strKey + ( Below( 3 ) != 0 ? std::to_string( Below( 2000 ) ) : "" );
    }
    std::string Text()
    {
        std::string strText( Below( 200 ) == 0 ? Below( 300000 ) : Below( 120 ), 't' );
        for ( size_t i = 0; i < strText.size(); i += 7 )
            strText[i] = static_cast<char>( Below( 256 ) );
        return strText;
    }

private:
    std::mt19937 m_aSource;
};

void ExpectAll( TreeFile& rTree, const Texts& aTexts )
{
    for ( const auto& [strKey, strText] : aTexts )
        ASSERT_EQ( strText, rTree.Get( strKey ) ) << strKey.substr( 0, 60 ) << " " << strKey.size();
}
} // namespace

TEST( TreeFile, HoldsWhatAMapHolds )
{
    const ScratchFolder aFolder;
    for ( unsigned uKeyLength : { 1u, 16u, 30u, 70000u } )
    {
        const std::string strPath = aFolder.Path( "tree" + std::to_string( uKeyLength ) );
        Random aRandom( uKeyLength );
        Texts aTexts;
        auto pTree = std::make_unique<TreeFile>( strPath, nullptr, uKeyLength );
        for ( int i = 0; i < 6000; ++i )
        {
            const std::string strKey = aRandom.Key();
            const auto aKnown = aTexts.find( strKey );
            const auto aFound = pTree->Get( strKey );
            ASSERT_EQ( aKnown != aTexts.end(), aFound.has_value() )
                << strKey.substr( 0, 60 ) << " " << strKey.size();
            if ( aFound )
            {
                ASSERT_EQ( aKnown->second, *aFound );
            }
            if ( aRandom.Below( 2 ) == 0 )
            {
                const std::string strText = aRandom.Text();
                ASSERT_EQ( aTexts.emplace( strKey, strText ).second, pTree->Put( strKey, strText ) );
            }
            if ( aRandom.Below( 300 ) == 0 )
            {
                pTree.reset();
                pTree = std::make_unique<TreeFile>( strPath, "r+", 5 );
            }
            else if ( aRandom.Below( 300 ) == 0 )
                pTree->aTree.Flush();
        }
        ExpectAll( *pTree, aTexts );
        pTree.reset();
        TreeFile aReader( strPath, "rb" );
        ExpectAll( aReader, aTexts );
        EXPECT_FALSE( aReader.Get( "none of them" ) );
        EXPECT_THROW( aReader.Put( "new", "text" ), RWFileErr );
    }
}
