// Profile files of any bytes: both searches agree, and changes hold. Behind the first zero byte that follows a line "!" stand
// names and a value for a change, one a line.
#include "fuzz/inichecks.h"
#include "fuzz/require.h"

#include <cstdint>

namespace
{
// What can be written as it is.
std::string Clean( std::string_view aText, const char* pOtherwise )
{
    std::string strClean;
    for ( const char c : aText.substr( 0, 64 ) )
    {
        if ( static_cast<unsigned char>( c ) > ' ' && c != '[' && c != ']' && c != '=' )
            strClean += c;
    }
    return strClean.empty() ? pOtherwise : strClean;
}

std::string_view TakeLine( std::string_view& rText )
{
    const size_t nEnd = rText.find( '\n' );
    const std::string_view aLine = rText.substr( 0, nEnd );
    rText.remove_prefix( nEnd == rText.npos ? rText.size() : nEnd + 1 );
    return aLine;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput( const uint8_t* pBytes, size_t nBytes )
{
    // In memory of exactly its size, where a byte too many shows.
    const std::string strAll( reinterpret_cast<const char*>( pBytes ), nBytes );
    std::string_view aText = strAll;
    std::string_view aChange;
    constexpr std::string_view DIVIDER( "\n!\0", 3 );
    const size_t nDivider = aText.find( DIVIDER );
    if ( nDivider != aText.npos )
    {
        aChange = aText.substr( nDivider + DIVIDER.size() );
        aText = aText.substr( 0, nDivider );
    }
    const std::string strSection = Clean( TakeLine( aChange ), "a" );
    const std::string strKey = Clean( TakeLine( aChange ), "k" );
    const std::string strValue = Clean( aChange, "v" );
    Require( IniIndexAgrees( aText ) );
    Require( IniEditsHold( aText, strSection, strKey, strValue ) );
    return 0;
}
