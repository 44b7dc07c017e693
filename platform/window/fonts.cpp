#include "platform/window/fonts.h"

#include "platform/locked.h"
#include "platform/window/windowsystem.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace
{
// A font, and the one made before it. A handle is the number of a font, and no number comes twice.
struct Font
{
    LOGFONTA aDescription;
    uintptr_t uNumber;
    Font* pNext;
};

constinit CRITICAL_SECTION g_aLock{};
constinit Font* g_pFirst = nullptr;
constinit uintptr_t g_uLastNumber = 0;

template <class Test>
Font** FindLink( const Test& rTest ) noexcept
{
    Font** ppLink = &g_pFirst;
    while ( *ppLink != nullptr && !rTest( **ppLink ) )
        ppLink = &( *ppLink )->pNext;
    return ppLink;
}

Font** FindLink( HGDIOBJ hObject ) noexcept
{
    return FindLink( [&]( const Font& rFont )
                     { return rFont.uNumber == reinterpret_cast<uintptr_t>( hObject ); } );
}

bool AreEqual( const LOGFONTA& rLeft, const LOGFONTA& rRight ) noexcept
{
    const size_t uNumbers = offsetof( LOGFONTA, lfFaceName );
    return memcmp( &rLeft, &rRight, uNumbers ) == 0 &&
           strncmp( rLeft.lfFaceName, rRight.lfFaceName, LF_FACESIZE ) == 0;
}

HFONT AddFont( const LOGFONTA& rFont ) noexcept
{
    Font* const pNew = new ( std::nothrow ) Font{ rFont, g_uLastNumber + 1, g_pFirst };
    if ( pNew == nullptr )
    {
        SetLastError( ERROR_NOT_ENOUGH_MEMORY );
        return nullptr;
    }
    g_pFirst = pNew;
    return reinterpret_cast<HFONT>( ++g_uLastNumber );
}
} // namespace

HFONT FindOrMakeFont( const LOGFONTA& rFont )
{
    const LockedScope aLocked( g_aLock );
    const Font* const pFont = *FindLink( [&]( const Font& r ) { return AreEqual( r.aDescription, rFont ); } );
    return pFont != nullptr ? reinterpret_cast<HFONT>( pFont->uNumber ) : AddFont( rFont );
}

HFONT CreateFontIndirectA( const LOGFONTA* pDescription )
{
    if ( pDescription == nullptr )
    {
        SetLastError( ERROR_INVALID_PARAMETER );
        return nullptr;
    }
    const LockedScope aLocked( g_aLock );
    return AddFont( *pDescription );
}

int GetObjectA( HGDIOBJ hObject, int nSize, LPVOID pObject )
{
    constexpr int WHOLE = sizeof( LOGFONTA );
    const LockedScope aLocked( g_aLock );
    const Font* const pFont = *FindLink( hObject );
    if ( pFont == nullptr )
        return IsDone( ERROR_INVALID_HANDLE );
    if ( pObject == nullptr )
        return WHOLE;
    const int nCopied = std::clamp( nSize, 0, WHOLE );
    memcpy( pObject, &pFont->aDescription, static_cast<size_t>( nCopied ) );
    return nCopied;
}

BOOL DeleteObject( HGDIOBJ hObject )
{
    Font* pFont = nullptr;
    {
        const LockedScope aLocked( g_aLock );
        Font** const ppLink = FindLink( hObject );
        pFont = *ppLink;
        if ( pFont == nullptr )
            return IsDone( ERROR_INVALID_HANDLE );
        *ppLink = pFont->pNext;
    }
    delete pFont;
    return TRUE;
}
