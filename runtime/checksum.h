// What detects damage: a sum of 64 bits over bytes, which any change within eight bytes in a row changes.
//
// Each step is a bijection of the sum and of the word that it takes in: two blocks that differ in one word cannot have the
// same sum. Four chains run side by side, since one step has to wait for the one before.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>

namespace Checksum
{
inline uint64_t Step( uint64_t ullSum, uint64_t ullWord ) noexcept
{
    ullSum = ( ullSum ^ ullWord ) * 0xD6E8FEB86659FD93ull;
    return ullSum ^ ullSum >> 32;
}

inline uint64_t WordAt( const void* pBytes, size_t nSize = 8 ) noexcept
{
    uint64_t ullWord = 0;
    std::memcpy( &ullWord, pBytes, nSize );
    return ullWord;
}

// The rest of fewer than eight bytes as a word, without a loop.
inline uint64_t LastWordAt( const char* pBytes, size_t nSize ) noexcept
{
    if ( nSize >= 4 )
    {
        uint32_t ulLow = 0;
        uint32_t ulHigh = 0;
        std::memcpy( &ulLow, pBytes, 4 );
        std::memcpy( &ulHigh, pBytes + nSize - 4, 4 );
        return ulLow | static_cast<uint64_t>( ulHigh ) << ( 8 * ( nSize - 4 ) );
    }
    uint64_t ullWord = static_cast<unsigned char>( pBytes[0] );
    ullWord |= static_cast<uint64_t>( static_cast<unsigned char>( pBytes[nSize / 2] ) )
               << ( 8 * ( nSize / 2 ) );
    return ullWord | static_cast<uint64_t>( static_cast<unsigned char>( pBytes[nSize - 1] ) )
                         << ( 8 * ( nSize - 1 ) );
}
} // namespace Checksum

//   ullStart  another one for each kind of thing that is summed.
inline uint64_t ChecksumOf( uint64_t ullStart, const void* pFirst, size_t nSize ) noexcept
{
    using namespace Checksum;
    const char* pBytes = static_cast<const char*>( pFirst );
    uint64_t ullSum = Step( ullStart, nSize );
    if ( nSize >= 64 )
    {
        uint64_t ullFirst = 1;
        uint64_t ullSecond = 2;
        uint64_t ullThird = 3;
        uint64_t ullFourth = 4;
        for ( ; nSize >= 32; nSize -= 32, pBytes += 32 )
        {
            ullFirst = Step( ullFirst, WordAt( pBytes ) );
            ullSecond = Step( ullSecond, WordAt( pBytes + 8 ) );
            ullThird = Step( ullThird, WordAt( pBytes + 16 ) );
            ullFourth = Step( ullFourth, WordAt( pBytes + 24 ) );
        }
        for ( const uint64_t ullChain : { ullFirst, ullSecond, ullThird, ullFourth } )
            ullSum = Step( ullSum, ullChain );
    }
    for ( ; nSize >= 8; nSize -= 8, pBytes += 8 )
        ullSum = Step( ullSum, WordAt( pBytes ) );
    return nSize > 0 ? Step( ullSum, LastWordAt( pBytes, nSize ) ) : ullSum;
}
