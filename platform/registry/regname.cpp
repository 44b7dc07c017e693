#include "platform/registry/regname.h"

#include <algorithm>
#include <cstring>

namespace
{
constexpr ULONGLONG EVERY_BYTE = 0x0101010101010101ull;
constexpr ULONGLONG HIGH_BITS = EVERY_BYTE * 0x80;

// Eight characters at once in upper case. In the low seven bits of each character an addition carries into the eighth
// exactly when the character is not below a bound.
ULONGLONG Folded( ULONGLONG ullCharacters ) noexcept
{
    const ULONGLONG ullLow = ullCharacters & ~HIGH_BITS;
    const ULONGLONG ullFromFirst = ullLow + EVERY_BYTE * ( 0x80 - 'a' );
    const ULONGLONG ullPastLast = ullLow + EVERY_BYTE * ( 0x7F - 'z' );
    const ULONGLONG ullLetters = ullFromFirst & ~ullPastLast & ~ullCharacters & HIGH_BITS;
    return ullCharacters ^ ( ullLetters >> 2 );
}

template <class Word>
ULONGLONG Load( const char* pText ) noexcept
{
    Word aWord;
    std::memcpy( &aWord, pText, sizeof( aWord ) );
    return aWord;
}

// The last characters, up to eight, without reading beyond the text. Pieces may overlap: texts of one length are taken
// apart in the same way.
ULONGLONG LoadTail( const char* pText, size_t nLength ) noexcept
{
    if ( nLength >= 4 )
        return Load<DWORD>( pText ) | Load<DWORD>( pText + nLength - 4 ) << 32;
    ULONGLONG ullTail = 0;
    for ( size_t i = 0; i < nLength; ++i )
        ullTail |= static_cast<ULONGLONG>( static_cast<unsigned char>( pText[i] ) ) << ( 8 * i );
    return ullTail;
}

ULONGLONG Mixed( ULONGLONG ullHash, ULONGLONG ullWord ) noexcept
{
    ullHash = ( ullHash ^ ullWord ) * 0x9E3779B97F4A7C15ull;
    return ullHash ^ ullHash >> 32;
}

// Lists are in the order of small letters: an underscore comes before them.
unsigned char SmallCharacter( char cCharacter ) noexcept
{
    const unsigned char ucCharacter = static_cast<unsigned char>( cCharacter );
    return static_cast<unsigned char>( ucCharacter +
                                       ( ucCharacter >= 'A' && ucCharacter <= 'Z' ? 0x20 : 0 ) );
}
} // namespace

DWORD HashRegName( std::string_view aName ) noexcept
{
    const char* pText = aName.data();
    size_t nLeft = aName.size();
    ULONGLONG ullHash = nLeft;
    for ( ; nLeft >= 8; nLeft -= 8, pText += 8 )
        ullHash = Mixed( ullHash, Folded( Load<ULONGLONG>( pText ) ) );
    return static_cast<DWORD>( Mixed( ullHash, Folded( LoadTail( pText, nLeft ) ) ) );
}

bool IsSameRegName( std::string_view aLeft, std::string_view aRight ) noexcept
{
    if ( aLeft.size() != aRight.size() )
        return false;
    const char* pLeft = aLeft.data();
    const char* pRight = aRight.data();
    size_t nLeft = aLeft.size();
    for ( ; nLeft >= 8; nLeft -= 8, pLeft += 8, pRight += 8 )
    {
        if ( Folded( Load<ULONGLONG>( pLeft ) ) != Folded( Load<ULONGLONG>( pRight ) ) )
            return false;
    }
    return Folded( LoadTail( pLeft, nLeft ) ) == Folded( LoadTail( pRight, nLeft ) );
}

bool IsRegNameBefore( std::string_view aLeft, std::string_view aRight ) noexcept
{
    return std::lexicographical_compare( aLeft.begin(), aLeft.end(), aRight.begin(), aRight.end(),
                                         []( char cLeft, char cRight )
                                         { return SmallCharacter( cLeft ) < SmallCharacter( cRight ); } );
}

LONG CheckRegPath( std::string_view aPath ) noexcept
{
    std::string_view aName;
    while ( TakeRegName( aPath, aName ) )
    {
        if ( aName.empty() )
            return ERROR_BAD_PATHNAME;
        if ( aName.size() > LONGEST_KEY_NAME )
            return ERROR_INVALID_PARAMETER;
    }
    return ERROR_SUCCESS;
}

bool TakeRegName( std::string_view& rPath, std::string_view& rName ) noexcept
{
    if ( rPath.empty() )
        return false;
    rName = rPath.substr( 0, rPath.find( '\\' ) );
    rPath.remove_prefix( std::min( rName.size() + 1, rPath.size() ) );
    return true;
}

size_t CountRegNames( std::string_view aPath ) noexcept
{
    std::string_view aName;
    size_t nNames = 0;
    while ( TakeRegName( aPath, aName ) )
        ++nNames;
    return nNames;
}
