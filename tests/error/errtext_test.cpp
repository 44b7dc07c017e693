// Texts about errors: the system's, parameters, numbers.
#include "core/callreport.h"
#include "error/records.h"
#include "error/syserrtext.h"
#include "support/recorder.h"

#include <gtest/gtest.h>

namespace
{

TEST( ErrText, SystemTextIsAppendedBehindALineEnd )
{
    DebugRecorder aDebug;
    MString aText( "text" );
    BOOL fFound = FALSE;
    EXPECT_TRUE( AppendLastErrMsg( aText, 2, fFound ) );
    EXPECT_TRUE( fFound );
    EXPECT_EQ( "text\r\n" + SystemText( 2 ), ToText( aText ) );
    for ( DWORD dwLastError : { 5u, 0u } )
    {
        SetLastError( dwLastError );
        EXPECT_TRUE( ExpandLastError( aText, "again", 0, fFound ) );
        EXPECT_EQ( "again\r\n" + SystemText( dwLastError ), ToText( aText ) );
    }
    EXPECT_TRUE( ExpandLastError( aText, NULL, 2, fFound ) );
    EXPECT_EQ( "\r\n" + SystemText( 2 ), ToText( aText ) );
    EXPECT_TRUE( AppendLastErrMsg( aText, 99999, fFound ) ) << "unknown, and so no failure";
    EXPECT_FALSE( fFound );
    EXPECT_EQ( "\r\n" + SystemText( 2 ), ToText( aText ) );

    {
        CallReport aFailing( "From F()" );
        aFailing.Fail( " Error: x" );
        EXPECT_FALSE( TailLastErrMsg( aFailing, 2 ) );
    }
    EXPECT_TRUE( aDebug.OnlyReport( "From F()", " Error: x\r\n" + SystemText( 2 ) ) );
}

// 193 has a text with an insert: the second look is for the error of the first, 87, which has a text.
TEST( ErrText, TextWithInsertIsReportedTwice )
{
    DebugRecorder aDebug;
    MString aText( "text" );
    BOOL fFound = TRUE;
    EXPECT_FALSE( AppendLastErrMsg( aText, 193, fFound ) );
    EXPECT_FALSE( fFound );
    EXPECT_STREQ( "text", aText );
    const std::string strReason = SystemText( 87 );
    const Report aReport = {
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT AppendLastErrMsg( MString& paOut, DWORD dwLastErr, BOOL& pfMessageFound )",
        " Error: ( dwRet = FormatMessage(...) ) == 0\r\n GetLastError() reports: " +
            std::to_string( strReason.size() ) + " -> " + strReason + "\r\n"
    };
    EXPECT_TRUE( aDebug.OnlyReports( { aReport, aReport } ) );
}

TEST( ErrText, EachConversionBecomesOneParameter )
{
    DebugRecorder aDebug;
    MString aText( "old" );
    EXPECT_TRUE( SetErrorTextParams( aText, "%s", "abc" ) );
    EXPECT_TRUE( SetErrorTextParams( aText, "%s%ld", static_cast<LPCTSTR>( aText ), -7L ) );
    EXPECT_STREQ( "abc!;!-7", aText );
    EXPECT_TRUE( SetErrorTextParams( aText, "File %s, line %d.", "a", 3 ) );
    EXPECT_STREQ( "a, line !;!3.", aText );
    EXPECT_TRUE( AddErrorTextParams( "", "x", aText ) );
    EXPECT_STREQ( "x", aText );
    EXPECT_TRUE( AddErrorTextParams( aText, aText, aText ) );
    EXPECT_STREQ( "x!;!x", aText );

    // Through a pointer, since the compiler would not have these formats.
    BOOL ( *const pSetParams )( MString&, LPCTSTR, ... ) = &SetErrorTextParams;
    for ( const char* pFormat : { "no conversions", "", static_cast<const char*>( NULL ) } )
    {
        aText = "old";
        EXPECT_FALSE( pSetParams( aText, pFormat ) );
        EXPECT_STREQ( "", aText );
        EXPECT_TRUE( aDebug.OnlyReport( "From static BOOL internalSetErrParamFormat( MString& aFormat )",
                                        " Error: aFormat.IsEmpty() || usTokenCount <= 1 -> wrong format" ) );
    }
    aText = "old";
    EXPECT_FALSE( SetErrorTextParams( aText, "%s", std::string( 40000, 'x' ).c_str() ) );
    EXPECT_STREQ( "", aText );
    EXPECT_NE( "", aDebug.Take() );
}

} // namespace
