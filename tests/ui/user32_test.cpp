// The windows of Windows: trees of them and menus in the user's language, and the dialogs.
#include "support/answereddialogs.h"
#include "support/languagefiles.h"
#include "support/recorder.h"
#include "support/scratchfolder.h"

#include <bxtools/nlswindow.h>
#include <bxtools/path.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace
{

constexpr char COMMON[] = "EDITOR.COMMON";

HWND Make( const char* pText, HWND hParent = NULL )
{
    const DWORD dwStyle = hParent != NULL ? WS_CHILD : WS_OVERLAPPEDWINDOW;
    return CreateWindowExA( 0, "STATIC", pText, dwStyle, 0, 0, 10, 10, hParent, NULL, NULL, NULL );
}

std::string TextOf( HWND hWnd )
{
    char szText[64] = "";
    GetWindowTextA( hWnd, szText, sizeof( szText ) );
    return szText;
}

std::string TextOf( HMENU hMenu, UINT uItem )
{
    char szText[64] = "";
    GetMenuStringA( hMenu, uItem, szText, sizeof( szText ), MF_BYPOSITION );
    return szText;
}

// Whether a failure was reported since the last look; a warning that the system is in another country is none.
bool HasFailed( DebugRecorder& rDebug, const std::string& strWhy = "" )
{
    return rDebug.Take().find( " Error: " + strWhy ) != std::string::npos;
}

class Windows : public ::testing::Test
{
protected:
    Windows()
    {
        WriteBytes( m_aFolder.Path( "EDITOR.CSV" ), "Key;German=049;English=044\n"
                                                    "[WINDOW]\nTITLE=Titel;Title\n"
                                                    "[MENU]\nFILE=&Datei;&File\nOPEN\tCTRL+O=Auf\tStrg+O;\n"
                                                    "[COMMON]\nCLOSE=Zu;Close\n" );
        UseLanguageFiles( m_aFolder.Path(), 49 );
    }
    ~Windows() override
    {
        DestroyWindow( m_hTop );
        SetNlsSettings( NULL );
    }

    const ScratchFolder m_aFolder;
    const HWND m_hTop = Make( "Title" );
};

} // namespace

TEST_F( Windows, AreTranslatedWithThoseInThemAndThoseThatFollow )
{
    const HWND hBox = Make( "", m_hTop );
    const HWND hClose = Make( "Close", hBox );
    const HWND hUnknown = Make( "unknown", m_hTop );
    const HWND hNext = Make( "CLOSE", m_hTop );
    DebugRecorder aDebug;
    NlsInitWndObject( m_hTop, "Editor.Window", COMMON, NLSWNDOBJMODE_STD );
    EXPECT_EQ( "Titel", TextOf( m_hTop ) );
    EXPECT_EQ( "", TextOf( hBox ) );
    EXPECT_EQ( "Zu", TextOf( hClose ) );
    EXPECT_EQ( "unknown", TextOf( hUnknown ) );
    EXPECT_EQ( "Zu", TextOf( hNext ) );
    EXPECT_FALSE( HasFailed( aDebug ) );
    DestroyWindow( hClose );
    NlsInitWndObject( hClose, "Editor.Window", COMMON, NLSWNDOBJMODE_STD );
    EXPECT_TRUE( HasFailed( aDebug, "!IsWindow( hWnd )" ) );
}

TEST_F( Windows, MenusAreTranslatedAndTheirItemsLoseMarkAndGray )
{
    const HMENU hBar = CreateMenu();
    const HMENU hFile = CreatePopupMenu();
    AppendMenuA( hBar, MF_POPUP, reinterpret_cast<UINT_PTR>( hFile ), "&FILE" );
    AppendMenuA( hFile, MF_GRAYED, 17, "Open\tCtrl+O" );
    AppendMenuA( hFile, MF_SEPARATOR, 0, NULL );
    AppendMenuA( hFile, MF_CHECKED, 18, "Close" );
    AppendMenuA( hFile, MF_CHECKED, 19, "" );
    ModifyMenuA( hBar, 0, MF_BYPOSITION | MF_POPUP, reinterpret_cast<UINT_PTR>( hFile ), "File" );
    DebugRecorder aDebug;
    NlsInitMenuObject( hBar, "EDITOR.MENU", COMMON, NLSWNDOBJMODE_STD );
    EXPECT_EQ( "&Datei", TextOf( hBar, 0 ) );
    EXPECT_EQ( hFile, GetSubMenu( hBar, 0 ) );
    EXPECT_EQ( "Auf\tStrg+O", TextOf( hFile, 0 ) );
    EXPECT_EQ( 17u, GetMenuItemID( hFile, 0 ) );
    EXPECT_EQ( "Zu", TextOf( hFile, 2 ) );
    EXPECT_EQ( 0u, GetMenuState( hFile, 0, MF_BYPOSITION ) | GetMenuState( hFile, 2, MF_BYPOSITION ) );
    EXPECT_EQ( MF_CHECKED, GetMenuState( hFile, 3, MF_BYPOSITION ) ) << "nothing to translate";
    EXPECT_FALSE( HasFailed( aDebug ) );
    DestroyMenu( hBar );
    NlsInitMenuObject( hBar, "EDITOR.MENU", COMMON, NLSWNDOBJMODE_STD );
    EXPECT_TRUE( HasFailed( aDebug, "!IsMenu( hMenu )" ) );
}

TEST_F( Windows, AFolderIsChosen )
{
    std::string strBefore = m_aFolder.Path();
    std::replace( strBefore.begin(), strBefore.end(), '/', '\\' ); // the shell knows no other
    char szPath[_MAX_PATH] = "";
    strBefore.copy( szPath, sizeof( szPath ) - 1 );
    DebugRecorder aDebug;
    {
        AnsweredDialogs aDialogs( IDCANCEL );
        EXPECT_EQ( 2, GetDirDlg( m_hTop, "Folders", szPath, sizeof( szPath ) ) );
        EXPECT_NE( std::string::npos, aDialogs.TakeTexts().find( "Folders" ) );
    }
    {
        const AnsweredDialogs aDialogs( IDOK );
        EXPECT_EQ( 1, GetDirDlg( NULL, "Folders", szPath, sizeof( szPath ) ) );
    }
    EXPECT_EQ( 0, lstrcmpiA( strBefore.c_str(), szPath ) )
        << szPath << ", not what it began with: " << strBefore;
    EXPECT_TRUE( aDebug.Silent() );
}

TEST_F( Windows, AFontIsChosenForAWindow )
{
    const auto FontOf = [&] { return SendMessageA( m_hTop, WM_GETFONT, 0, 0 ); };
    DebugRecorder aDebug;
    MyTestFunc( m_hTop, "title", TRUE );
    EXPECT_TRUE(
        aDebug.OnlyReport( "From static BOOL MyTestSetFont( HWND hWnd, CHOOSEFONT* pcf, BOOL fFirst )",
                           " Error: ( hFontObj = GetCurrentObject( hdc, OBJ_FONT ) ) == NULL" ) )
        << "a window has no font of its own at first";
    const HGDIOBJ hFirst = GetStockObject( SYSTEM_FONT );
    SendMessageA( m_hTop, WM_SETFONT, reinterpret_cast<WPARAM>( hFirst ), FALSE );
    {
        const AnsweredDialogs aDialogs( IDCANCEL );
        MyTestFunc( m_hTop, "title", TRUE );
    }
    EXPECT_EQ( reinterpret_cast<LRESULT>( hFirst ), FontOf() );
    EXPECT_TRUE( aDebug.Silent() );
    {
        const AnsweredDialogs aDialogs( IDOK );
        MyTestFunc( m_hTop, "title", TRUE );
    }
    EXPECT_NE( reinterpret_cast<LRESULT>( hFirst ), FontOf() );
    EXPECT_EQ( OBJ_FONT + 0u, GetObjectType( reinterpret_cast<HGDIOBJ>( FontOf() ) ) );
    EXPECT_TRUE( aDebug.OnlyReport( "From static BOOL MySetTextColor( HWND hWnd, COLORREF aColor )",
                                    " Error: aColor == 0" ) );
}
