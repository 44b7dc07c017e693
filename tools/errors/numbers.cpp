#include "tools/errors/numbers.h"

#include <charconv>
#include <string_view>

namespace
{

template <class Number>
std::optional<Number> Parse( std::string_view aText, int nBase )
{
    Number aNumber = 0;
    const char* pEnd = aText.data() + aText.size();
    const auto [pStop, aError] = std::from_chars( aText.data(), pEnd, aNumber, nBase );
    return aError == std::errc() && pStop == pEnd ? std::optional<Number>( aNumber ) : std::nullopt;
}

bool IsHexadecimal( std::string_view aText )
{
    return aText.starts_with( "0x" ) || aText.starts_with( "0X" );
}

} // namespace

std::optional<ERR> ParseErrorNumber( const std::string& aText )
{
    if ( !IsHexadecimal( aText ) )
        return Parse<ERR>( aText, 10 );
    const std::optional<DWORD> aBits = ParseSystemError( aText );
    return aBits ? std::optional<ERR>( static_cast<ERR>( *aBits ) ) : std::nullopt;
}

std::optional<DWORD> ParseSystemError( const std::string& aText )
{
    return IsHexadecimal( aText ) ? Parse<DWORD>( std::string_view( aText ).substr( 2 ), 16 )
                                  : Parse<DWORD>( aText, 10 );
}

std::string CheckErrorNumber( const std::string& aText )
{
    return ParseErrorNumber( aText )
               ? std::string()
               : aText + " is no error number: -2147483648 to 2147483647, or 0x0 to 0xFFFFFFFF";
}

std::string CheckSystemError( const std::string& aText )
{
    return ParseSystemError( aText ) ? std::string()
                                     : aText + " is no system error: 0 to 4294967295, or 0x0 to 0xFFFFFFFF";
}
