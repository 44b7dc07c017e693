#include "nls/textmemo.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>

// Whatever it forgets when it is full, what it gives is what was kept last for just that section and key.
TEST( TextMemo, GivesTheTextOfThePairOrNone )
{
    TextMemo aMemo;
    std::map<std::pair<std::string, std::string>, std::string> aTexts;
    std::mt19937 aRandom( 7 );
    size_t nFound = 0;
    size_t nForgotten = 0;
    for ( int i = 0; i < 50000; ++i )
    {
        // The same characters, divided in two places, are two pairs.
        const std::string strBoth = "SECTION" + std::to_string( aRandom() % 3000 );
        const std::string strSection = strBoth.substr( 0, aRandom() % 4 );
        const std::string strKey = strBoth.substr( strSection.size() );
        const char* const pText = aMemo.Find( strSection, strKey );
        std::string& rExpected = aTexts[{ strSection, strKey }];
        if ( pText != nullptr )
        {
            ASSERT_EQ( rExpected, pText ) << strSection << '|' << strKey;
            ++nFound;
            continue;
        }
        nForgotten += !rExpected.empty();
        rExpected = std::to_string( i ) + std::string( aRandom() % 60, 'x' );
        aMemo.Keep( strSection, strKey, rExpected );
    }
    EXPECT_GT( nFound, 10000u );
    EXPECT_GT( nForgotten, 0u );
}

TEST( TextMemo, ForgetsWithTheStateAndKeepsNoLongTexts )
{
    TextMemo aMemo;
    aMemo.Follow( 1 );
    aMemo.Keep( "", "", "" );
    aMemo.Keep( "S", "LONG", std::string( 100000, 'x' ) );
    aMemo.Follow( 1 );
    EXPECT_STREQ( "", aMemo.Find( "", "" ) );
    EXPECT_EQ( nullptr, aMemo.Find( "S", "LONG" ) );
    aMemo.Follow( 2 );
    EXPECT_EQ( nullptr, aMemo.Find( "", "" ) );
}
