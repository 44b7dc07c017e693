// Language headers of any bytes: the codes are those that the string's own tokens give; and the upper case in which texts are
// looked for is the string's, too.
#include "diag/sharedvalues.h"
#include "fuzz/require.h"
#include "nls/keytext.h"
#include "nls/languageheader.h"

#include <bxtools/mstring.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace
{
struct Codes
{
    std::vector<LONG> aCodes;
    bool fWrong = false;

    bool operator==( const Codes& ) const = default;
};

Codes ReadCodes( std::string_view aLine )
{
    LanguageHeader aHeader( aLine );
    Codes aFound;
    for ( LONG lCode = 0; aHeader.NextCode( lCode ); )
        aFound.aCodes.push_back( lCode );
    aFound.fWrong = aHeader.IsWrong();
    return aFound;
}

Codes CodesOfTokens( const MString& aLine )
{
    constexpr unsigned long long LARGEST = 0x7FFFFFFF;
    Codes aFound;
    for ( USHORT uToken = 1; uToken < aLine.GetTokenCount( ';' ) && !aFound.fWrong; ++uToken )
    {
        MString aToken = aLine.GetToken( uToken, ';' );
        if ( aToken.GetTokenCount( '=' ) == 2 )
            aToken = aToken.GetToken( 1, '=' );
        aFound.fWrong = !aToken.IsNumeric( FALSE );
        if ( !aFound.fWrong )
            aFound.aCodes.push_back(
                static_cast<LONG>( std::min( std::strtoull( aToken.data(), nullptr, 10 ), LARGEST ) ) );
    }
    return aFound;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput( const uint8_t* pBytes, size_t nBytes )
{
    SetDebugEnabled( false );
    // In memory of exactly its size, where a byte too many shows.
    const std::string strAll( reinterpret_cast<const char*>( pBytes ), nBytes );
    const std::string_view aLine = FirstLine( strAll );
    Require( aLine.find_first_of( "\r\n" ) == aLine.npos );
    const MString aText( aLine.data(), static_cast<int>( aLine.size() ) );
    Require( LanguageHeader( aLine ).HasLanguages() == ( aText.GetTokenCount( ';' ) > 1 ) );
    Require( ReadCodes( aLine ) == CodesOfTokens( aText ) );
    MString aUpper( strAll.data(), static_cast<int>( strAll.size() ) );
    aUpper.MakeUpper();
    const UpperText aFound( strAll );
    Require( std::string_view( aFound.Text(), strAll.size() ) ==
                 std::string_view( aUpper.data(), aUpper.length() ) &&
             aFound.End()[0] == '\0' );
    return 0;
}
