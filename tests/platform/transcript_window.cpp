// Windows, menus and fonts; dialogs wait for a user, and are left out.

#include "platform/transcript.h"
#include "platform/windowobjects.h"

#include <cstring>
#include <string>

namespace
{
const HWND NO_WINDOW = reinterpret_cast<HWND>( 0x7654320 );
const HMENU NO_MENU = reinterpret_cast<HMENU>( 0x7654320 );

void SayText( const char* pName, HWND hWnd, int nSize = 64 )
{
    char szText[64] = "untouched";
    SetLastError( UNTOUCHED );
    const int nLength = GetWindowTextA( hWnd, szText, nSize );
    const DWORD dwError = GetLastError();
    Say( pName, "%d, '%s', last error %u", nLength, szText, static_cast<unsigned>( dwError ) );
}

// The window by its text, or that there is none.
void SayWindow( const char* pName, HWND hFound )
{
    const DWORD dwError = GetLastError();
    char szText[64] = "";
    if ( hFound != NULL )
        GetWindowTextA( hFound, szText, sizeof( szText ) );
    Say( pName, "%s, last error %u", hFound != NULL ? szText : "none", static_cast<unsigned>( dwError ) );
}

void SayRelated( const char* pName, HWND hWnd, UINT uRelation )
{
    SetLastError( UNTOUCHED );
    SayWindow( pName, GetWindow( hWnd, uRelation ) );
}

void SayParent( const char* pName, HWND hWnd )
{
    SetLastError( UNTOUCHED );
    SayWindow( pName, GetParent( hWnd ) );
}

void SayTree( const WindowObjects& rObjects )
{
    const HWND hTop = rObjects.GetTop();
    const HWND hFirst = GetWindow( hTop, GW_CHILD );
    SayRelated( "first child", hTop, GW_CHILD );
    SayRelated( "next", hFirst, GW_HWNDNEXT );
    SayRelated( "last", hFirst, GW_HWNDLAST );
    SayRelated( "previous of the last", GetWindow( hFirst, GW_HWNDLAST ), GW_HWNDPREV );
    SayRelated( "first of all", GetWindow( hFirst, GW_HWNDLAST ), GW_HWNDFIRST );
    SayRelated( "behind the last", GetWindow( hFirst, GW_HWNDLAST ), GW_HWNDNEXT );
    SayRelated( "before the first", hFirst, GW_HWNDPREV );
    SayRelated( "child of a child", hFirst, GW_CHILD );
    SayRelated( "owner of a dialog", rObjects.GetDialog(), GW_OWNER );
    SayRelated( "owner of a child", hFirst, GW_OWNER );
    SayRelated( "no such relation", hTop, 77 );
    SayRelated( "beside no window", NO_WINDOW, GW_HWNDNEXT );
    SayParent( "parent", hFirst );
    SayParent( "parent of the top", hTop );
    SayParent( "parent of a dialog", rObjects.GetDialog() );
    SayParent( "parent of no window", NO_WINDOW );
    SayOutcome( "a window", IsWindow( hTop ) );
    SayOutcome( "no window", IsWindow( NO_WINDOW ) );
    SayOutcome( "null", IsWindow( NULL ) );
}

void SayTexts( HWND hTop )
{
    SayText( "text", hTop );
    SayText( "just enough", hTop, 4 );
    SayText( "one too small", hTop, 3 );
    SayText( "room for the zero", hTop, 1 );
    SayText( "no room", hTop, 0 );
    SayOutcome( "set", SetWindowTextA( hTop, "another" ) );
    SayText( "what was set", hTop );
    SayOutcome( "set nothing", SetWindowTextA( hTop, NULL ) );
    SayText( "after nothing", hTop );
    SayOutcome( "set no window's", SetWindowTextA( NO_WINDOW, "x" ) );
    SayNumber( "instance", GetWindowLongPtrA( hTop, GWLP_HINSTANCE ) ==
                               reinterpret_cast<LONG_PTR>( GetModuleHandleA( NULL ) ) );
    SayOutcome( "no such index", GetWindowLongPtrA( hTop, -77 ) );
}

void SayColours( HWND hTop )
{
    const HDC hContext = GetDC( hTop );
    SayOutcome( "context", hContext );
    SetTextColor( hContext, RGB( 1, 2, 3 ) );
    Say( "colour before", "%X", static_cast<unsigned>( SetTextColor( hContext, RGB( 9, 8, 7 ) ) ) );
    SayNumber( "released", ReleaseDC( hTop, hContext ) );
    SayOutcome( "context of no window", GetDC( NO_WINDOW ) );
    Say( "colour of nothing", "%X", static_cast<unsigned>( SetTextColor( NULL, 0 ) ) );
}

void SayFonts( HWND hTop )
{
    LOGFONTA aFont{};
    aFont.lfHeight = -17;
    aFont.lfWeight = 700;
    std::strcpy( aFont.lfFaceName, "Some Face" );
    const HFONT hFont = CreateFontIndirectA( &aFont );
    SayOutcome( "font", hFont );
    SayNumber( "size of its description", GetObjectA( hFont, 0, NULL ) );
    LOGFONTA aSame{};
    SayNumber( "description", GetObjectA( hFont, sizeof( aSame ), &aSame ) );
    Say( "what it says", "%ld %ld %s", static_cast<long>( aSame.lfHeight ),
         static_cast<long>( aSame.lfWeight ), aSame.lfFaceName );
    std::memset( &aSame, 0, sizeof( aSame ) );
    SayNumber( "its first bytes", GetObjectA( hFont, 4, &aSame ) );
    Say( "and no more", "%ld %ld", static_cast<long>( aSame.lfHeight ), static_cast<long>( aSame.lfWeight ) );
    const HWND hChild = GetWindow( hTop, GW_CHILD );
    SendMessageA( hChild, WM_SETFONT, reinterpret_cast<WPARAM>( hFont ), TRUE );
    SayNumber( "a window keeps its handle",
               SendMessageA( hChild, WM_GETFONT, 0, 0 ) == reinterpret_cast<LRESULT>( hFont ) );
    SayOutcome( "font of no window", SendMessageA( NO_WINDOW, WM_GETFONT, 0, 0 ) );
    SayOutcome( "delete", DeleteObject( hFont ) );
    SetLastError( UNTOUCHED );
    SayOutcome( "delete again", DeleteObject( hFont ) );
    SetLastError( UNTOUCHED );
    SayOutcome( "description of a deleted one", GetObjectA( hFont, sizeof( aSame ), &aSame ) );
    SetLastError( UNTOUCHED );
    SayOutcome( "font of no description", CreateFontIndirectA( NULL ) );
}

void SayItem( HMENU hMenu, UINT uItem )
{
    const std::string strItem = "item " + std::to_string( uItem );
    char szText[64] = "";
    SetLastError( UNTOUCHED );
    const int nLength = GetMenuStringA( hMenu, uItem, szText, sizeof( szText ), MF_BYPOSITION );
    Say( strItem + ", text", "%d, '%s'", nLength, szText );
    Say( strItem + ", state", "%X", GetMenuState( hMenu, uItem, MF_BYPOSITION ) );
    SayNumber( strItem + ", a number", GetMenuItemID( hMenu, static_cast<int>( uItem ) ) != UINT( -1 ) );
    SayNumber( strItem + ", a menu", GetSubMenu( hMenu, static_cast<int>( uItem ) ) != NULL );
}

void SayMenu( HMENU hMenu )
{
    SayOutcome( "menu", IsMenu( hMenu ) );
    SayOutcome( "no menu", IsMenu( NO_MENU ) );
    SayNumber( "items", GetMenuItemCount( hMenu ) );
    SayNumber( "items of no menu", GetMenuItemCount( NO_MENU ) );
    for ( UINT uItem = 0; uItem < 5; ++uItem )
        SayItem( hMenu, uItem );
    const HMENU hMore = GetSubMenu( hMenu, 3 );
    SetLastError( UNTOUCHED );
    SayOutcome( "change", ModifyMenuA( hMenu, 0, MF_BYPOSITION, GetMenuItemID( hMenu, 0 ), "Changed" ) );
    SayOutcome( "change one with a menu", ModifyMenuA( hMenu, 3, MF_BYPOSITION | MF_POPUP,
                                                       reinterpret_cast<UINT_PTR>( hMore ), "Fewer" ) );
    SayOutcome( "change no item", ModifyMenuA( hMenu, 9, MF_BYPOSITION, 1, "x" ) );
    SayOutcome( "change in no menu", ModifyMenuA( NO_MENU, 0, MF_BYPOSITION, 1, "x" ) );
    char szText[64] = "";
    const int nCut = GetMenuStringA( hMenu, 0, szText, 4, MF_BYPOSITION );
    Say( "text, cut", "%d, '%s'", nCut, szText );
    GetMenuStringA( hMenu, 3, szText, sizeof( szText ), MF_BYPOSITION );
    Say( "text of the one with a menu", "%s", szText );
    SayNumber( "its menu stays", GetSubMenu( hMenu, 3 ) == hMore );
    SayNumber( "in it", GetMenuItemCount( hMore ) );
}
} // namespace

int main()
{
    WindowObjects aObjects;
    SayTree( aObjects );
    SayTexts( aObjects.GetTop() );
    SayColours( aObjects.GetTop() );
    SayFonts( aObjects.GetTop() );
    SayMenu( aObjects.GetMenuBar() );
    const HWND hThird = GetWindow( GetWindow( aObjects.GetTop(), GW_CHILD ), GW_HWNDLAST );
    const HMENU hMore = GetSubMenu( aObjects.GetMenuBar(), 3 );
    aObjects.EndSome();
    SayOutcome( "destroyed", IsWindow( hThird ) );
    SayRelated( "beside a destroyed one", hThird, GW_HWNDPREV );
    SayOutcome( "destroyed menu", IsMenu( hMore ) );
    return 0;
}
