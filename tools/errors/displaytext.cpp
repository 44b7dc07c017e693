#include "tools/errors/displaytext.h"

#include "tools/systemtext.h"

#include <cstdint>
#include <cstdio>

namespace
{

// Narrower than this a text is not squeezed: broken words would be worse than an overrun.
constexpr size_t LEAST_TEXT_COLUMNS = 16;

struct Character
{
    uint32_t uCode;
    size_t nBytes; // 0: not UTF-8
};

struct Lead
{
    uint8_t uMask;
    uint8_t uBits;
    uint32_t uLeast; // smaller codes have a shorter form, so this one is none
};
constexpr Lead LEADS[] = {
    { 0x80, 0x00, 0 },
    { 0xE0, 0xC0, 0x80 },
    { 0xF0, 0xE0, 0x800 },
    { 0xF8, 0xF0, 0x10000 },
};

Character DecodeFirst( std::string_view aText )
{
    const uint8_t uFirst = static_cast<uint8_t>( aText[0] );
    size_t nBytes = 0;
    for ( const Lead& rLead : LEADS )
    {
        nBytes++;
        if ( ( uFirst & rLead.uMask ) != rLead.uBits )
            continue;
        uint32_t uCode = uFirst & static_cast<uint8_t>( ~rLead.uMask );
        for ( size_t i = 1; i < nBytes; i++ )
        {
            const uint8_t uNext = i < aText.size() ? static_cast<uint8_t>( aText[i] ) : uint8_t( 0 );
            if ( ( uNext & 0xC0 ) != 0x80 )
                return { 0, 0 };
            uCode = uCode << 6 | ( uNext & 0x3Fu );
        }
        const bool fSurrogate = uCode >= 0xD800 && uCode < 0xE000;
        return uCode < rLead.uLeast || fSurrogate || uCode > 0x10FFFF ? Character{ 0, 0 }
                                                                      : Character{ uCode, nBytes };
    }
    return { 0, 0 };
}

struct Range
{
    uint32_t uFirst;
    uint32_t uLast;
    const char* pFormat;
};
// What a terminal acts on instead of showing it.
constexpr Range ACTING[] = {
    { '\t', '\t', "\\t" },           { '\n', '\n', "\\n" },           { '\r', '\r', "\\r" },
    { 0x00, 0x1F, "\\x%02X" },       { 0x7F, 0x9F, "\\x%02X" },       { 0x200E, 0x200F, "\\u{%04X}" },
    { 0x2028, 0x202E, "\\u{%04X}" }, { 0x2066, 0x2069, "\\u{%04X}" },
};

void AppendVisible( std::string& rOut, uint32_t uCode, std::string_view aBytes )
{
    const bool fPlain = uCode >= ' ' && uCode < 0x7F;
    for ( const Range& rRange : ACTING )
        if ( !fPlain && uCode >= rRange.uFirst && uCode <= rRange.uLast )
        {
            char szEscape[16];
            const int nLength = snprintf( szEscape, sizeof( szEscape ), rRange.pFormat, uCode );
            rOut.append( szEscape, static_cast<size_t>( nLength ) );
            return;
        }
    rOut.append( aBytes );
}

// Where the first line of aText ends: after nColumns characters, at the last blank before that if there is one.
size_t FindLineEnd( std::string_view aText, size_t nColumns )
{
    size_t nEnd = 0;
    size_t nBlank = std::string_view::npos;
    for ( size_t nCharacter = 0; nEnd < aText.size(); nCharacter++ )
    {
        if ( aText[nEnd] == ' ' )
            nBlank = nEnd;
        if ( nCharacter == nColumns )
            return nBlank != std::string_view::npos && nBlank > 0 ? nBlank : nEnd;
        nEnd += DecodeFirst( aText.substr( nEnd ) ).nBytes;
    }
    return nEnd;
}

} // namespace

bool IsUtf8( std::string_view aText )
{
    for ( Character aCharacter{}; !aText.empty(); aText.remove_prefix( aCharacter.nBytes ) )
        if ( aCharacter = DecodeFirst( aText ); aCharacter.nBytes == 0 )
            return false;
    return true;
}

std::string ToUtf8( std::string_view aText )
{
    std::string aOut;
    aOut.reserve( aText.size() );
    while ( !aText.empty() )
    {
        size_t nBytes = DecodeFirst( aText ).nBytes;
        if ( nBytes == 0 )
            aOut.append( TakeSystemCharacter( aText, nBytes ) );
        else
            aOut.append( aText.substr( 0, nBytes ) );
        aText.remove_prefix( nBytes );
    }
    return aOut;
}

std::string MakeVisible( std::string_view aText )
{
    std::string aOut;
    aOut.reserve( aText.size() );
    while ( !aText.empty() )
    {
        auto [uCode, nBytes] = DecodeFirst( aText );
        if ( nBytes == 0 )
        {
            const std::string aForeign = TakeSystemCharacter( aText, nBytes );
            AppendVisible( aOut, DecodeFirst( aForeign ).uCode, aForeign );
        }
        else
            AppendVisible( aOut, uCode, aText.substr( 0, nBytes ) );
        aText.remove_prefix( nBytes );
    }
    return aOut;
}

size_t CountColumns( std::string_view aText )
{
    size_t nColumns = 0;
    for ( char ch : aText )
        nColumns += ( static_cast<uint8_t>( ch ) & 0xC0 ) != 0x80;
    return nColumns;
}

std::string Wrap( std::string_view aLabel, std::string_view aText, size_t nColumns )
{
    std::string aOut( aLabel );
    const size_t nIndent = CountColumns( aLabel );
    if ( nColumns == 0 )
        return aOut.append( aText ).append( "\n" );
    const size_t nWidth = nColumns > nIndent + LEAST_TEXT_COLUMNS ? nColumns - nIndent : LEAST_TEXT_COLUMNS;
    for ( ;; )
    {
        const size_t nEnd = FindLineEnd( aText, nWidth );
        aOut.append( aText.substr( 0, nEnd ) ).append( "\n" );
        aText.remove_prefix( nEnd );
        if ( !aText.empty() && aText[0] == ' ' )
            aText.remove_prefix( 1 );
        if ( aText.empty() )
            return aOut;
        aOut.append( nIndent, ' ' );
    }
}
