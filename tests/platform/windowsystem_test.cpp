// The window calls over a table of operations that a program installs: here one with a window, a menu and no toolkit. What they
// do over the windows of a toolkit a transcript shows.
#include "support/forked.h"
#include "support/recorder.h"

#include <bxtools/path.h>
#include <bxtools/platform.h>
#include <bxtools/window_system.h>

#include <gtest/gtest.h>

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
    std::string strItem = "untouched";
    std::string strChosen = "/chosen";
};
Toy* g_pToy = nullptr;

// Of operations whose answer alone counts.
constexpr auto ANSWER = []( auto... ) { return g_pToy->dwAnswer; };

const WindowSystem TOY_SYSTEM = {
    .dwSize = sizeof( WindowSystem ),
    .IsReady = [] { return g_pToy->fReady; },
    .RunEvents = ANSWER,
    .CheckWindow = ANSWER,
    .FindRelated = ANSWER,
    .FindParent = ANSWER,
    .ReadText = ANSWER,
    .ChangeText = ANSWER,
    .ReadFont = ANSWER,
    .ChangeFont = ANSWER,
    .ChangeTextColor = ANSWER,
    .CountItems = []( HMENU h, int* pnItems ) { return *pnItems = h == MENU ? 2 : 260, g_pToy->dwAnswer; },
    .ReadItem =
        []( HMENU, UINT uItem, WindowSystemMenuItem* pItem )
    {
        *pItem = uItem == 0 ? WindowSystemMenuItem{ MF_CHECKED, PLAIN_ID, NULL }
                            : WindowSystemMenuItem{ 0, 0, SUBMENU };
        return g_pToy->dwAnswer;
    },
    .ReadItemText = ANSWER,
    .ChangeItemText = []( HMENU, UINT, LPCSTR pText ) { return g_pToy->strItem = pText, g_pToy->dwAnswer; },
    .ShowMessage =
        []( HWND, LPCSTR pText, LPCSTR pCaption, UINT, int* pnAnswer )
    {
        g_pToy->strShown = std::string( pCaption ) + "|" + pText;
        return *pnAnswer = IDRETRY, g_pToy->dwAnswer;
    },
    .ChooseFolder =
        []( HWND, LPCSTR pTitle, LPCSTR pInitial, LPSTR pPath, UINT uSize )
    {
        g_pToy->strShown = std::string( pTitle ) + "|" + pInitial;
        snprintf( pPath, uSize, "%s", g_pToy->strChosen.c_str() );
        return g_pToy->dwAnswer;
    },
    .ChooseFont = ANSWER,
    .ShowErrors = ANSWER,
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
    const auto InstallAnew = []
    {
        const bool fParents = GetWindowSystem() != NULL;
        return fParents || !InstallWindowSystem( &TOY_SYSTEM ) || GetWindowSystem() != &TOY_SYSTEM;
    };
    EXPECT_EQ( 0, InChild( InstallAnew ) ) << "the windows are the parent's";
    m_aToy.fReady = FALSE;
    EXPECT_EQ( NULL, GetWindowSystem() );
    for ( int i = 0; i < 2; ++i, InstallWindowSystem( NULL ) )
    {
        LOGFONTA aFont{};
        CHOOSEFONTA aChoice{};
        aChoice.lStructSize = sizeof( aChoice );
        aChoice.lpLogFont = &aFont;
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
    EXPECT_FALSE( ModifyMenuA( MENU, 0, MF_BYPOSITION, PLAIN_ID + 1, "" ) ||
                  ModifyMenuA( MENU, 1, MF_BYPOSITION, PLAIN_ID, "" ) ||
                  ModifyMenuA( MENU, 0, MF_BYPOSITION | MF_POPUP, 0, "" ) ||
                  ModifyMenuA( MENU, 0, MF_BYCOMMAND, PLAIN_ID, "" ) );
    EXPECT_EQ( ERROR_INVALID_PARAMETER + 0u, TakeError() );
    EXPECT_EQ( "untouched", m_aToy.strItem );
    EXPECT_FALSE( SendMessageA( WINDOW, WM_CLOSE, 0, 0 ) );
    EXPECT_EQ( ERROR_INVALID_PARAMETER + 0u, TakeError() );
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
