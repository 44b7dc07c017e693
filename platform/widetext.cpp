// UTF-8 to UTF-16 and back. What is no text on the one side is U+FFFD on the other: one for each longest run
// of bytes that could have begun a character, as the Unicode standard recommends, and one for each lone
// surrogate.

#include <bxtools/platform.h>

#include <algorithm>
#include <climits>
#include <cstring>

namespace
{
constexpr char32_t REPLACEMENT = 0xFFFD;
constexpr char32_t FIRST_SUPPLEMENTARY = 0x10000;

// One step of a decoding: the character, and how many units of the input it took.
struct Decoded
{
    char32_t cCharacter;
    int nUnits;
    bool fValid;
};

// What may follow a leading byte. The bounds of the second byte keep out overlong forms, surrogates and what
// lies beyond U+10FFFF.
struct LeadingByte
{
    BYTE byFirst;
    BYTE byLast;
    BYTE byLowest;
    BYTE byHighest;
    int nFollowing;
};

constexpr LeadingByte g_aLeading[] = {
    { 0xC2, 0xDF, 0x80, 0xBF, 1 }, { 0xE0, 0xE0, 0xA0, 0xBF, 2 }, { 0xE1, 0xEC, 0x80, 0xBF, 2 },
    { 0xED, 0xED, 0x80, 0x9F, 2 }, { 0xEE, 0xEF, 0x80, 0xBF, 2 }, { 0xF0, 0xF0, 0x90, 0xBF, 3 },
    { 0xF1, 0xF3, 0x80, 0xBF, 3 }, { 0xF4, 0xF4, 0x80, 0x8F, 3 },
};

const LeadingByte* FindLeading( BYTE byFirst ) noexcept
{
    for ( const LeadingByte& rLeading : g_aLeading )
    {
        if ( byFirst >= rLeading.byFirst && byFirst <= rLeading.byLast )
            return &rLeading;
    }
    return nullptr;
}

Decoded DecodeUtf8( const BYTE* pBytes, int nBytes ) noexcept
{
    if ( pBytes[0] < 0x80 )
        return { pBytes[0], 1, true };
    const LeadingByte* const pLeading = FindLeading( pBytes[0] );
    if ( pLeading == nullptr )
        return { REPLACEMENT, 1, false };
    // The leading byte's own bits are those below its run of ones and the zero after it.
    char32_t cCharacter = pBytes[0] & ( 0x3Fu >> pLeading->nFollowing );
    BYTE byLowest = pLeading->byLowest;
    BYTE byHighest = pLeading->byHighest;
    for ( int i = 1; i <= pLeading->nFollowing; ++i )
    {
        if ( i == nBytes || pBytes[i] < byLowest || pBytes[i] > byHighest )
            return { REPLACEMENT, i, false };
        cCharacter = cCharacter << 6 | ( pBytes[i] & 0x3Fu );
        byLowest = 0x80;
        byHighest = 0xBF;
    }
    return { cCharacter, pLeading->nFollowing + 1, true };
}

bool IsHighSurrogate( WCHAR c ) noexcept
{
    return ( c & 0xFC00 ) == 0xD800;
}

bool IsLowSurrogate( WCHAR c ) noexcept
{
    return ( c & 0xFC00 ) == 0xDC00;
}

Decoded DecodeUtf16( const WCHAR* pWide, int nWide ) noexcept
{
    if ( !IsHighSurrogate( pWide[0] ) && !IsLowSurrogate( pWide[0] ) )
        return { pWide[0], 1, true };
    if ( IsLowSurrogate( pWide[0] ) || nWide < 2 || !IsLowSurrogate( pWide[1] ) )
        return { REPLACEMENT, 1, false };
    const char32_t cBits = ( pWide[0] & 0x3FFu ) << 10 | ( pWide[1] & 0x3FFu );
    return { FIRST_SUPPLEMENTARY + cBits, 2, true };
}

// Each encoder writes a character's units and returns their number.
int EncodeUtf16( char32_t cCharacter, WCHAR* pUnits ) noexcept
{
    if ( cCharacter < FIRST_SUPPLEMENTARY )
    {
        pUnits[0] = static_cast<WCHAR>( cCharacter );
        return 1;
    }
    const char32_t cBits = cCharacter - FIRST_SUPPLEMENTARY;
    pUnits[0] = static_cast<WCHAR>( 0xD800 | cBits >> 10 );
    pUnits[1] = static_cast<WCHAR>( 0xDC00 | ( cBits & 0x3FF ) );
    return 2;
}

int EncodeUtf8( char32_t cCharacter, char* pUnits ) noexcept
{
    if ( cCharacter < 0x80 )
    {
        pUnits[0] = static_cast<char>( cCharacter );
        return 1;
    }
    const int nFollowing = cCharacter < 0x800 ? 1 : cCharacter < FIRST_SUPPLEMENTARY ? 2 : 3;
    for ( int i = nFollowing; i > 0; --i )
    {
        pUnits[i] = static_cast<char>( 0x80 | ( cCharacter & 0x3F ) );
        cCharacter >>= 6;
    }
    // A run of nFollowing + 1 ones, a zero, and what is left of the character.
    pUnits[0] = static_cast<char>( ( 0xFF00u >> ( nFollowing + 1 ) & 0xFF ) | cCharacter );
    return nFollowing + 1;
}

int Fail( DWORD dwError ) noexcept
{
    SetLastError( dwError );
    return 0;
}

// Both directions are this: decode a character, encode it, count; with no room asked for, only count.
template <class In, class Out, class Decoder, class Encoder>
int Convert( const In* pIn, int nIn, Out* pOut, int nOut, bool fStrict, Decoder aDecode,
             Encoder aEncode ) noexcept
{
    int nWritten = 0;
    while ( nIn > 0 )
    {
        const Decoded aDecoded = aDecode( pIn, nIn );
        if ( fStrict && !aDecoded.fValid )
            return Fail( ERROR_NO_UNICODE_TRANSLATION );
        Out aUnits[4];
        const int nUnits = aEncode( aDecoded.cCharacter, aUnits );
        if ( nWritten > INT_MAX - nUnits )
            return Fail( ERROR_INVALID_PARAMETER );
        if ( nOut > 0 )
        {
            if ( nUnits > nOut - nWritten )
                return Fail( ERROR_INSUFFICIENT_BUFFER );
            std::copy( aUnits, aUnits + nUnits, pOut + nWritten );
        }
        nWritten += nUnits;
        pIn += aDecoded.nUnits;
        nIn -= aDecoded.nUnits;
    }
    return nWritten;
}

bool IsKnownCodePage( UINT uCodePage ) noexcept
{
    return uCodePage == CP_ACP || uCodePage == CP_UTF8;
}

// What Windows checks before it looks at a text.
template <class In, class Out>
bool AreArgumentsGood( UINT uCodePage, const In* pIn, int nIn, const Out* pOut, int nOut ) noexcept
{
    return IsKnownCodePage( uCodePage ) && pIn != nullptr && nIn != 0 && nIn >= -1 && nOut >= 0 &&
           ( pOut != nullptr || nOut == 0 );
}

// The length of a terminated text, its zero included; 0 when it is beyond counting.
template <class Unit>
int CountTerminated( const Unit* pText ) noexcept
{
    for ( int nLength = 0; nLength < INT_MAX; ++nLength )
    {
        if ( pText[nLength] == 0 )
            return nLength + 1;
    }
    return 0;
}
} // namespace

int MultiByteToWideChar( UINT uCodePage, DWORD dwFlags, LPCSTR pBytes, int nBytes, LPWSTR pWide,
                         int nWideCharacters )
{
    if ( !AreArgumentsGood( uCodePage, pBytes, nBytes, pWide, nWideCharacters ) )
        return Fail( ERROR_INVALID_PARAMETER );
    if ( nBytes < 0 && ( nBytes = CountTerminated( pBytes ) ) == 0 )
        return Fail( ERROR_INVALID_PARAMETER );
    return Convert( reinterpret_cast<const BYTE*>( pBytes ), nBytes, pWide, nWideCharacters,
                    ( dwFlags & MB_ERR_INVALID_CHARS ) != 0, DecodeUtf8, EncodeUtf16 );
}

int WideCharToMultiByte( UINT uCodePage, DWORD, LPCWSTR pWide, int nWideCharacters, LPSTR pBytes, int nBytes,
                         LPCSTR, LPBOOL pUsedDefaultChar )
{
    if ( !AreArgumentsGood( uCodePage, pWide, nWideCharacters, pBytes, nBytes ) )
        return Fail( ERROR_INVALID_PARAMETER );
    if ( nWideCharacters < 0 && ( nWideCharacters = CountTerminated( pWide ) ) == 0 )
        return Fail( ERROR_INVALID_PARAMETER );
    if ( pUsedDefaultChar != nullptr )
        *pUsedDefaultChar = FALSE;
    return Convert( pWide, nWideCharacters, pBytes, nBytes, false, DecodeUtf16, EncodeUtf8 );
}
