// Windows: what the calls look like, over the window system's operations.

#include "platform/window/fonts.h"
#include "platform/window/windowsystem.h"

#include <cstring>

namespace
{
// A window's device context is the window itself: there is nothing to draw with but its text colour.
HDC ToContext( HWND hWindow ) noexcept
{
    return reinterpret_cast<HDC>( hWindow );
}

HWND ToWindow( HDC hContext ) noexcept
{
    return reinterpret_cast<HWND>( hContext );
}

LRESULT ReadFontHandle( HWND hWindow )
{
    LOGFONTA aFont{};
    if ( !IsDone( CallWindowSystem( &WindowSystem::ReadFont, hWindow, &aFont ) ) )
        return 0;
    return reinterpret_cast<LRESULT>( FindOrMakeFont( aFont ) );
}

LRESULT ChangeFont( HWND hWindow, WPARAM wParam, LPARAM lParam )
{
    LOGFONTA aFont{};
    if ( GetObjectA( reinterpret_cast<HGDIOBJ>( wParam ), sizeof( aFont ), &aFont ) != 0 )
        IsDone( CallWindowSystem( &WindowSystem::ChangeFont, hWindow, &aFont, BOOL( lParam != 0 ) ) );
    return 0;
}
} // namespace

BOOL IsWindow( HWND hWindow )
{
    return IsDone( CallWindowSystem( &WindowSystem::CheckWindow, hWindow ) );
}

HWND GetWindow( HWND hWindow, UINT uRelation )
{
    HWND hRelated = nullptr;
    IsDone( CallWindowSystem( &WindowSystem::FindRelated, hWindow, uRelation, &hRelated ) );
    return hRelated;
}

HWND GetParent( HWND hWindow )
{
    HWND hParent = nullptr;
    IsDone( CallWindowSystem( &WindowSystem::FindParent, hWindow, &hParent ) );
    return hParent;
}

int GetWindowTextA( HWND hWindow, LPSTR pText, int nSize )
{
    if ( pText == nullptr || nSize < 1 )
        return 0;
    *pText = '\0';
    IsDone( CallWindowSystem( &WindowSystem::ReadText, hWindow, pText, nSize ) );
    return static_cast<int>( strlen( pText ) );
}

BOOL SetWindowTextA( HWND hWindow, LPCSTR pText )
{
    return IsDone( CallWindowSystem( &WindowSystem::ChangeText, hWindow, pText != nullptr ? pText : "" ) );
}

LRESULT SendMessageA( HWND hWindow, UINT uMessage, WPARAM wParam, LPARAM lParam )
{
    switch ( uMessage )
    {
    case WM_GETFONT: return ReadFontHandle( hWindow );
    case WM_SETFONT: return ChangeFont( hWindow, wParam, lParam );
    default: return IsDone( ERROR_INVALID_PARAMETER );
    }
}

LONG_PTR GetWindowLongPtrA( HWND hWindow, int nIndex )
{
    if ( !IsWindow( hWindow ) )
        return 0;
    return nIndex == GWLP_HINSTANCE ? reinterpret_cast<LONG_PTR>( GetModuleHandleA( nullptr ) )
                                    : IsDone( ERROR_INVALID_INDEX );
}

HDC GetDC( HWND hWindow )
{
    return IsWindow( hWindow ) ? ToContext( hWindow ) : nullptr;
}

int ReleaseDC( HWND hWindow, HDC hContext )
{
    return hContext != nullptr && hContext == ToContext( hWindow );
}

COLORREF SetTextColor( HDC hContext, COLORREF aColor )
{
    COLORREF aBefore = CLR_INVALID;
    IsDone( CallWindowSystem( &WindowSystem::ChangeTextColor, ToWindow( hContext ), aColor, &aBefore ) );
    return aBefore;
}
