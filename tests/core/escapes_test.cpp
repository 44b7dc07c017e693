#include "support/recorder.h"

#include <bxtools/buffers.h>
#include <bxtools/mstring.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace
{

// Both forms give the same.
std::string Converted( const std::string& strText )
{
    std::string strInPlace( strText );
    ReplaceAllBackSlashChars( strInPlace.data() );
    strInPlace.resize( std::char_traits<char>::length( strInPlace.c_str() ) );
    MString aString( strText.c_str() );
    ReplaceAllBackSlashChars( aString );
    EXPECT_EQ( strInPlace, static_cast<LPCTSTR>( aString ) );
    return strInPlace;
}

} // namespace

TEST( Escapes, BecomeTheirCharacters )
{
    DebugRecorder aRecorder;
    for ( const auto& [strText, strExpected] : std::initializer_list<std::pair<std::string, std::string>>{
              { "a\\tb", "a\tb" },
              { "\\a\\b\\f\\n\\r\\t\\v", "\a\b\f\n\r\t\v" },
              { "\\A\\N\\T", "\a\n\t" },
              { "one\\0two", "one" },
              { "", "" },
              { "%zx\\ty%Z", "x\\ty" },
              { "%z%z\\t", "\t" },
              { "\\t%z\\t%z\\t", "\t\\t\t" },
              { "50%", "50" },
              { "50% x%y", "50% x%y" },
              { "path\\", "path" },
              { "%zpath\\", "path" },
              { "\\", "\\" },
              { "%z", "%z" },
              { "%z%z", "%z%z" },
              { "%", "%" },
          } )
        EXPECT_EQ( strExpected, Converted( strText ) ) << strText;
    EXPECT_TRUE( aRecorder.Silent() );
}

TEST( Escapes, UnknownOnesAreReportedAndStay )
{
    constexpr char HEADER[] = "From static BOOL GetValidSign( TCHAR& cSign )";
    DebugRecorder aRecorder;
    char szText[] = "\\Q\\\\n\\\xE4";
    ReplaceAllBackSlashChars( szText );
    EXPECT_STREQ( "\\Q\\\n\\\xE4", szText );
    EXPECT_TRUE( aRecorder.OnlyReports( { { HEADER, "LocalSign = Q not supported" },
                                          { HEADER, "LocalSign = \\ not supported" },
                                          { HEADER, "LocalSign = \xE4 not supported" } } ) );
    ReplaceAllBackSlashChars( static_cast<LPTSTR>( NULL ) );
    EXPECT_TRUE( aRecorder.OnlyReport( "From ReplaceAllBackSlashChars(...)", " Error: pszStr == NULL" ) );
}
