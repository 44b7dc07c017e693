// Searches over the bytes of a text where the C library has no fast one: counting a character, finding its n-th
// occurrence, finding and counting short separators, comparing without case. Sixteen bytes are looked at at once.
//
// The algorithms are written once, over a block of sixteen bytes that comes in two forms: VectorBlock where the
// processor has SSE2, ScalarBlock everywhere. A text is never read past its end.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>
#include <string_view>

#if defined( __SSE2__ )
#include <emmintrin.h>
#endif

// An ASCII letter in lower case, as a value of 0 to 255; all other characters as they are.
inline int LowerCase( char cSign ) noexcept
{
    const unsigned char ucSign = static_cast<unsigned char>( cSign );
    return ucSign >= 'A' && ucSign <= 'Z' ? ucSign + ( 'a' - 'A' ) : ucSign;
}

// Sixteen bytes, one after the other. In a mask, bit i speaks for byte i.
struct ScalarBlock
{
    static constexpr size_t SIZE = 16;

    // Where the bytes at pText equal cSign.
    static unsigned Matches( const char* pText, char cSign ) noexcept
    {
        unsigned unMask = 0;
        for ( size_t i = 0; i < SIZE; ++i )
            unMask |= static_cast<unsigned>( pText[i] == cSign ) << i;
        return unMask;
    }
    // How many of the 4 * SIZE bytes at pText equal cSign.
    static size_t CountInFour( const char* pText, char cSign ) noexcept
    {
        return static_cast<size_t>( std::count( pText, pText + 4 * SIZE, cSign ) );
    }
    // Where the bytes at both places differ in more than the case of a letter.
    static unsigned Differences( const char* pLeft, const char* pRight ) noexcept
    {
        unsigned unMask = 0;
        for ( size_t i = 0; i < SIZE; ++i )
            unMask |= static_cast<unsigned>( LowerCase( pLeft[i] ) != LowerCase( pRight[i] ) ) << i;
        return unMask;
    }
};

#if defined( __SSE2__ )
// The same, all sixteen at once.
struct VectorBlock
{
    static constexpr size_t SIZE = 16;

    static unsigned Matches( const char* pText, char cSign ) noexcept
    {
        return Mask( Equal( pText, _mm_set1_epi8( cSign ) ) );
    }
    static size_t CountInFour( const char* pText, char cSign ) noexcept
    {
        const __m128i aSign = _mm_set1_epi8( cSign );
        const __m128i aFirst = _mm_add_epi8( Equal( pText, aSign ), Equal( pText + SIZE, aSign ) );
        const __m128i aSecond =
            _mm_add_epi8( Equal( pText + 2 * SIZE, aSign ), Equal( pText + 3 * SIZE, aSign ) );
        // A match is -1; the differences to zero, summed per half, are the count.
        const __m128i aZero = _mm_setzero_si128();
        const __m128i aSums = _mm_sad_epu8( _mm_sub_epi8( aZero, _mm_add_epi8( aFirst, aSecond ) ), aZero );
        return static_cast<size_t>( _mm_cvtsi128_si32( aSums ) ) +
               static_cast<size_t>( _mm_extract_epi16( aSums, 4 ) );
    }
    static unsigned Differences( const char* pLeft, const char* pRight ) noexcept
    {
        return ~Mask( _mm_cmpeq_epi8( LowerCase( Load( pLeft ) ), LowerCase( Load( pRight ) ) ) ) & 0xFFFFu;
    }

private:
    static __m128i Load( const char* pText ) noexcept
    {
        return _mm_loadu_si128( reinterpret_cast<const __m128i*>( pText ) );
    }
    static __m128i Equal( const char* pText, __m128i aSign ) noexcept
    {
        return _mm_cmpeq_epi8( Load( pText ), aSign );
    }
    static unsigned Mask( __m128i aBytes ) noexcept
    {
        return static_cast<unsigned>( _mm_movemask_epi8( aBytes ) );
    }
    // The letters A to Z become the 26 least signed bytes, so that one comparison finds them.
    static __m128i LowerCase( __m128i aBytes ) noexcept
    {
        const __m128i aShifted = _mm_add_epi8( aBytes, _mm_set1_epi8( static_cast<char>( 0x80 - 'A' ) ) );
        const __m128i aLetters = _mm_cmplt_epi8( aShifted, _mm_set1_epi8( static_cast<char>( 0x80 + 26 ) ) );
        return _mm_add_epi8( aBytes, _mm_and_si128( aLetters, _mm_set1_epi8( 'a' - 'A' ) ) );
    }
};
using TextBlock = VectorBlock;
#else
using TextBlock = ScalarBlock;
#endif

// How often cSign occurs in aText.
template <class Block = TextBlock>
size_t CountCharacter( std::string_view aText, char cSign ) noexcept
{
    size_t ulCount = 0;
    while ( aText.size() >= 4 * Block::SIZE )
    {
        ulCount += Block::CountInFour( aText.data(), cSign );
        aText.remove_prefix( 4 * Block::SIZE );
    }
    return ulCount + static_cast<size_t>( std::count( aText.begin(), aText.end(), cSign ) );
}

// The position of occurrence number ulNumber, counted from 0, of cSign in aText; npos when there are not that many.
template <class Block = TextBlock>
size_t FindNthCharacter( std::string_view aText, char cSign, size_t ulNumber ) noexcept
{
    size_t ulPosition = 0;
    while ( ulPosition + 4 * Block::SIZE <= aText.size() )
    {
        const size_t ulCount = Block::CountInFour( aText.data() + ulPosition, cSign );
        if ( ulCount > ulNumber )
            break;
        ulNumber -= ulCount;
        ulPosition += 4 * Block::SIZE;
    }
    for ( ;; ++ulPosition, --ulNumber )
    {
        ulPosition = aText.find( cSign, ulPosition );
        if ( ulPosition == aText.npos || ulNumber == 0 )
            return ulPosition;
    }
}

// The position of the first occurrence of aSeparator in aText at or after ulStart; npos when absent, and for an empty
// separator.
template <class Block = TextBlock>
size_t FindSeparator( std::string_view aText, std::string_view aSeparator, size_t ulStart = 0 ) noexcept
{
    if ( aSeparator.size() < 2 )
        return aSeparator.empty() || ulStart > aText.size() ? aText.npos
                                                            : aText.find( aSeparator[0], ulStart );
    const size_t ulLast = aSeparator.size() - 1;
    size_t ulPosition = ulStart;
    for ( ; ulPosition <= aText.size() && aText.size() - ulPosition >= ulLast + Block::SIZE;
          ulPosition += Block::SIZE )
    {
        const char* pText = aText.data() + ulPosition;
        unsigned unMask =
            Block::Matches( pText, aSeparator[0] ) & Block::Matches( pText + ulLast, aSeparator[ulLast] );
        for ( ; unMask != 0; unMask &= unMask - 1 )
        {
            const size_t ulFound = static_cast<size_t>( std::countr_zero( unMask ) );
            if ( std::memcmp( pText + ulFound + 1, aSeparator.data() + 1, ulLast - 1 ) == 0 )
                return ulPosition + ulFound;
        }
    }
    return aText.find( aSeparator, ulPosition );
}

// How often aSeparator occurs in aText, each search starting just after the occurrence before; 0 when it is empty.
template <class Block = TextBlock>
size_t CountSeparator( std::string_view aText, std::string_view aSeparator ) noexcept
{
    if ( aSeparator.size() == 1 )
        return CountCharacter<Block>( aText, aSeparator[0] );
    size_t ulCount = 0;
    size_t ulPosition = FindSeparator<Block>( aText, aSeparator );
    for ( ; ulPosition != aText.npos; ++ulCount )
        ulPosition = FindSeparator<Block>( aText, aSeparator, ulPosition + aSeparator.size() );
    return ulCount;
}

// Negative, 0 or positive as aLeft is before, equal to or after aRight, by the values of the characters with ASCII
// letters taken as lower case.
template <class Block = TextBlock>
int CompareWithoutCase( std::string_view aLeft, std::string_view aRight ) noexcept
{
    const size_t ulCommon = std::min( aLeft.size(), aRight.size() );
    size_t ulPosition = 0;
    while ( ulPosition + Block::SIZE <= ulCommon )
    {
        const unsigned unMask = Block::Differences( aLeft.data() + ulPosition, aRight.data() + ulPosition );
        if ( unMask != 0 )
        {
            ulPosition += static_cast<size_t>( std::countr_zero( unMask ) );
            return LowerCase( aLeft[ulPosition] ) - LowerCase( aRight[ulPosition] );
        }
        ulPosition += Block::SIZE;
        // The last bytes are looked at in a whole block, some of them for the second time.
        if ( ulPosition < ulCommon && ulPosition + Block::SIZE > ulCommon )
            ulPosition = ulCommon - Block::SIZE;
    }
    for ( ; ulPosition < ulCommon; ++ulPosition )
    {
        const int nOrder = LowerCase( aLeft[ulPosition] ) - LowerCase( aRight[ulPosition] );
        if ( nOrder != 0 )
            return nOrder;
    }
    return ( aLeft.size() > aRight.size() ) - ( aLeft.size() < aRight.size() );
}
