#include "support/failnew.h"
#include "support/threads.h"

#include <bxtools/rwcstring.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <new>
#include <random>
#include <string>
#include <vector>

namespace
{

std::string Text( const RWCString& aText )
{
    EXPECT_EQ( '\0', aText.data()[aText.length()] );
    return std::string( aText.data(), aText.length() );
}

char UpperCase( char cSign )
{
    return static_cast<char>( cSign >= 'a' && cSign <= 'z' ? cSign - 'a' + 'A' : cSign );
}

bool LiesInside( const RWCString& aText )
{
    const char* pObject = reinterpret_cast<const char*>( &aText );
    return std::less_equal<>()( pObject, aText.data() ) &&
           std::less<>()( aText.data(), pObject + sizeof( aText ) );
}

// Some strings that share blocks with each other, each beside what it should be.
class Model
{
public:
    explicit Model( unsigned unSeed ) : m_aRandom( unSeed ) {}

    // Changes one string, as often by a part of its own as by another text.
    void Step()
    {
        const size_t i = Number( STRINGS );
        RWCString& rText = m_aTexts[i];
        std::string& rExpected = m_aExpected[i];
        const size_t ulStart = Number( rExpected.size() + 1 );
        const size_t ulCount = Number( rExpected.size() - ulStart + 1 );
        const size_t ulPlace = Number( rExpected.size() + 1 );
        const std::string strOther( Number( 80 ), static_cast<char>( Number( 256 ) ) );
        const bool fOwn = Number( 2 ) == 0;
        const char* pSource = fOwn ? rText.data() + ulStart : strOther.data();
        const std::string strSource( pSource, fOwn ? ulCount : strOther.size() );
        const std::pair<std::function<void()>, std::function<void()>> aSteps[] = {
            { [&] { rText.append( pSource, strSource.size() ); }, [&] { rExpected += strSource; } },
            { [&] { rText.replace( ulPlace, ulCount, pSource, strSource.size() ); },
              [&] { rExpected.replace( ulPlace, ulCount, strSource ); } },
            { [&] { rText.assign( pSource, strSource.size() ); }, [&] { rExpected = strSource; } },
            { [&] { rText = m_aTexts[0]; }, [&] { rExpected = std::string( m_aExpected[0] ); } },
            { [&] { rText = RWCString( m_aTexts[1] ); }, [&] { rExpected = std::string( m_aExpected[1] ); } },
            { [&] { rText.toUpper(); },
              [&] { std::ranges::transform( rExpected, rExpected.begin(), UpperCase ); } },
            { [&]
              {
                  if ( ulStart < rExpected.size() )
                      rText.setAt( ulStart, 'X' );
              },
              [&] { rExpected.replace( ulStart, 1, ulStart < rExpected.size() ? "X" : "" ); } },
        };
        const auto& [aStep, aModelStep] = aSteps[Number( std::size( aSteps ) )];
        aStep();
        aModelStep();
    }
    void Check() const
    {
        for ( size_t i = 0; i < STRINGS; ++i )
            ASSERT_EQ( m_aExpected[i], Text( m_aTexts[i] ) );
    }

private:
    static constexpr size_t STRINGS = 4;
    size_t Number( size_t ulBelow ) { return m_aRandom() % ulBelow; }

    std::mt19937 m_aRandom;
    RWCString m_aTexts[STRINGS];
    std::string m_aExpected[STRINGS];
};

} // namespace

TEST( RWCString, EditsOfSharedAndOwnTextsFollowTheModel )
{
    for ( unsigned unSeed = 0; unSeed < 20; ++unSeed )
    {
        Model aModel( unSeed );
        for ( int i = 0; i < 500 && !::testing::Test::HasFatalFailure(); ++i )
        {
            aModel.Step();
            aModel.Check();
        }
    }
}

TEST( RWCString, ShortTextsLieInTheObjectLongOnesAreSharedUntilAChange )
{
    RWCString aShort( 'a', 40 );
    aShort.append( "1234567", 7 );
    EXPECT_TRUE( LiesInside( aShort ) );
    RWCString aLong( 'l', 1048576 );
    const RWCString aSharer( aLong );
    EXPECT_EQ( aSharer.data(), aLong.data() );
    aLong.setAt( 0, 'L' );
    EXPECT_EQ( 'l', aSharer.at( 0 ) );
    aLong = aSharer;
    aLong.replace( 10, RWCString::npos, NULL, 0 );
    EXPECT_TRUE( LiesInside( aLong ) );
    EXPECT_EQ( std::string( 10, 'l' ), Text( aLong ) );
}

TEST( RWCString, PositionsPastTheEndAreClampedOrSignalled )
{
    RWCString aText( "ab\0cab\0", 7 );
    EXPECT_EQ( 4u, aText.find( "ab", 1 ) );
    EXPECT_EQ( RWCString::npos, aText.find( "ab", 5 ) );
    EXPECT_EQ( 7u, aText.find( "", 7 ) );
    EXPECT_EQ( RWCString::npos, aText.find( "", 8 ) );
    EXPECT_EQ( 6u, aText.findLast( '\0' ) );
    aText.replace( 10, 10, "d", 1 );
    EXPECT_EQ( 'd', aText.at( 7 ) );
    EXPECT_THROW( aText.at( 8 ), RWBoundsErr );
    try
    {
        aText.setAt( 9, 'x' );
        FAIL();
    }
    catch ( const RWBoundsErr& rError )
    {
        EXPECT_EQ( 9u, rError.index() );
        EXPECT_EQ( 8u, rError.length() );
    }
}

TEST( RWCString, CopiesInOtherThreadsAreIndependent )
{
    for ( int nRound = 0; nRound < 50; ++nRound )
    {
        RWCString aSource( 's', 200 );
        const auto Change = [aCopy = aSource]() mutable
        {
            const RWCString aBefore( aCopy );
            aCopy.setAt( 3, 'x' );
            EXPECT_EQ( std::string( 200, 's' ), Text( aBefore ) );
            EXPECT_EQ( 'x', aCopy.at( 3 ) );
        };
        std::thread aOthers( [&] { OnThreads( 4, Change ); } );
        aSource.setAt( 199, 'y' );
        aOthers.join();
        EXPECT_EQ( std::string( 199, 's' ).append( "y" ), Text( aSource ) );
    }
}

TEST( OutOfMemory, AnEditThatFailsLeavesTheText )
{
    NewFault aFault( 1 );
    const std::string strText( 150, 't' );
    RWCString aText( strText.c_str() );
    aFault.Arm();
    EXPECT_THROW( aText.append( aText.data(), 150 ), std::bad_alloc );
    aFault.Disarm();
    EXPECT_EQ( strText, Text( aText ) );
    const volatile size_t ulTooLong = RWCString::npos / 2;
    EXPECT_THROW( RWCString( "", ulTooLong ), std::bad_alloc );
    EXPECT_THROW( aText.append( "", ulTooLong ), std::bad_alloc );
    EXPECT_EQ( strText, Text( aText ) );
}
