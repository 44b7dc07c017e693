// The window calls over a table of operations that a program installs: here one with a window, a menu and no toolkit. What they
// do over the windows of a toolkit a transcript shows.
#include "support/forked.h"
#include "support/recorder.h"

#include <bxtools/path.h>
#include <bxtools/platform.h>
#include <bxtools/window_system.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace
{

const HWND WINDOW = reinterpret_cast<HWND>( 0x70 );
const HMENU MENU = reinterpret_cast<HMENU>( 0x71 );
const HMENU SUBMENU = reinterpret_cast<HMENU>( 0x72 );
constexpr UINT PLAIN_ID = 17;

// What the only window is like, what the latest dialog showed, and what the operations answer.
struct Toy
{
    BOOL fReady = TRUE;
    DWORD dwAnswer = ERROR_SUCCESS;
    std::string strShown;
    LOGFONTA aFont{};
    std::string strItem;
    std::string strChosen = "/chosen";
};
Toy* g_pToy = nullptr;

DWORD ForWindow( HWND hWindow )
{
    return hWindow == WINDOW ? g_pToy->dwAnswer : ERROR_INVALID_WINDOW_HANDLE;
}

DWORD CopyTo( LPSTR pText, int nSize, const std::string& strFrom )
{
    snprintf( pText, static_cast<size_t>( nSize ), "%s", strFrom.c_str() );
    return ERROR_SUCCESS;
}

const WindowSystem TOY_SYSTEM = {
    .dwSize = sizeof( WindowSystem ),
    .IsReady = [] { return g_pToy->fReady; },
    .RunEvents = []( const int*, UINT, DWORD ) -> DWORD { return ERROR_INVALID_THREAD_ID; },
    .CheckWindow = &ForWindow,
    .FindRelated = []( HWND h, UINT, HWND* ) { return ForWindow( h ); },
    .FindParent = []( HWND h, HWND* ) { return ForWindow( h ); },
    .ReadText = []( HWND h, LPSTR, int ) { return ForWindow( h ); },
    .ChangeText = []( HWND h, LPCSTR ) { return ForWindow( h ); },
    .ReadFont = []( HWND h, LOGFONTA* pFont ) { return *pFont = g_pToy->aFont, ForWindow( h ); },
    .ChangeFont = []( HWND h, const LOGFONTA* pFont, BOOL )
    { return g_pToy->aFont = *pFont, ForWindow( h ); },
    .ChangeTextColor = []( HWND h, COLORREF, COLORREF* ) { return ForWindow( h ); },
    .CountItems = []( HMENU h, int* pnItems ) -> DWORD
    {
        if ( h != MENU && h != SUBMENU )
            return ERROR_INVALID_MENU_HANDLE;
        *pnItems = h == MENU ? 2 : 260;
        return ERROR_SUCCESS;
    },
    .ReadItem = []( HMENU, UINT uItem, WindowSystemMenuItem* pItem ) -> DWORD
    {
        *pItem = uItem == 0 ? WindowSystemMenuItem{ MF_CHECKED, PLAIN_ID, NULL }
                            : WindowSystemMenuItem{ 0, 0, SUBMENU };
        return uItem < 2 ? ERROR_SUCCESS : ERROR_MENU_ITEM_NOT_FOUND;
    },
    .ReadItemText = []( HMENU, UINT, LPSTR pText, int nSize )
    { return CopyTo( pText, nSize, g_pToy->strItem ); },
    .ChangeItemText = []( HMENU, UINT, LPCSTR pText ) -> DWORD
    { return g_pToy->strItem = pText, ERROR_SUCCESS; },
    .ShowMessage =
        []( HWND, LPCSTR pText, LPCSTR pCaption, UINT, int* pnAnswer ) {
            return g_pToy->strShown = std::string( pCaption ) + "|" + pText, *pnAnswer = IDRETRY,
                   g_pToy->dwAnswer;
        },
    .ChooseFolder =
        []( HWND, LPCSTR pTitle, LPCSTR pInitial, LPSTR pPath, UINT uSize )
    {
        g_pToy->strShown = std::string( pTitle ) + "|" + pInitial;
        CopyTo( pPath, static_cast<int>( uSize ), g_pToy->strChosen );
        return g_pToy->dwAnswer;
    },
    .ChooseFont = []( CHOOSEFONTA* ) { return g_pToy->dwAnswer; },
    .ShowErrors = []( HWND, BOOL, const WindowSystemError*, ULONG, const WindowSystemErrorLabels* )
    { return g_pToy->dwAnswer; },
};

class WindowCalls : public ::testing::Test
{
protected:
    WindowCalls()
    {
        g_pToy = &m_aToy;
        EXPECT_TRUE( InstallWindowSystem( &TOY_SYSTEM ) );
        SetLastError( 0 );
    }
    ~WindowCalls() override { EXPECT_TRUE( InstallWindowSystem( NULL ) ); }

    // The last error, which is 0 then.
    static DWORD TakeError()
    {
        const DWORD dwError = GetLastError();
        SetLastError( 0 );
        return dwError;
    }

    Toy m_aToy;
    char m_szText[8] = "before";
};

} // namespace

TEST_F( WindowCalls, FailWithoutAWindowSystem )
{
    WindowSystem aPart = TOY_SYSTEM;
    aPart.ChooseFont = NULL;
    EXPECT_FALSE( InstallWindowSystem( &aPart ) );
    EXPECT_EQ( ERROR_INVALID_PARAMETER + 0u, TakeError() );
    EXPECT_EQ( &TOY_SYSTEM, GetWindowSystem() );
    EXPECT_EQ( 0, InChild(
                      []
                      {
                          return GetWindowSystem() != NULL             ? 1
                                 : !InstallWindowSystem( &TOY_SYSTEM ) ? 2
                                 : GetWindowSystem() != &TOY_SYSTEM    ? 3
                                                                       : 0;
                      } ) )
        << "the windows are the parent's";
    m_aToy.fReady = FALSE;
    EXPECT_EQ( NULL, GetWindowSystem() );
    for ( int i = 0; i < 2; ++i, InstallWindowSystem( NULL ) )
    {
        CHOOSEFONTA aChoice{};
        aChoice.lStructSize = sizeof( aChoice );
        aChoice.lpLogFont = &m_aToy.aFont;
        EXPECT_FALSE( IsWindow( WINDOW ) );
        EXPECT_EQ( 0, GetWindowTextA( WINDOW, m_szText, sizeof( m_szText ) ) );
        EXPECT_STREQ( "", m_szText );
        EXPECT_EQ( -1, GetMenuItemCount( MENU ) );
        EXPECT_FALSE( ChooseFontA( &aChoice ) );
        EXPECT_EQ( ERROR_CALL_NOT_IMPLEMENTED + 0u, TakeError() );
    }
}

TEST_F( WindowCalls, MenuItemsKeepWhatTheyAre )
{
    EXPECT_EQ( 0x0410u, GetMenuState( MENU, 1, MF_BYPOSITION ) ) << "260 items, of which a byte is told";
    EXPECT_TRUE( ModifyMenuA( MENU, 0, MF_BYPOSITION, PLAIN_ID, "plain" ) );
    EXPECT_TRUE(
        ModifyMenuA( MENU, 1, MF_BYPOSITION | MF_POPUP, reinterpret_cast<UINT_PTR>( SUBMENU ), "popup" ) );
    EXPECT_EQ( 0u, TakeError() );
    EXPECT_FALSE( ModifyMenuA( MENU, 0, MF_BYPOSITION, PLAIN_ID + 1, "" ) ||
                  ModifyMenuA( MENU, 1, MF_BYPOSITION, PLAIN_ID, "" ) ||
                  ModifyMenuA( MENU, 0, MF_BYPOSITION | MF_POPUP, 0, "" ) ||
                  ModifyMenuA( MENU, 0, MF_BYCOMMAND, PLAIN_ID, "" ) );
    EXPECT_EQ( ERROR_INVALID_PARAMETER + 0u, TakeError() );
    EXPECT_EQ( "popup", m_aToy.strItem );
    EXPECT_FALSE( SendMessageA( WINDOW, WM_CLOSE, 0, 0 ) );
    EXPECT_EQ( ERROR_INVALID_PARAMETER + 0u, TakeError() );
}

TEST_F( WindowCalls, FontsAreKnownByHandles )
{
    LOGFONTA aFont{};
    strcpy( aFont.lfFaceName, "One" );
    const HFONT hFont = CreateFontIndirectA( &aFont );
    SendMessageA( WINDOW, WM_SETFONT, reinterpret_cast<WPARAM>( hFont ), TRUE );
    EXPECT_TRUE( DeleteObject( hFont ) );
    EXPECT_STREQ( "One", m_aToy.aFont.lfFaceName ) << "the window has a copy";
    const LRESULT lOwn = SendMessageA( WINDOW, WM_GETFONT, 0, 0 );
    EXPECT_NE( reinterpret_cast<LRESULT>( hFont ), lOwn );
    EXPECT_EQ( lOwn, SendMessageA( WINDOW, WM_GETFONT, 0, 0 ) );
    EXPECT_EQ( int( sizeof( aFont ) ), GetObjectA( reinterpret_cast<HGDIOBJ>( lOwn ), 0, NULL ) );
    EXPECT_TRUE( DeleteObject( reinterpret_cast<HGDIOBJ>( lOwn ) ) );
    EXPECT_EQ( 0u, TakeError() );
}

TEST_F( WindowCalls, DialogsAskTheWindowSystem )
{
    EXPECT_EQ( IDRETRY, MessageBoxA( NULL, "text", NULL, MB_RETRYCANCEL ) );
    EXPECT_EQ( "Error|text", m_aToy.strShown );
    DebugRecorder aDebug;
    const char* const pHeader =
        "From DLL_EXPORT_MOD int DLL_EXPORT GetDirDlg( HWND hWndParent, LPCTSTR pTitle, LPTSTR pPath, USHORT uSize )";
    const auto ExpectFailed = [&]( DWORD dwAnswer, const char* pText )
    {
        m_aToy.dwAnswer = dwAnswer;
        EXPECT_EQ( -1, GetDirDlg( WINDOW, NULL, m_szText, sizeof( m_szText ) ) );
        EXPECT_TRUE( aDebug.OnlyReport( pHeader, pText ) );
    };
    EXPECT_EQ( 1, GetDirDlg( WINDOW, "title", m_szText, sizeof( m_szText ) ) );
    EXPECT_EQ( "title|before", m_aToy.strShown );
    EXPECT_STREQ( "/chosen", m_szText );
    m_aToy.dwAnswer = ERROR_CANCELLED;
    EXPECT_EQ( 2, GetDirDlg( WINDOW, NULL, NULL, 0 ) );
    EXPECT_TRUE( aDebug.Silent() );
    ExpectFailed( ERROR_FILENAME_EXCED_RANGE, " Error: !SHGetPathFromIDList( pidl, pszBuffer )" );
    ExpectFailed( ERROR_INVALID_THREAD_ID, " Error: SHGetMalloc( &pMalloc ) != NOERROR" );
    EXPECT_EQ( ERROR_INVALID_THREAD_ID + 0u, GetLastError() );
    m_aToy.dwAnswer = ERROR_SUCCESS;
    m_aToy.strChosen = "/too-long";
    EXPECT_EQ( -1, GetDirDlg( WINDOW, NULL, m_szText, sizeof( m_szText ) ) );
    EXPECT_TRUE( aDebug.OnlyReports(
        { { "From BOOL SafeCopy( LPTSTR pDest, LPCTSTR pSource, LONG lDestSize )",
            " Warning: lLenSource > ( lDestSize - 1 ) -> destination buffer is too small" },
          { pHeader, " Error: !SafeCopy( pPath, pszBuffer, uSize )" } } ) );
}
