#include "string/textsearch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace
{

// Bytes that end where their memory ends, so that a sanitizer sees who reads on.
std::vector<char> RandomBytes( std::mt19937& rRandom, size_t ulLength, int nFirst, int nLast )
{
    std::vector<char> aBytes( ulLength );
    for ( char& rByte : aBytes )
        rByte = static_cast<char>( std::uniform_int_distribution( nFirst, nLast )( rRandom ) );
    return aBytes;
}

std::string_view View( const std::vector<char>& aBytes )
{
    return { aBytes.data(), aBytes.size() };
}

int Sign( int nOrder )
{
    return ( nOrder > 0 ) - ( nOrder < 0 );
}

template <class Block>
class TextSearch : public ::testing::Test
{
};
#if defined( __SSE2__ )
using Blocks = ::testing::Types<ScalarBlock, VectorBlock>;
#else
using Blocks = ::testing::Types<ScalarBlock>;
#endif
TYPED_TEST_SUITE( TextSearch, Blocks );

} // namespace

TYPED_TEST( TextSearch, FindsAndCountsAsALoopDoes )
{
    std::mt19937 aRandom( 1 );
    for ( size_t ulLength = 0; ulLength < 300; ++ulLength )
    {
        const std::vector<char> aBytes = RandomBytes( aRandom, ulLength, 'a', 'c' );
        const std::string_view aText = View( aBytes );
        size_t ulNumber = 0;
        for ( size_t i = 0; ( i = aText.find( 'b', i ) ) != aText.npos; ++i )
            ASSERT_EQ( i, FindNthCharacter<TypeParam>( aText, 'b', ulNumber++ ) );
        EXPECT_EQ( aText.npos, FindNthCharacter<TypeParam>( aText, 'b', ulNumber ) );
        EXPECT_EQ( ulNumber, CountCharacter<TypeParam>( aText, 'b' ) );
        for ( const std::string_view aSeparator : { "b", "ab", "aa", "aba", "aaaa", "abcabcabcabcabcabc" } )
        {
            size_t ulCount = 0;
            for ( size_t i = 0; ( i = aText.find( aSeparator, i ) ) != aText.npos; i += aSeparator.size() )
                ++ulCount;
            EXPECT_EQ( ulCount, CountSeparator<TypeParam>( aText, aSeparator ) );
            const size_t ulStart = aRandom() % ( ulLength + 3 );
            EXPECT_EQ( aText.find( aSeparator, ulStart ),
                       FindSeparator<TypeParam>( aText, aSeparator, ulStart ) );
        }
        EXPECT_EQ( 0u, CountSeparator<TypeParam>( aText, "" ) );
    }
    EXPECT_EQ( 100000u, CountCharacter<TypeParam>( std::string( 100000, ';' ), ';' ) );
}

TYPED_TEST( TextSearch, ComparesWithoutCaseAsALoopDoes )
{
    std::mt19937 aRandom( 2 );
    for ( size_t ulLength = 0; ulLength < 100; ++ulLength )
    {
        const std::vector<char> aLeft = RandomBytes( aRandom, ulLength, -128, 127 );
        std::string strLower;
        for ( const char cSign : aLeft )
            strLower += static_cast<char>( cSign >= 'A' && cSign <= 'Z' ? cSign + 32 : cSign );
        EXPECT_EQ( 0, CompareWithoutCase<TypeParam>( View( aLeft ), strLower ) );
        for ( size_t i = 0; i < ulLength; ++i )
        {
            std::vector<char> aRight( strLower.begin(), strLower.end() );
            aRight[i] = static_cast<char>( aRight[i] ^ ( 1 << aRandom() % 8 ) );
            std::string strRight( View( aRight ) );
            strRight[i] = static_cast<char>( LowerCase( strRight[i] ) );
            EXPECT_EQ( Sign( strLower.compare( strRight ) ),
                       Sign( CompareWithoutCase<TypeParam>( View( aLeft ), View( aRight ) ) ) );
        }
        EXPECT_GT( 0, CompareWithoutCase<TypeParam>( View( aLeft ), strLower + "+" ) );
    }
}
