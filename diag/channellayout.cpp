#include "diag/channellayout.h"

#include "diag/bulkcopy.h"

#include <bit>
#include <limits>

static_assert( std::endian::native == std::endian::little, "the numbers of a channel are little-endian" );

namespace
{

constexpr ULONG NUMBER_BYTES = sizeof( ULONG );
// The count stands before the sizes.
constexpr ULONG FIRST_SIZE_INDEX = CHANNEL_COUNT_INDEX + 1;

// The count and the sizes.
ULONGLONG TableBytes( ULONG ulVecSize ) noexcept
{
    return NUMBER_BYTES + ULONGLONG{ NUMBER_BYTES } * ulVecSize;
}

void WriteNumber( BYTE* pView, size_t nIndex, ULONG ulNumber ) noexcept
{
    std::memcpy( pView + nIndex * NUMBER_BYTES, &ulNumber, NUMBER_BYTES );
}

} // namespace

ULONG ReadChannelNumber( const BYTE* pView, ULONG ulIndex ) noexcept
{
    // Once: the compiler must not look a second time at what may have changed.
    return static_cast<const volatile ULONG*>( static_cast<const void*>( pView ) )[ulIndex];
}

bool CountChannelBytes( const DATAELEM* pDataVec, ULONG ulVecSize, ULONG& rulBytes ) noexcept
{
    constexpr ULONGLONG MOST_BYTES = std::numeric_limits<ULONG>::max();
    ULONGLONG ullBytes = TableBytes( ulVecSize );
    for ( ULONG i = 0; i < ulVecSize && ullBytes <= MOST_BYTES; ++i )
        ullBytes += pDataVec[i].ulLength;
    rulBytes = static_cast<ULONG>( ullBytes );
    return ullBytes <= MOST_BYTES;
}

void WriteChannelVector( BYTE* pView, const DATAELEM* pDataVec, ULONG ulVecSize, ULONG ulBytes ) noexcept
{
    WriteNumber( pView, CHANNEL_BYTES_INDEX, ulBytes );
    WriteNumber( pView, CHANNEL_COUNT_INDEX, ulVecSize );
    BYTE* pTarget = pView + CHANNEL_UNCOUNTED_BYTES + static_cast<size_t>( TableBytes( ulVecSize ) );
    for ( ULONG i = 0; i < ulVecSize; ++i )
    {
        const DATAELEM& rBlock = pDataVec[i];
        WriteNumber( pView, size_t{ FIRST_SIZE_INDEX } + i, rBlock.ulLength );
        if ( rBlock.pData != NULL )
            BulkCopy::Copy( pTarget, static_cast<const BYTE*>( rBlock.pData ), rBlock.ulLength );
        pTarget += rBlock.ulLength;
    }
}

bool IsChannelCount( ULONG ulVecSize, ULONG ulBytes ) noexcept
{
    return ulVecSize != 0 && TableBytes( ulVecSize ) <= ulBytes;
}

bool ReadChannelVector( BYTE* pView, ULONG ulBytes, DATAELEM* pDataVec, ULONG ulVecSize ) noexcept
{
    ULONGLONG ullUsed = TableBytes( ulVecSize );
    for ( ULONG i = 0; i < ulVecSize; ++i )
    {
        const ULONG ulLength = ReadChannelNumber( pView, FIRST_SIZE_INDEX + i );
        if ( ulLength > ulBytes - ullUsed )
            return false;
        pDataVec[i] = { pView + CHANNEL_UNCOUNTED_BYTES + static_cast<size_t>( ullUsed ), ulLength };
        ullUsed += ulLength;
    }
    return ullUsed == ulBytes;
}
