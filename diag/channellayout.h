// How a vector stands in the shared memory of a channel; docs/formats.md draws it. Bytes only, no handles.
//
// What is read has been written by another process, which may have gone wrong or goes on writing: each number is copied out
// once, and checked before it is used.
#pragma once

#include <bxtools/channel.h>

// The first two numbers: the bytes that follow the first one, and the number of blocks.
constexpr ULONG CHANNEL_BYTES_INDEX = 0;
constexpr ULONG CHANNEL_COUNT_INDEX = 1;
// What the first of them does not count: itself.
constexpr ULONG CHANNEL_UNCOUNTED_BYTES = 4;

// The number of that index, counted from 0, as it is just now.
ULONG ReadChannelNumber( const BYTE* pView, ULONG ulIndex ) noexcept;

// Counts what a vector takes behind the first number. False: it does not fit into 32 bits.
bool CountChannelBytes( const DATAELEM* pDataVec, ULONG ulVecSize, ULONG& rulBytes ) noexcept;

// Writes a vector of that many bytes, for which there is room. A block without data is left as the memory is.
void WriteChannelVector( BYTE* pView, const DATAELEM* pDataVec, ULONG ulVecSize, ULONG ulBytes ) noexcept;

// Whether that many blocks can stand in that many bytes.
bool IsChannelCount( ULONG ulVecSize, ULONG ulBytes ) noexcept;
// Fills a vector of ulVecSize elements, of which IsChannelCount is true, with sizes and places in the view. False: the sizes do
// not add up to ulBytes; what stands in the vector is not to be used.
bool ReadChannelVector( BYTE* pView, ULONG ulBytes, DATAELEM* pDataVec, ULONG ulVecSize ) noexcept;
