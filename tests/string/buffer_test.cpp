// The buffers that a string gives out or formats in, and its wide forms.
#include "support/recorder.h"

#include <bxtools/mstring.h>
#include <bxtools/platform.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <initializer_list>
#include <string>

namespace
{

constexpr char FORMAT_HEADER[] = "From void MStringAdapter::Format( LPCTSTR lpszFormat, ... )";
constexpr char TOO_LONG[] = " Error: m_ulConvertBufferSize >= MAX_BUFFER_SIZE";

class Buffer : public ::testing::Test
{
protected:
    Buffer() { m_aString.SetFuncPtr( &HookRecorder::Debug, NULL ); }

    // Formats a text of that many characters. Result: whether the string became that text.
    bool FormatLength( int nLength )
    {
        m_aString = "old";
        m_aString.Format( "%*d", nLength, 7 );
        return m_aString == MString( ' ', nLength - 1 ) + 7;
    }
    // Whether the string keeps its text, with one report, when a buffer of that length is taken back.
    bool IsRefused( int nLength, const char* pText )
    {
        m_aString = "kept";
        m_aString.ReleaseBuffer( nLength );
        return m_aHooks.OnlyReport( "From void MStringAdapter::ReleaseBuffer( int nNewLength )", pText ) &&
               m_aString == "kept";
    }

    HookRecorder m_aHooks;
    MString m_aString;
};

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

TEST_F( Buffer, FormatTakesItsOwnText )
{
    m_aString = "abc";
    m_aString.Format( "%s-%s-%d", m_aString.data(), m_aString.data() + 1, 42 );
    EXPECT_EQ( "abc-bc-42", m_aString );
    m_aString = MString( 'x', 1000 );
    m_aString.Format( "<%s>", m_aString.data() );
    EXPECT_EQ( MString( "<" ) + MString( 'x', 1000 ) + ">", m_aString );
    m_aString.Format( "a%cb", 0 );
    EXPECT_EQ( MString( "a\0b", 3 ), m_aString );
    const char* volatile pNone = NULL;
    m_aString.Format( pNone, 0 );
    EXPECT_TRUE(
        m_aHooks.OnlyReport( FORMAT_HEADER, " Error: lpszFormat == NULL || STRLEN( lpszFormat ) == 0" ) );
    EXPECT_EQ( MString( "a\0b", 3 ), m_aString );
}

// 20 steps of growth at most: a fresh string ends at 19,488 characters with the terminator. What it reached before,
// also with short texts, counts; at 31,776 it ends for good.
TEST_F( Buffer, FormatEndsWhereTheBufferEnds )
{
    EXPECT_FALSE( FormatLength( 19488 ) );
    EXPECT_TRUE( m_aHooks.OnlyReport( FORMAT_HEADER, TOO_LONG ) );
    EXPECT_EQ( "old", m_aString );
    EXPECT_TRUE( FormatLength( 19487 ) );

    MString aOther;
    aOther.Format( "%*d", 32, 7 );
    aOther.Format( "%*d", 21535, 7 );
    EXPECT_EQ( 21535u, aOther.GetLength() );
    for ( const int nLength : { 31, 32, 511, 512, 513, 31775, 100 } )
        EXPECT_TRUE( FormatLength( nLength ) ) << nLength;
    EXPECT_FALSE( FormatLength( 31776 ) );
    EXPECT_TRUE( m_aHooks.OnlyReport( FORMAT_HEADER, TOO_LONG ) );
}

TEST_F( Buffer, ABufferIsTakenBackUpToItsTerminatorOrALength )
{
    m_aString = "text";
    LPTSTR pBuffer = m_aString.GetBuffer( 100 );
    EXPECT_STREQ( "text", pBuffer );
    std::memset( pBuffer, 'b', 100 );
    EXPECT_EQ( "text", m_aString );
    m_aString.ReleaseBuffer( 100 );
    EXPECT_EQ( MString( 'b', 100 ), m_aString );
    pBuffer[3] = 0;
    m_aString.ReleaseBuffer();
    EXPECT_EQ( "bbb", m_aString );
    EXPECT_STREQ( "bbb", m_aString.GetBuffer( -7 ) );
    m_aString.ReleaseBuffer( 0 );
    EXPECT_EQ( "", m_aString );
    m_aString = MString( 'l', 1048576 );
    EXPECT_STREQ( m_aString, m_aString.GetBuffer( 0 ) );
}

TEST_F( Buffer, WhatCannotBeTakenBackIsReported )
{
    static constexpr char PAST_BUFFER[] =
        " Error: !( fGo = ExpandBuffer( &pTempDataBuffer, &m_ulDataBufferSize, ulTempSize ) )";
    for ( const int nLength : { -1, 0, 4 } )
        EXPECT_TRUE( IsRefused( nLength, PAST_BUFFER ) ) << "without a buffer " << nLength;
    std::memset( m_aString.GetBuffer( 10 ), 'b', 11 );
    for ( const int nLength : { -1, 11, INT_MAX } )
        EXPECT_TRUE( IsRefused( nLength, PAST_BUFFER ) ) << nLength;
    for ( const int nLength : { -2, INT_MIN } )
        EXPECT_TRUE( IsRefused( nLength, " Error: nNewLength < 0" ) ) << nLength;
    m_aString.ReleaseBuffer( 10 );
    EXPECT_EQ( "bbbbbbbbbb", m_aString );
}

TEST( Wide, PlainTextsGoThereAndBackWithTheirZeros )
{
    const MString aString( "ab\0c", 4 );
    const WideString aWide = Wide( { 'a', 'b', 0, 'c' } );
    EXPECT_TRUE( aWide == Taken( aString.AllocSysString() ) );
    EXPECT_TRUE( Taken( MString().AllocSysString() ).empty() );
    MString aBack( "old" );
    EXPECT_TRUE( aBack.FromBSTR( aWide.c_str(), 4 ) && aBack == aString );
    EXPECT_TRUE( aBack.FromBSTR( aWide.c_str() ) && aBack == "ab" );
    EXPECT_TRUE( aBack.FromBSTR( NULL, 7 ) && aBack == "" );

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
    EXPECT_TRUE( aBack.FromBSTR( aWide.c_str() ) && aBack == aString );
    EXPECT_TRUE( aBack.FromBSTR( aWide.c_str(), 2 ) && aBack == aString.Left( 5 ) );
    EXPECT_TRUE( Wide( { 'a', 0xFFFD } ) == Taken( MString( "a\xff" ).AllocSysString() ) );
}
