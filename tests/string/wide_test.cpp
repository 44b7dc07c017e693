#include "support/recorder.h"

#include <bxtools/mstring.h>
#include <bxtools/platform.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <string>

namespace
{

using WideString = std::basic_string<WCHAR>;

WideString Wide( std::initializer_list<int> aUnits )
{
    return WideString( aUnits.begin(), aUnits.end() );
}

// The content of an automation string, which ends here.
WideString Taken( BSTR bstr )
{
    const WideString aWide( bstr, SysStringLen( bstr ) );
    EXPECT_EQ( 0, bstr[aWide.size()] );
    SysFreeString( bstr );
    return aWide;
}

} // namespace

TEST( Wide, PlainTextsGoThereAndBackWithTheirZeros )
{
    const MString aString( "ab\0c", 4 );
    const WideString aWide = Wide( { 'a', 'b', 0, 'c' } );
    EXPECT_TRUE( aWide == Taken( aString.AllocSysString() ) );
    EXPECT_TRUE( Taken( MString().AllocSysString() ).empty() );
    MString aBack( "old" );
    EXPECT_TRUE( aBack.FromBSTR( aWide.c_str(), 4 ) );
    EXPECT_EQ( aString, aBack );
    EXPECT_TRUE( aBack.FromBSTR( aWide.c_str() ) );
    EXPECT_EQ( "ab", aBack );
    EXPECT_TRUE( aBack.FromBSTR( NULL, 7 ) );
    EXPECT_EQ( "", aBack );
}

TEST( Wide, AnAutomationStringIsReplaced )
{
    BSTR bstr = NULL;
    EXPECT_TRUE( MString( 'x', 100000 ).SetSysString( &bstr ) == bstr );
    EXPECT_EQ( 100000u, SysStringLen( bstr ) );
    EXPECT_TRUE( MString( "y" ).SetSysString( &bstr ) == bstr );
    EXPECT_TRUE( Wide( { 'y' } ) == Taken( bstr ) );
    DebugRecorder aRecorder;
    EXPECT_TRUE( MString( "y" ).SetSysString( NULL ) == NULL );
    EXPECT_TRUE( aRecorder.OnlyReport( "From BSTR MStringAdapter::SetSysString( BSTR* pbstr ) const",
                                       " Error: ::SysReAllocStringLen(...) failed" ) );
}

TEST( Wide, TheWideBufferComesBackAsTheText )
{
    MString aString( "own" );
    EXPECT_STREQ( "own", aString.Unicode2Char() );
    EXPECT_TRUE( Wide( { 'o', 'w', 'n' } ) == aString.Char2Unicode( NULL ) );
    aString.Char2Unicode( "other" )[0] = 'O';
    EXPECT_EQ( "own", aString );
    EXPECT_STREQ( "Other", aString.Unicode2Char() );
    EXPECT_TRUE( WideString() == aString.Char2Unicode( "" ) );
    EXPECT_STREQ( "", aString.Unicode2Char() );
}

// Windows takes the bytes for those of its code page.
TEST( Wide, BytesAreUtf8 )
{
    const WideString aWide = Wide( { 0xE4, 0x20AC, 0xD83D, 0xDE00 } );
    const MString aString( "\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80" );
    EXPECT_TRUE( aWide == Taken( aString.AllocSysString() ) );
    MString aBack;
    EXPECT_TRUE( aBack.FromBSTR( aWide.c_str() ) );
    EXPECT_EQ( aString, aBack );
    EXPECT_TRUE( aBack.FromBSTR( aWide.c_str(), 2 ) );
    EXPECT_EQ( "\xc3\xa4\xe2\x82\xac", aBack );
    EXPECT_TRUE( aBack.FromBSTR( Wide( { 'x', 0xD83D, 'y' } ).c_str() ) );
    EXPECT_EQ( "x\xef\xbf\xbdy", aBack );
    for ( const char* pBad : { "\xff", "\xc3", "\xed\xa0\x80", "\xc0\x80", "\xf4\x90\x80\x80" } )
    {
        const WideString aBad = Taken( ( MString( "a" ) + pBad + "b" ).AllocSysString() );
        EXPECT_LT( 2u, aBad.size() );
        EXPECT_TRUE( aBad.front() == 'a' && aBad.back() == 'b' );
        EXPECT_EQ( aBad.size() - 2,
                   static_cast<size_t>( std::count( aBad.begin(), aBad.end(), WCHAR( 0xFFFD ) ) ) );
    }
}
