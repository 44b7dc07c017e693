// Copies bytes that another processor will read next: blocks of some size past this processor's cache, which would have to be
// asked for them. Shorter ones, and all where the processor has no SSE2, as ever.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined( __SSE2__ )
#include <emmintrin.h>
#endif

// From here on it pays.
constexpr size_t BULK_BYTES = 16384;

struct PlainCopy
{
    static void Copy( unsigned char* pTarget, const unsigned char* pSource, size_t nBytes ) noexcept
    {
        std::memcpy( pTarget, pSource, nBytes );
    }
};

#if defined( __SSE2__ )
struct StreamingCopy
{
    static void Copy( unsigned char* pTarget, const unsigned char* pSource, size_t nBytes ) noexcept
    {
        constexpr size_t STEP = 4 * sizeof( __m128i );
        const size_t nHead = ( STEP - reinterpret_cast<uintptr_t>( pTarget ) % STEP ) % STEP;
        if ( nBytes < BULK_BYTES )
            return PlainCopy::Copy( pTarget, pSource, nBytes );
        std::memcpy( pTarget, pSource, nHead );
        size_t nDone = nHead;
        for ( ; nBytes - nDone >= STEP; nDone += STEP )
        {
            const auto* const pFrom = reinterpret_cast<const __m128i*>( pSource + nDone );
            auto* const pTo = reinterpret_cast<__m128i*>( pTarget + nDone );
            const __m128i aFirst = _mm_loadu_si128( pFrom );
            const __m128i aSecond = _mm_loadu_si128( pFrom + 1 );
            const __m128i aThird = _mm_loadu_si128( pFrom + 2 );
            const __m128i aFourth = _mm_loadu_si128( pFrom + 3 );
            _mm_stream_si128( pTo, aFirst );
            _mm_stream_si128( pTo + 1, aSecond );
            _mm_stream_si128( pTo + 2, aThird );
            _mm_stream_si128( pTo + 3, aFourth );
        }
        std::memcpy( pTarget + nDone, pSource + nDone, nBytes - nDone );
        // Before anybody is told that the bytes are there.
        _mm_sfence();
    }
};
using BulkCopy = StreamingCopy;
#else
using BulkCopy = PlainCopy;
#endif
