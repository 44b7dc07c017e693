// How the C_ functions hand texts out: the protocol that cerror.h explains, once for all of them.
#pragma once

#include "core/callreport.h"

#include <bxtools/buffers.h>
#include <bxtools/mstring.h>

#include <algorithm>
#include <cstring>

// The names under which a buffer and its size are reported.
template <class Size>
inline constexpr LPCTSTR BUFFER_TOO_SMALL = NULL;
template <>
inline constexpr LPCTSTR BUFFER_TOO_SMALL<USHORT> = " Error: lNeeded > usSize -> buffer too small";
template <>
inline constexpr LPCTSTR BUFFER_TOO_SMALL<ULONG> = " Error: lNeeded > ulSize -> buffer too small";

// A caller's text, NULL being an empty one; throws when there is no memory.
inline MString TextOf( LPCTSTR pText )
{
    MString aText;
    aText.RWCString::operator=( RWCString( pText ) );
    return aText;
}

// Copies a text that fits. SafeCopy counts a length modulo 65,536, so what lies before its last part goes ahead.
inline BOOL CopyText( LPTSTR pDest, const MString& aText, size_t ulSize )
{
    constexpr size_t COUNTED_LENGTH = 0x10000;
    constexpr size_t LARGEST_SIZE = 0x7FFFFFFF;
    const size_t ulAhead = aText.length() / COUNTED_LENGTH * COUNTED_LENGTH;
    std::memcpy( pDest, aText.data(), ulAhead );
    return SafeCopy( pDest + ulAhead, aText.data() + ulAhead,
                     static_cast<LONG>( std::min( ulSize - ulAhead, LARGEST_SIZE ) ) );
}

// A caller's buffer for a text.
template <class Size>
struct CallerBuffer
{
    LPTSTR pText;
    Size aSize;
    Size* pNeededSize;

    // NULL is fine for a caller who only asks for the size.
    BOOL IsMissing() const { return pText == NULL && aSize != 0; }

    // Tells the size that aText needs, and copies the text when it fits.
    //   pCopyFailed  what is reported when the copy fails.
    BOOL HandOut( CallReport& aReport, const MString& aText, LPCTSTR pCopyFailed ) const
    {
        const size_t ulNeeded = aText.length() + 1;
        if ( pNeededSize != NULL )
            *pNeededSize = static_cast<Size>( ulNeeded );
        if ( ulNeeded > aSize )
            return aReport.Fail( BUFFER_TOO_SMALL<Size> );
        return CopyText( pText, aText, aSize ) || aReport.Fail( pCopyFailed );
    }
};
