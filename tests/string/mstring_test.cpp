// Making, comparing, editing and taking apart.
#include "support/recorder.h"

#include <bxtools/mstring.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>
#include <tuple>

namespace
{

// Construction, assignment, appending and the operator make the same text of a value.
template <class Value>
void ExpectAll( const std::string& strExpected, Value aValue )
{
    const MString aExpected( strExpected.data(), static_cast<int>( strExpected.size() ) );
    EXPECT_EQ( aExpected, MString( aValue ) );
    MString aString( "old" );
    aString = aValue;
    EXPECT_EQ( aExpected, aString );
    aString += aValue;
    EXPECT_EQ( aExpected + aExpected, aString );
    EXPECT_EQ( aString, aExpected + aValue );
    EXPECT_EQ( aString, MStringAdapter( aExpected ) + aValue );
}

template <class Number>
void ExpectLimits( const char* pFormat )
{
    using Limits = std::numeric_limits<Number>;
    for ( const Number aValue : { Limits::lowest(), Limits::max(), Number( 0 ), Number( -1 ) } )
    {
        char aExpected[400];
        std::snprintf( aExpected, sizeof( aExpected ), pFormat, aValue );
        ExpectAll( aExpected, aValue );
    }
}

} // namespace

TEST( Make, NumbersReadAsPrintfWritesThem )
{
    ExpectLimits<unsigned long>( "%lu" );
    ExpectLimits<long>( "%ld" );
    ExpectLimits<unsigned int>( "%u" );
    ExpectLimits<int>( "%d" );
    ExpectLimits<short>( "%hd" );
    ExpectLimits<float>( "%f" );
    ExpectLimits<double>( "%f" );
    ExpectLimits<long long>( "%lld" );
    ExpectLimits<unsigned long long>( "%llu" );
    ExpectAll( "65535", std::numeric_limits<USHORT>::max() );
    ExpectAll( "3.500000", 3.5 );
    ExpectAll( "0.000001", 0.00000051 );
    ExpectAll( "-0.000000", -0.0000004 );
    ExpectAll( "-inf", -std::numeric_limits<double>::infinity() );
    ExpectAll( "0x00001234", reinterpret_cast<void*>( 0x1234 ) );
    ExpectAll( "0000000000", static_cast<void*>( NULL ) );
    if constexpr ( sizeof( void* ) > 4 )
        ExpectAll( "0x7fff12345678", reinterpret_cast<void*>( static_cast<uintptr_t>( 0x7FFF12345678ull ) ) );
}

TEST( Make, TextsAreCopiedWhateverTheyHold )
{
    char aText[] = "text";
    const unsigned char aBytes[] = "bytes";
    const std::string strLong( 70000, 'm' );
    ExpectAll( "text", static_cast<LPTSTR>( aText ) );
    ExpectAll( "bytes", static_cast<const unsigned char*>( aBytes ) );
    ExpectAll( std::string( 1, '\0' ), '\0' );
    ExpectAll( strLong, MString( strLong.c_str() ) );
    ExpectAll( std::string( "a\0b", 3 ), MStringAdapter( "a\0b", 3 ) );
    ExpectAll( "", static_cast<LPCTSTR>( NULL ) );
    ExpectAll( "", static_cast<const unsigned char*>( NULL ) );
    const MStringAdapter* pNone = NULL;
    EXPECT_EQ( "", MString( pNone ) );
    EXPECT_EQ( "", MString( aText, 0 ) );
    EXPECT_EQ( "", MString( static_cast<LPCTSTR>( NULL ), 5 ) );
    EXPECT_EQ( "-----", MString( '-', 5 ) );
    DebugRecorder aRecorder;
    EXPECT_TRUE( MString( 'c', 0 ).IsEmpty() && MString( 'c', INT_MIN ).IsEmpty() );
    const Report aNone( "From MStringAdapter::MStringAdapter( TCHAR ch, int nRepeat )",
                        " Error: nRepeat <= 0" );
    EXPECT_TRUE( aRecorder.OnlyReports( { aNone, aNone } ) );
}

TEST( Make, ACopyHasTheTextAndTheSafeModeButNotTheHooks )
{
    HookRecorder aHooks;
    MString aSafe( "12a" );
    aSafe.SetSafeMode( TRUE );
    aSafe.SetFuncPtr( &HookRecorder::Debug, NULL );
    MString aAssigned;
    aAssigned = aSafe;
    for ( const MString& rCopy : { MString( aSafe ), aAssigned, MString( std::move( aAssigned ) ) } )
        EXPECT_EQ( INT_MAX, static_cast<int>( rCopy ) );
    EXPECT_EQ( 12, static_cast<int>( MString( static_cast<const MStringAdapter&>( aSafe ) ) ) );
    aSafe += aSafe;
    aSafe = static_cast<const MString&>( aSafe );
    EXPECT_EQ( "12a12a", aSafe );
    aSafe = static_cast<LPCTSTR>( aSafe ) + 4;
    EXPECT_EQ( "2a", aSafe );
    EXPECT_EQ( INT_MAX, static_cast<int>( aSafe ) );
    EXPECT_EQ( 1u, aHooks.TakeReports().size() ) << "of itself alone";
}

TEST( Compare, TextsAreComparedNeverAddresses )
{
    char aText[] = "text";
    const MString aString( "text" );
    const MStringAdapter aAdapter( aText );
    EXPECT_TRUE( aString == aText && aText == aString && aString == aAdapter && aAdapter == aString );
    EXPECT_FALSE( aString != aText || aText != aString || aString != aAdapter );
    EXPECT_TRUE( aString < "texu" && "tex" < aString && aString < MString( "u" ) && !( aString < aText ) );
    EXPECT_TRUE( MString( "a" ) < MString( "\xe4" ) );
    EXPECT_TRUE( MString( "a\0b", 3 ) != "a" && MString( "a\0b", 3 ) != MString( "a\0c", 3 ) );
    EXPECT_EQ( MString(), static_cast<LPCTSTR>( NULL ) );
    EXPECT_GT( 0, aString.Compare( "u" ) );
    EXPECT_LT( 0, aString.Compare( "TEXT" ) );
    EXPECT_EQ( 0, aString.CompareNoCase( "TEXT" ) );
    EXPECT_GT( 0, aString.CompareNoCase( "TEXTS" ) );
    EXPECT_LT( 0, aString.CompareNoCase( NULL ) );
}

TEST( Edit, PartsAndEditsAreClamped )
{
    const MString aAbc( "abc" );
    EXPECT_TRUE( aAbc.Left( 2 ) == "ab" && aAbc.Left( 10 ) == "abc" );
    EXPECT_TRUE( aAbc.Right( 2 ) == "bc" && aAbc.Right( 10 ) == "abc" );
    EXPECT_TRUE( aAbc.Copy( 1, 65535 ) == "bc" && aAbc.Copy( 3, 1 ) == "" );
    const MString aEnd( 'r', 34465 );
    const MString aLong = MString( 'l', 65535 ) + aEnd;
    EXPECT_TRUE( aLong.Right( 100001 ) == aLong && aLong.Copy( 65535, 65535 ) == aEnd );
    EXPECT_EQ( MString( 'l', 65535 ) + MString( 'r', 4465 ), aLong.Left( 70000 ) );

    MString aString( "abcdef" );
    EXPECT_EQ( "bc", aString.Cut( 1, 2 ) );
    EXPECT_EQ( "", aString.Cut( 9, 1 ) );
    EXPECT_EQ( "ad", aString.Erase( 2, 100 ).Erase( 7, 1 ) );
    EXPECT_EQ( "xad!", aString.Insert( 0, "x" ).Insert( 99, "!" ) );
    EXPECT_EQ( "xaxad!d!", aString.Insert( 2, aString ).Insert( 2, NULL ) );
    aString.MakeUpper();
    EXPECT_EQ( "XAXAD!D!", aString );
    for ( const auto& [pText, pAll, pLeading, pTrailing] :
          { std::tuple{ "--a-b--", "ab", "a-b--", "--a-b" }, std::tuple{ "---", "", "", "" } } )
    {
        EXPECT_EQ( pAll, MString( pText ).EraseAllChars( '-' ) );
        EXPECT_EQ( pLeading, MString( pText ).EraseLeadingChars( '-' ) );
        EXPECT_EQ( pTrailing, MString( pText ).EraseTrailingChars( '-' ) );
    }
}

TEST( Edit, CharactersOutsideAreReportedOrThrown )
{
    HookRecorder aHooks;
    MString aString( "abc" );
    aString.SetFuncPtr( &HookRecorder::Debug, NULL );
    aString.SetAt( 1, 'B' );
    EXPECT_EQ( 'B', aString[1u] );
    EXPECT_THROW( (void)aString.GetAt( 3 ), RWBoundsErr );
    EXPECT_THROW( (void)aString[size_t( -1 )], RWBoundsErr );
    EXPECT_EQ( '\0', aString[-1l] );
    EXPECT_TRUE( aHooks.OnlyReport( "From inline TCHAR MStringAdapter::operator[]( int nIndex ) const",
                                    "nIndex < 0 -> bounds error" ) );
    for ( const int nIndex : { -1, 3 } )
    {
        aString.SetAt( nIndex, 'x' );
        EXPECT_TRUE( aHooks.OnlyReport( "From inline void MStringAdapter::SetAt(int nIndex, TCHAR ch)",
                                        " Error: nIndex < 0 || nIndex >= nLen -> bounds error" ) );
    }
    EXPECT_EQ( "aBc", aString );
}

TEST( Find, PositionsOrNone )
{
    const MString aString( "abcab" );
    EXPECT_TRUE( aString.Find( 'a' ) == 0 && aString.Find( 'x' ) == -1 );
    EXPECT_TRUE( aString.ReverseFind( 'a' ) == 3 && aString.ReverseFind( 'x' ) == -1 );
    EXPECT_TRUE( aString.FindStr( "ab", -5 ) == 0 && aString.FindStr( "ab", 1 ) == 3 );
    EXPECT_TRUE( aString.FindStr( "ab", INT_MAX ) == -1 && aString.FindStr( "", 5 ) == 5 );
    EXPECT_TRUE( aString.FindStr( "AB" ) == -1 && aString.FindStr( NULL ) == -1 );
}

TEST( Token, EachDelimiterEndsOne )
{
    const MString aString( "a;;b" );
    EXPECT_EQ( 3, aString.GetTokenCount( ';' ) );
    const char* aTokens[] = { "a", "", "b", "" };
    for ( USHORT i = 0; i < 4; ++i )
    {
        EXPECT_EQ( aTokens[i], aString.GetToken( i, ';' ) );
        EXPECT_EQ( aTokens[i], MString( "a+?++?+b" ).GetTokenStr( i, "+?+" ) );
    }
    EXPECT_EQ( "", aString.GetToken( 65535, ';' ) );
    EXPECT_EQ( 1, MString().GetTokenCount( ';' ) );
    EXPECT_EQ( 2, MString( "a+?+b" ).GetTokenCountStr( "+?+" ) );
    EXPECT_EQ( 2, MString( "a+?+" ).GetTokenCountStr( "+?+" ) );
    EXPECT_EQ( "?+b", MString( "+?+?+b" ).GetTokenStr( 1, "+?+" ) );
    EXPECT_EQ( "abc", MString( "abc" ).GetTokenStr( 0, "+?+" ) );
    for ( LPCTSTR pDelimiter : { static_cast<LPCTSTR>( NULL ), "" } )
    {
        EXPECT_EQ( 1, aString.GetTokenCountStr( pDelimiter ) );
        EXPECT_EQ( "", aString.GetTokenStr( 0, pDelimiter ) );
    }
    DebugRecorder aRecorder;
    EXPECT_EQ( "", aString.GetToken( 0, 0 ) );
    EXPECT_TRUE( aRecorder.OnlyReport( "From MStringAdapter MString::GetToken( USHORT uToken, TCHAR c )",
                                       " Error: c == 0" ) );
    EXPECT_EQ( 0, aString.GetTokenCount( 0 ) );
    EXPECT_TRUE( aRecorder.OnlyReport( "From USHORT MString::GetTokenCount( TCHAR c )", " Error: c == 0" ) );
}

TEST( Token, OneIsDeletedWithADelimiterOrReplacedWithout )
{
    // The text, the token, and what is left without it and with another one; NULL: cannot be done.
    using Case = std::tuple<const char*, USHORT, const char*, const char*>;
    for ( const auto& [pText, uToken, pDeleted, pReplaced] :
          { Case{ "a##b##c", 0, "b##c", "new##b##c" }, Case{ "a##b##c", 1, "a##c", "a##new##c" },
            Case{ "a##b##c", 2, "a##b", "a##b##new" }, Case{ "a##b##c", 3, NULL, NULL },
            Case{ "##", 0, "", "new##" }, Case{ "##", 1, "", "##new" }, Case{ "a", 0, NULL, "new" },
            Case{ "", 0, NULL, NULL } } )
    {
        MString aDeleted( pText );
        MString aReplaced( pText );
        EXPECT_EQ( pDeleted != NULL, aDeleted.DeleteTokenStr( uToken, "##" ) );
        EXPECT_EQ( pDeleted != NULL ? pDeleted : pText, aDeleted ) << uToken;
        EXPECT_EQ( pReplaced != NULL, aReplaced.ReplaceTokenStr( uToken, "##", "new" ) );
        EXPECT_EQ( pReplaced != NULL ? pReplaced : pText, aReplaced ) << uToken;
        EXPECT_EQ( 0, aReplaced.DeleteTokenStr( 0, "" ) + aReplaced.ReplaceTokenStr( 0, NULL, "new" ) );
    }
}

// Counts are 16 bits wide, the texts behind them are not.
TEST( Token, LongTextsAreNeitherCutNorLoopedOver )
{
    MString aString( ';', 65535 );
    EXPECT_EQ( 0, aString.GetTokenCount( ';' ) );
    EXPECT_EQ( 0, aString.GetTokenCountStr( ";" ) );
    aString += "last";
    EXPECT_EQ( "last", aString.GetToken( 65535, ';' ) );
    const MString aFirst( 'l', 1000000 );
    MString aLong = aFirst + "#!#short#!#";
    EXPECT_EQ( 3, aLong.GetTokenCountStr( "#!#" ) );
    EXPECT_EQ( aFirst, aLong.GetTokenStr( 0, "#!#" ) );
    EXPECT_EQ( 1, aLong.DeleteTokenStr( 0, "#!#" ) );
    EXPECT_EQ( "short#!#", aLong );
}
