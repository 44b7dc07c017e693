// A test aid: the font and the text colour of a window.
#include "core/callreport.h"
#include "nls/fontchoice.h"

#include <bxtools/nlswindow.h>
#include <bxtools/platform.h>

namespace
{

constexpr DWORD CHOICE_FLAGS = CF_SCREENFONTS | CF_INITTOLOGFONTSTRUCT | CF_FORCEFONTEXIST;
constexpr WORD FONT_TYPE = SCREEN_FONTTYPE | REGULAR_FONTTYPE | ITALIC_FONTTYPE | BOLD_FONTTYPE;

// The fonts that windows were given.
HFONT g_hGlobalFont = NULL;
HFONT g_hSecondGlobalFont = NULL;

void SetUpChoice( CHOOSEFONTA& rChoice, HWND hWnd )
{
    rChoice.lStructSize = sizeof( rChoice );
    rChoice.hwndOwner = hWnd;
    rChoice.Flags = CHOICE_FLAGS;
    rChoice.hInstance = reinterpret_cast<HINSTANCE>( GetWindowLongPtrA( hWnd, GWLP_HINSTANCE ) );
    rChoice.nFontType = FONT_TYPE;
}

// rChoice.lpLogFont has room for the font. FALSE also when the user chose none.
BOOL MyTestSetFont( HWND hWnd, CHOOSEFONTA& rChoice, BOOL fFirst )
{
    CallReport aReport( "From static BOOL MyTestSetFont( HWND hWnd, CHOOSEFONT* pcf, BOOL fFirst )" );
    const HGDIOBJ hFontObj = reinterpret_cast<HGDIOBJ>( SendMessageA( hWnd, WM_GETFONT, 0, 0 ) );
    if ( hFontObj == NULL )
        return aReport.Fail( " Error: ( hFontObj = GetCurrentObject( hdc, OBJ_FONT ) ) == NULL" );
    if ( GetObjectA( hFontObj, sizeof( *rChoice.lpLogFont ), rChoice.lpLogFont ) == 0 )
        return aReport.Fail( " Error: GetObject( hFontObj, sizeof(LOGFONT), (LPVOID)&lf ) == NULL" );
    SetUpChoice( rChoice, hWnd );
    if ( !AskSystemForFont( &rChoice ) )
        return FALSE;
    HFONT& rhFont = fFirst ? g_hGlobalFont : g_hSecondGlobalFont;
    if ( rhFont != NULL )
        DeleteObject( rhFont );
    rhFont = CreateFontIndirectA( rChoice.lpLogFont );
    if ( rhFont == NULL )
        return aReport.Fail(
            fFirst ? " Error: ( hGlobalfont = CreateFontIndirect( pcf->lpLogFont ) ) == NULL"
                   : " Error: ( hSecondGlobalfont = CreateFontIndirect( pcf->lpLogFont ) ) == NULL" );
    SendMessageA( hWnd, WM_SETFONT, reinterpret_cast<WPARAM>( rhFont ), TRUE );
    return TRUE;
}

BOOL MySetTextColor( HWND hWnd, COLORREF aColor )
{
    CallReport aReport( "From static BOOL MySetTextColor( HWND hWnd, COLORREF aColor )" );
    if ( aColor == 0 )
        return aReport.Fail( " Error: aColor == 0" );
    const HDC hContext = GetDC( hWnd );
    if ( hContext == NULL )
        return aReport.Fail( " Error: ( hdc = GetDC( hWnd ) ) == NULL" );
    const COLORREF aOldColor = SetTextColor( hContext, aColor );
    ReleaseDC( hWnd, hContext );
    if ( aOldColor == CLR_INVALID )
        return aReport.Fail( " Error: ( OldColor = SetTextColor( hdc, aColor ) ) == CLR_INVALID" );
    return TRUE;
}

} // namespace

void DLL_EXPORT MyTestFunc( HWND hWnd, const MString&, BOOL fFirst )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD void DLL_EXPORT MyTestFunc( HWND hWnd, const MString& stTitle, BOOL fFirst )" );
    aReport.Guard(
        [&]() -> BOOL
        {
            LOGFONTA aFont{};
            CHOOSEFONTA aChoice{};
            aChoice.lpLogFont = &aFont;
            return MyTestSetFont( hWnd, aChoice, fFirst ) && MySetTextColor( hWnd, aChoice.rgbColors );
        } );
}
