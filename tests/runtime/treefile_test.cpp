#include "runtime/treefile.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
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

TEST_F( TreeFileTest, HoldsWhatAMapHolds )
{
    for ( unsigned uKeyLength : { 1u, 16u, 30u, 70000u } )
    {
        const std::string strPath = m_aFolder.Path( "tree" + std::to_string( uKeyLength ) );
        Random aRandom( uKeyLength );
        Texts aTexts;
        auto pTree = std::make_unique<TreeFile>( strPath, nullptr, uKeyLength );
        for ( int i = 0; i < 6000; ++i )
        {
            const std::string strKey = aRandom.Key();
            const auto aKnown = aTexts.find( strKey );
            const auto aFound = pTree->Get( strKey );
            ASSERT_EQ( aKnown == aTexts.end() ? std::nullopt : std::optional( aKnown->second ), aFound )
                << strKey.substr( 0, 60 ) << " " << strKey.size();
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

namespace
{
// A small file of two levels in two states, with keys that go on elsewhere.
Texts MakeFileToDamage( const std::string& strPath )
{
    Texts aTexts;
    for ( int nState = 0; nState < 2; ++nState )
    {
        TreeFile aTree( strPath, nullptr, 90 );
        for ( int i = 0; i < 60; ++i )
        {
            const std::string strNumber = std::to_string( nState * 1000 + i );
            const std::string strKey = strNumber + std::string( i % 7 == 0 ? 100 : 70, 'k' );
            aTexts[strKey] = "text " + strNumber;
            aTree.Put( strKey, aTexts[strKey] );
        }
    }
    return aTexts;
}

// Whatever stands in the file, a text comes out as it was written, or there is none.
//   nFirst, nStep  which texts are asked for.
void ExpectNoWrongText( const std::string& strPath, const Texts& aTexts, size_t nFirst, size_t nStep )
try
{
    TreeFile aTree( strPath, "rb" );
    size_t nKey = nFirst;
    for ( const auto& [strKey, strText] : aTexts )
    {
        if ( ++nKey % nStep != 0 )
            continue;
        try
        {
            const auto aFound = aTree.Get( strKey );
            ASSERT_TRUE( !aFound || *aFound == strText ) << strKey;
        }
        catch ( const RWFileErr& )
        {
        }
    }
}
catch ( const RWFileErr& )
{
}
} // namespace

TEST_F( TreeFileTest, DamageNeverGivesAWrongText )
{
    const Texts aTexts = MakeFileToDamage( m_strPath );
    {
        TreeFile aTree( m_strPath, "rb" );
        ExpectAll( aTree, aTexts );
        ASSERT_LT( 0, aTree.aFile.GetStates().GetRoot()->aHead.usLevel );
    }
    const std::string strWhole = ReadBytes( m_strPath );
    std::fstream aBytes( m_strPath, std::ios::in | std::ios::out | std::ios::binary );
    // Each byte of a page's head, and then, since one checksum covers them all, each seventh.
    const auto Step = []( size_t nOffset ) -> size_t
    { return nOffset % TREE_PAGE_SIZE < sizeof( TreePageHead ) ? 1 : 7; };
    for ( size_t i = 0; i < strWhole.size(); i += Step( i ) )
    {
        const auto Write = [&]( int nByte )
        { aBytes.seekp( static_cast<std::streamoff>( i ) ).put( static_cast<char>( nByte ) ).flush(); };
        Write( strWhole[i] ^ 1 << i % 8 );
        ExpectNoWrongText( m_strPath, aTexts, i, i % 256 == 0 ? 1 : 31 );
        Write( strWhole[i] );
    }
    aBytes.close();
    for ( size_t nSize = strWhole.size(); nSize > 0; )
    {
        nSize -= std::min( nSize, Step( nSize ) );
        std::filesystem::resize_file( m_strPath, nSize );
        ExpectNoWrongText( m_strPath, aTexts, nSize, nSize % 256 == 0 ? 1 : 31 );
    }
}

TEST_F( TreeFileTest, OneRootIsEnoughAndOtherFilesStayWhatTheyAre )
{
    const Texts aTexts = MakeFileToDamage( m_strPath );
    const std::string strWhole = ReadBytes( m_strPath );
    const uint32_t ulNewest = TreeFile( m_strPath, "rb" ).aFile.GetStates().GetRoot()->aHead.ulPage;
    // The newest state is gone; the one before holds its own texts, and the next one goes on from there.
    WriteBytes( m_strPath, strWhole.substr( 0, ulNewest * TREE_PAGE_SIZE ) + std::string( 8, '\0' ) +
                               strWhole.substr( ulNewest * TREE_PAGE_SIZE + 8 ) );
    {
        TreeFile aTree( m_strPath );
        EXPECT_EQ( 60u, aTree.aFile.GetStates().GetRoot()->aHead.ullKeys );
        EXPECT_TRUE( aTree.Put( "new", "text" ) );
    }
    TreeFile aReader( m_strPath, "rb" );
    EXPECT_EQ( "text", aReader.Get( "new" ) );
    EXPECT_EQ( "text 5", aReader.Get( "5" + std::string( 70, 'k' ) ) );

    const std::string strOther = m_aFolder.Path( "other" );
    for ( const std::string& strContent :
          { std::string( "no tree" ), std::string( 20000, 'x' ), strWhole.substr( 1 ) } )
    {
        WriteBytes( strOther, strContent );
        for ( const char* const pMode : { "rb", "rb+", static_cast<const char*>( nullptr ) } )
            EXPECT_THROW( TreeFile( strOther, pMode ), RWFileErr );
        EXPECT_EQ( strContent, ReadBytes( strOther ) );
    }
    // An empty one may become a tree, but not while it is only read.
    WriteBytes( strOther, "" );
    EXPECT_THROW( TreeFile( strOther, "rb" ), RWFileErr );
    EXPECT_FALSE( TreeFile( strOther ).Get( "key" ) );
    EXPECT_FALSE( TreeFile( strOther, "rb" ).Get( "key" ) );
    EXPECT_THROW( TreeFile( m_aFolder.Path( "missing" ), "rb+" ), RWFileErr );
    EXPECT_THROW( TreeFile( strOther, "x" ), RWFileErr );
}

TEST_F( TreeFileTest, OneWritesWhileOthersReadTheLastCompleteState )
{
    TreeFile aWriter( m_strPath );
    EXPECT_THROW( TreeFile aSecond( m_strPath ), RWFileErr );
    std::vector<std::unique_ptr<TreeFile>> aReaders;
    for ( int nState = 0; nState < 12; ++nState )
    {
        aReaders.push_back( std::make_unique<TreeFile>( m_strPath, "rb" ) );
        for ( int i = 0; i < 300; ++i )
            aWriter.Put( std::to_string( nState * 1000 + i ), std::to_string( nState ) );
        const std::string strLast = std::to_string( nState * 1000 + 299 );
        EXPECT_EQ( std::to_string( nState ), aWriter.Get( strLast ) );
        for ( const auto& pReader : aReaders )
            ASSERT_FALSE( pReader->Get( strLast ) );
        aWriter.aTree.Flush();
        // Those that have looked before see the new state as well.
        for ( const auto& pReader : aReaders )
            ASSERT_EQ( std::to_string( nState ), pReader->Get( strLast ) );
    }
    // Nor does anybody have to see each state, or to find more than one root whole.
    for ( const char* const pKey : { "skipped", "newest" } )
    {
        aWriter.Put( pKey, "text" );
        aWriter.aTree.Flush();
    }
    EXPECT_EQ( "text", aReaders[1]->Get( "newest" ) );
    std::fstream( m_strPath, std::ios::in | std::ios::out | std::ios::binary )
        .seekp( aReaders[0]->aFile.GetStates().GetNextPage() * TREE_PAGE_SIZE + sizeof( TreePageHead ) )
        .put( '!' );
    EXPECT_EQ( "text", aReaders[0]->Get( "newest" ) );
}

TEST_F( TreeFileTest, GrowsToWhatOffsetsReachAndNoFarther )
{
    {
        TreeFile aTree( m_strPath );
        EXPECT_TRUE( aTree.Put( "before", "text" ) );
        EXPECT_THROW( aTree.aFile.allocate( 0x7FFFFFFF ), RWFileErr );
        // Not written, it takes no room on the disk. What remains is kept for pages.
        EXPECT_LT( 0, aTree.aFile.allocate( 0x7FF00000 ) );
        try
        {
            for ( ;; )
                aTree.aFile.allocate( 100 );
        }
        catch ( const RWFileErr& rError )
        {
            EXPECT_STREQ( "RWFileManager: the file would grow beyond the 2147483647 bytes that offsets reach",
                          rError.what() );
        }
        EXPECT_THROW( aTree.Put( "behind", "text" ), RWFileErr );
    }
    TreeFile aReader( m_strPath, "rb" );
    EXPECT_EQ( "text", aReader.Get( "before" ) );
    EXPECT_FALSE( aReader.Get( "behind" ) );
}
