// Each step is a bijection of the sum and of the word that it takes in: two blocks that differ in one word cannot have the
// same sum. Four chains run side by side, since one step has to wait for the one before.

#include "platform/registry/regformat.h"

#include <cstring>

namespace
{
ULONGLONG Step( ULONGLONG ullSum, ULONGLONG ullWord ) noexcept
{
    ullSum = ( ullSum ^ ullWord ) * 0xD6E8FEB86659FD93ull;
    return ullSum ^ ullSum >> 32;
}

ULONGLONG WordAt( const BYTE* pBytes, size_t nSize = 8 ) noexcept
{
    ULONGLONG ullWord = 0;
    std::memcpy( &ullWord, pBytes, nSize );
    return ullWord;
}
} // namespace

ULONGLONG ChecksumOfReg( const BYTE* pBytes, size_t nSize ) noexcept
{
    ULONGLONG ullSum = Step( 0x42585245ull, nSize );
    if ( nSize >= 64 )
    {
        ULONGLONG aullSums[4] = { 1, 2, 3, 4 };
        for ( ; nSize >= 32; nSize -= 32, pBytes += 32 )
        {
            for ( size_t i = 0; i < 4; ++i )
                aullSums[i] = Step( aullSums[i], WordAt( pBytes + 8 * i ) );
        }
        for ( const ULONGLONG ullChain : aullSums )
            ullSum = Step( ullSum, ullChain );
    }
    for ( ; nSize >= 8; nSize -= 8, pBytes += 8 )
        ullSum = Step( ullSum, WordAt( pBytes ) );
    return nSize > 0 ? Step( ullSum, WordAt( pBytes, nSize ) ) : ullSum;
}
