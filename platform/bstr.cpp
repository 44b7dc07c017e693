// BSTRs: a 32-bit count of bytes, the characters, a zero. The pointer that is handed out is that of the first
// character.

#include <bxtools/platform.h>

#include <cstring>
#include <limits>
#include <new>

namespace
{
// As wide as the strictest alignment of a character needs, with the count in its last four bytes.
constexpr size_t PREFIX_SIZE = 8;
constexpr UINT LONGEST = ( std::numeric_limits<UINT>::max() - PREFIX_SIZE ) / sizeof( OLECHAR ) - 1;

DWORD* ByteCountOf( BSTR aBstr ) noexcept
{
    return reinterpret_cast<DWORD*>( aBstr ) - 1;
}

void* BlockOf( BSTR aBstr ) noexcept
{
    return reinterpret_cast<BYTE*>( aBstr ) - PREFIX_SIZE;
}

UINT LengthOf( const OLECHAR* pText ) noexcept
{
    UINT uLength = 0;
    while ( pText[uLength] != 0 )
        ++uLength;
    return uLength;
}

// Takes over the new text, unless there is none.
int Replace( BSTR* pBstr, BSTR aNew ) noexcept
{
    if ( aNew == nullptr )
        return FALSE;
    SysFreeString( *pBstr );
    *pBstr = aNew;
    return TRUE;
}
} // namespace

BSTR SysAllocStringLen( const OLECHAR* pText, UINT uLength )
{
    if ( uLength > LONGEST )
        return nullptr;
    const size_t nBytes = uLength * sizeof( OLECHAR );
    BYTE* const pBlock =
        static_cast<BYTE*>( operator new( PREFIX_SIZE + nBytes + sizeof( OLECHAR ), std::nothrow ) );
    if ( pBlock == nullptr )
        return nullptr;
    const BSTR aBstr = reinterpret_cast<BSTR>( pBlock + PREFIX_SIZE );
    *ByteCountOf( aBstr ) = static_cast<DWORD>( nBytes );
    if ( pText != nullptr )
        memcpy( aBstr, pText, nBytes );
    aBstr[uLength] = 0;
    return aBstr;
}

BSTR SysAllocString( const OLECHAR* pText )
{
    return pText != nullptr ? SysAllocStringLen( pText, LengthOf( pText ) ) : nullptr;
}

int SysReAllocString( BSTR* pBstr, const OLECHAR* pText )
{
    if ( pText != nullptr )
        return SysReAllocStringLen( pBstr, pText, LengthOf( pText ) );
    SysFreeString( *pBstr );
    *pBstr = nullptr;
    return TRUE;
}

int SysReAllocStringLen( BSTR* pBstr, const OLECHAR* pText, UINT uLength )
{
    // The copy is made before the old text goes, so that it may be made from a part of it.
    return Replace( pBstr, SysAllocStringLen( pText, uLength ) );
}

void SysFreeString( BSTR aBstr )
{
    if ( aBstr != nullptr )
        operator delete( BlockOf( aBstr ) );
}

UINT SysStringByteLen( BSTR aBstr )
{
    return aBstr != nullptr ? *ByteCountOf( aBstr ) : 0;
}

UINT SysStringLen( BSTR aBstr )
{
    return SysStringByteLen( aBstr ) / static_cast<UINT>( sizeof( OLECHAR ) );
}
