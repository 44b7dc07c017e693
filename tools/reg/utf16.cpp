#include "tools/reg/utf16.h"

#include <cstdint>

namespace
{

constexpr uint32_t ESCAPE = 0xDC00;
constexpr uint32_t REPLACEMENT = 0xFFFD;

void PutUnit( std::string& rOut, uint32_t uUnit )
{
    rOut += static_cast<char>( uUnit & 0xFF );
    rOut += static_cast<char>( uUnit >> 8 );
}

uint32_t UnitAt( std::string_view aBytes, size_t nPosition )
{
    return static_cast<uint8_t>( aBytes[nPosition] ) |
           static_cast<uint32_t>( static_cast<uint8_t>( aBytes[nPosition + 1] ) ) << 8;
}

bool IsIn( uint32_t uCode, uint32_t uFirst, uint32_t uLast )
{
    return uCode >= uFirst && uCode <= uLast;
}

struct Form
{
    uint32_t uLead;  // what the first byte begins with
    uint32_t uMask;  // which of its bits say so
    uint32_t uLeast; // smaller codes have a shorter form
};
constexpr Form FORMS[] = {
    { 0x00, 0x80, 0 }, { 0xC0, 0xE0, 0x80 }, { 0xE0, 0xF0, 0x800 }, { 0xF0, 0xF8, 0x10000 }
};

// The first character's code and length; a byte that begins none stands for itself, escaped.
uint32_t Decode( std::string_view aText, size_t& rLength )
{
    const uint32_t uFirst = static_cast<uint8_t>( aText[0] );
    rLength = 1;
    for ( size_t n = 0; n < 4; n++ )
    {
        if ( ( uFirst & FORMS[n].uMask ) != FORMS[n].uLead )
            continue;
        uint32_t uCode = uFirst & ~FORMS[n].uMask;
        for ( size_t i = 1; i <= n; i++ )
        {
            if ( i >= aText.size() || ( static_cast<uint8_t>( aText[i] ) & 0xC0 ) != 0x80 )
                return ESCAPE | uFirst;
            uCode = uCode << 6 | ( static_cast<uint8_t>( aText[i] ) & 0x3Fu );
        }
        if ( uCode < FORMS[n].uLeast || uCode > 0x10FFFF || IsIn( uCode, 0xD800, 0xDFFF ) )
            return ESCAPE | uFirst;
        rLength = n + 1;
        return uCode;
    }
    return ESCAPE | uFirst;
}

void Encode( std::string& rOut, uint32_t uCode )
{
    const size_t nMore = uCode < 0x80 ? 0 : uCode < 0x800 ? 1 : uCode < 0x10000 ? 2 : 3;
    rOut += static_cast<char>( FORMS[nMore].uLead | uCode >> ( 6 * nMore ) );
    for ( size_t n = nMore; n-- > 0; )
        rOut += static_cast<char>( 0x80 | ( uCode >> ( 6 * n ) & 0x3F ) );
}

} // namespace

std::string ToUtf16( std::string_view aUtf8 )
{
    std::string aOut;
    aOut.reserve( aUtf8.size() * 2 );
    while ( !aUtf8.empty() )
    {
        size_t nLength = 0;
        const uint32_t uCode = Decode( aUtf8, nLength );
        aUtf8.remove_prefix( nLength );
        if ( uCode >= 0x10000 )
            PutUnit( aOut, 0xD7C0 + ( uCode >> 10 ) );
        PutUnit( aOut, uCode >= 0x10000 ? 0xDC00 | ( uCode & 0x3FF ) : uCode );
    }
    return aOut;
}

std::string FromUtf16( std::string_view aBytes )
{
    std::string aOut;
    aOut.reserve( aBytes.size() );
    for ( size_t n = 0; n + 1 < aBytes.size(); n += 2 )
    {
        const uint32_t uUnit = UnitAt( aBytes, n );
        const uint32_t uNext = n + 3 < aBytes.size() ? UnitAt( aBytes, n + 2 ) : 0;
        if ( IsIn( uUnit, 0xD800, 0xDBFF ) && IsIn( uNext, 0xDC00, 0xDFFF ) )
        {
            Encode( aOut, 0x10000 + ( ( uUnit & 0x3FF ) << 10 | ( uNext & 0x3FF ) ) );
            n += 2;
        }
        else if ( IsIn( uUnit, ESCAPE + 0x80, ESCAPE + 0xFF ) )
            aOut += static_cast<char>( uUnit & 0xFF );
        else
            Encode( aOut, IsIn( uUnit, 0xD800, 0xDFFF ) ? REPLACEMENT : uUnit );
    }
    return aOut;
}
