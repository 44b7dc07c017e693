#include "platform/profile/inifold.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <sys/random.h>

namespace
{
constexpr size_t WORD = sizeof( uint64_t );
constexpr uint64_t HIGH_BITS = 0x8080808080808080u;
constexpr uint64_t LOW_BITS = ~HIGH_BITS;
constexpr uint64_t EACH_BYTE = 0x0101010101010101u;

// The letters of two bytes whose other case has two bytes, too.
struct LetterRange
{
    unsigned uFirst;
    unsigned uLast;
    unsigned uAdd; // 0: upper and lower case take turns, from uFirst on
};
constexpr LetterRange g_aUpperCase[] = {
    { 0xC0, 0xD6, 32 },   { 0xD8, 0xDE, 32 },   { 0x100, 0x12F, 0 },  { 0x132, 0x137, 0 },
    { 0x139, 0x148, 0 },  { 0x14A, 0x177, 0 },  { 0x179, 0x17E, 0 },  { 0x386, 0x386, 38 },
    { 0x388, 0x38A, 37 }, { 0x38C, 0x38C, 64 }, { 0x38E, 0x38F, 63 }, { 0x391, 0x3A1, 32 },
    { 0x3A3, 0x3AB, 32 }, { 0x400, 0x40F, 80 }, { 0x410, 0x42F, 32 }, { 0x460, 0x481, 0 },
    { 0x48A, 0x4BF, 0 },  { 0x4D0, 0x52F, 0 },
};

unsigned LowerCaseOf( unsigned uLetter ) noexcept
{
    for ( const LetterRange& rRange : g_aUpperCase )
    {
        if ( uLetter >= rRange.uFirst && uLetter <= rRange.uLast )
            return rRange.uAdd != 0 ? uLetter + rRange.uAdd
                                    : uLetter + ( ( uLetter - rRange.uFirst + 1 ) & 1 );
    }
    return uLetter;
}

// Up to eight bytes, filled up with zeros.
uint64_t LoadWord( std::string_view aText ) noexcept
{
    uint64_t ullWord = 0;
    std::memcpy( &ullWord, aText.data(), std::min( aText.size(), WORD ) );
    return ullWord;
}

bool IsAscii( uint64_t ullWord ) noexcept
{
    return ( ullWord & HIGH_BITS ) == 0;
}

// Eight bytes at once; those above 127 stay.
uint64_t LowerAscii( uint64_t ullWord ) noexcept
{
    const uint64_t ullSeven = ullWord & LOW_BITS;
    const uint64_t ullFromA = ullSeven + EACH_BYTE * ( 0x80 - 'A' );
    const uint64_t ullBehindZ = ullSeven + EACH_BYTE * ( 0x7F - 'Z' );
    const uint64_t ullUpper = ullFromA & ~ullBehindZ & ~ullWord & HIGH_BITS;
    return ullWord | ( ullUpper >> 2 );
}

// The next character's bytes in lower case, and how many they are.
struct FoldedLetter
{
    unsigned char aBytes[2];
    size_t nBytes;
};
FoldedLetter FoldLetter( std::string_view aText ) noexcept
{
    const unsigned char cFirst = static_cast<unsigned char>( aText[0] );
    const unsigned char cSecond = aText.size() > 1 ? static_cast<unsigned char>( aText[1] ) : 0;
    if ( cFirst < 0xC3 || cFirst > 0xD4 || ( cSecond & 0xC0 ) != 0x80 )
        return { { static_cast<unsigned char>( LowerAscii( cFirst ) ), 0 }, 1 };
    const unsigned uLower = LowerCaseOf( ( cFirst & 0x1Fu ) << 6 | ( cSecond & 0x3Fu ) );
    return { { static_cast<unsigned char>( 0xC0 | uLower >> 6 ),
               static_cast<unsigned char>( 0x80 | ( uLower & 0x3F ) ) },
             2 };
}

bool EqualLetterByLetter( std::string_view aLeft, std::string_view aRight ) noexcept
{
    while ( !aLeft.empty() && !aRight.empty() )
    {
        const FoldedLetter aOne = FoldLetter( aLeft );
        const FoldedLetter aOther = FoldLetter( aRight );
        if ( aOne.nBytes != aOther.nBytes || std::memcmp( aOne.aBytes, aOther.aBytes, aOne.nBytes ) != 0 )
            return false;
        aLeft.remove_prefix( aOne.nBytes );
        aRight.remove_prefix( aOne.nBytes );
    }
    return aLeft.empty() && aRight.empty();
}

uint64_t HashKey() noexcept
{
    static constinit std::atomic<uint64_t> ullKey{ 0 };
    uint64_t ullFound = ullKey.load( std::memory_order_relaxed );
    if ( ullFound != 0 )
        return ullFound;
    uint64_t ullNew = 0;
    if ( getrandom( &ullNew, sizeof( ullNew ), GRND_NONBLOCK ) != sizeof( ullNew ) )
        ullNew = reinterpret_cast<uintptr_t>( &ullNew );
    ullNew |= 1;
    return ullKey.compare_exchange_strong( ullFound, ullNew, std::memory_order_relaxed ) ? ullNew : ullFound;
}

uint64_t HashLetterByLetter( std::string_view aName, uint64_t ullHash ) noexcept
{
    while ( !aName.empty() )
    {
        const FoldedLetter aLetter = FoldLetter( aName );
        for ( size_t i = 0; i < aLetter.nBytes; ++i )
            ullHash = MixIniHash( ullHash, aLetter.aBytes[i] );
        aName.remove_prefix( aLetter.nBytes );
    }
    return ullHash;
}
} // namespace

bool EqualIniNames( std::string_view aLeft, std::string_view aRight ) noexcept
{
    if ( aLeft.size() != aRight.size() )
        return false;
    for ( size_t i = 0; i < aLeft.size(); i += WORD )
    {
        const uint64_t ullLeft = LoadWord( aLeft.substr( i ) );
        const uint64_t ullRight = LoadWord( aRight.substr( i ) );
        if ( ullLeft == ullRight )
            continue;
        if ( !IsAscii( ullLeft ) || !IsAscii( ullRight ) )
            return EqualLetterByLetter( aLeft, aRight );
        if ( LowerAscii( ullLeft ) != LowerAscii( ullRight ) )
            return false;
    }
    return true;
}

uint64_t HashIniName( std::string_view aName ) noexcept
{
    // Names that are equal have the same length, and letters above 127 at the same places.
    uint64_t ullHash = MixIniHash( HashKey(), aName.size() );
    for ( size_t i = 0; i < aName.size(); i += WORD )
    {
        const uint64_t ullWord = LoadWord( aName.substr( i ) );
        if ( !IsAscii( ullWord ) )
            return HashLetterByLetter( aName.substr( i ), ullHash );
        ullHash = MixIniHash( ullHash, LowerAscii( ullWord ) );
    }
    return ullHash;
}

uint64_t MixIniHash( uint64_t ullHash, uint64_t ullNumber ) noexcept
{
    __extension__ using Wide = unsigned __int128;
    const Wide aProduct =
        static_cast<Wide>( ullHash ^ ullNumber ^ 0x9E3779B97F4A7C15u ) * ( HashKey() ^ 0xD6E8FEB86659FD93u );
    return static_cast<uint64_t>( aProduct ) ^ static_cast<uint64_t>( aProduct >> 64 );
}
