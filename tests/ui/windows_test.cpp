// Windows and menus of real widgets: how they are found, and their texts in another language.
#include "support/recorder.h"
#include "support/threads.h"
#include "ui/qttest.h"

#include <bxtools/nlswindow.h>
#include <bxtools/platform.h>
#include <bxtools/thread.h>

#include <QCheckBox>
#include <QDialog>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenuBar>
#include <QTabBar>
#include <QTabWidget>
#include <QToolBar>
#include <QToolButton>
#include <memory>

namespace
{

constexpr char SECTION[] = "Editor.Window";
constexpr char COMMON[] = "EDITOR.COMMON";

std::string TextOf( HWND hWnd )
{
    char szText[64];
    GetWindowTextA( hWnd, szText, sizeof( szText ) );
    return szText;
}

// The texts below a window, in brackets per level.
std::string TreeOf( HWND hWnd )
{
    std::string strTree = TextOf( hWnd );
    std::string strBelow;
    for ( HWND h = GetWindow( hWnd, GW_CHILD ); h != NULL; h = GetWindow( h, GW_HWNDNEXT ) )
    {
        EXPECT_EQ( hWnd, GetParent( h ) );
        strBelow += ( strBelow.empty() ? "" : " " ) + TreeOf( h );
    }
    return strBelow.empty() ? strTree : strTree + "(" + strBelow + ")";
}

DWORD WaitFor( HANDLE hObject, DWORD dwMilliseconds )
{
    DWORD dwResult = WAIT_FAILED;
    WaitForHandleSignaled( hObject, dwMilliseconds, TRUE, &dwResult );
    return dwResult;
}

class QtWindows : public QtTest
{
protected:
    static void Translate( QWidget& rWindow, int nMode = NLSWNDOBJMODE_STD )
    {
        NlsInitWndObject( HandleOfWidget( &rWindow ), SECTION, COMMON, nMode );
    }
    static void Translate( QMenuBar& rBar )
    {
        NlsInitMenuObject( HandleOfMenu( &rBar ), "EDITOR.MENU", COMMON, NLSWNDOBJMODE_STD );
    }
};

} // namespace

TEST_F( QtWindows, AreFoundByAllThreadsThatAskAtOnce )
{
    OnThreads( 8, [] { EXPECT_NE( nullptr, GetWindowSystem() ); } );
}

TEST_F( QtWindows, AreFoundInTheirOrderUntilTheyAreGone )
{
    QWidget aWindow;
    aWindow.setWindowTitle( "top" );
    QGroupBox aGroup( "group", &aWindow );
    QLabel aFirst( "first", &aGroup );
    auto pSecond = std::make_unique<QLabel>( "second", &aGroup );
    QTabBar aTabs( &aWindow );
    aTabs.setObjectName( "tabs" );
    aTabs.addTab( "one" );
    aTabs.addTab( "two" );
    QDialog aDialog( &aGroup );
    const HWND hTop = HandleOfWidget( &aWindow );
    const HWND hTabs = HandleOfWidget( &aTabs );
    EXPECT_TRUE( TreeOf( hTop ).starts_with( "top(group(first second) (one two" ) ) << TreeOf( hTop );

    const HWND hFirst = HandleOfWidget( &aFirst );
    const HWND hSecond = GetWindow( hFirst, GW_HWNDLAST );
    EXPECT_EQ( pSecond.get(), WidgetOfHandle( hSecond ) );
    EXPECT_EQ( hFirst, GetWindow( hSecond, GW_HWNDPREV ) );
    EXPECT_EQ( hFirst, GetWindow( hSecond, GW_HWNDFIRST ) );
    EXPECT_EQ( hTop, GetWindow( hTop, GW_HWNDFIRST ) );
    EXPECT_EQ( NULL, GetWindow( hTop, GW_HWNDNEXT ) );
    EXPECT_EQ( NULL, GetParent( hTop ) );
    EXPECT_EQ( hTop, GetWindow( HandleOfWidget( &aDialog ), GW_OWNER ) );
    EXPECT_EQ( hTop, GetParent( HandleOfWidget( &aDialog ) ) );

    const HWND hTwo = GetWindow( GetWindow( hTabs, GW_CHILD ), GW_HWNDNEXT );
    EXPECT_EQ( "two", TextOf( hTwo ) );
    aTabs.removeTab( 1 );
    EXPECT_FALSE( IsWindow( hTwo ) );
    pSecond.reset();
    EXPECT_EQ( NULL, GetWindow( hFirst, GW_HWNDNEXT ) );
    EXPECT_FALSE( SetWindowTextA( hSecond, "late" ) );
    EXPECT_EQ( ERROR_INVALID_WINDOW_HANDLE + 0u, GetLastError() );
    QLabel aThird( "third", &aGroup );
    EXPECT_NE( hSecond, HandleOfWidget( &aThird ) ) << "a number is used once, wherever the widget lies";
    EXPECT_EQ( NULL, WidgetOfHandle( reinterpret_cast<HWND>( &aThird ) ) ) << "an address is no handle";
}

TEST_F( QtWindows, OfAllKindsAreTranslated )
{
    QMainWindow aWindow;
    aWindow.setWindowTitle( "title" );
    QWidget aInside( &aWindow );
    QCheckBox aCheck( "Close", &aInside );
    QLabel aEmpty( &aInside );
    QLineEdit aTyped( "Title", &aInside );
    QLabel aUnknown( "unknown", &aInside );
    QTabWidget aTabs( &aInside );
    aTabs.addTab( new QGroupBox( "TITLE" ), "Close" );
    QAction aAction( "Close" );
    QToolBar aBar( &aWindow );
    aBar.addAction( &aAction );
    Translate( aWindow );
    EXPECT_EQ( "Titel", aWindow.windowTitle() );
    EXPECT_EQ( "Schließen", aCheck.text() );
    EXPECT_EQ( "Schließen", aTabs.tabText( 0 ) );
    EXPECT_EQ( "Titel", qobject_cast<QGroupBox*>( aTabs.widget( 0 ) )->title() );
    EXPECT_EQ( "Schließen", aAction.text() );
    EXPECT_EQ( "", aEmpty.text() );
    EXPECT_EQ( "unknown", aUnknown.text() );
    EXPECT_EQ( "Title", aTyped.text() ) << "what a user types is nobody's key";

    SetLanguage( 44 );
    aWindow.setWindowTitle( "TITLE" );
    Translate( aWindow );
    EXPECT_EQ( "Title", aWindow.windowTitle() );
    EXPECT_EQ( "Schließen", aCheck.text() ) << "no key any more";
    SetLanguage( 49 );
    aUnknown.setText( "lines" );
    Translate( aUnknown, NLSWNDOBJMODE_STD );
    EXPECT_EQ( "eins\\nzwei", aUnknown.text() );
    aUnknown.setText( "lines" );
    Translate( aUnknown, NLSWNDOBJMODE_REPLACE | NLSWNDOBJMODE_FONT );
    EXPECT_EQ( "eins\nzwei", aUnknown.text() );
    aUnknown.setText( QString( "ü" ).repeated( 2000 ) );
    Translate( aUnknown );
    EXPECT_EQ( QString( "ü" ).repeated( 1023 ), aUnknown.text() ) << "2047 bytes, and no part of a character";
}

TEST_F( QtWindows, MayChangeWhileTheyAreWalked )
{
    QWidget aWindow;
    auto* const pFirst = new QWidget( &aWindow );
    auto* const pDoomed = new QWidget( pFirst );
    auto* const pLast = new QLabel( "Close", &aWindow );
    pFirst->setWindowTitle( "Title" );
    QObject::connect( pFirst, &QWidget::windowTitleChanged, pDoomed, [&] { delete pDoomed; } );
    Translate( aWindow );
    EXPECT_EQ( "Schließen", pLast->text() );
    EXPECT_TRUE( pFirst->children().isEmpty() );
    pFirst->setWindowTitle( "Close" );
    QObject::connect( pFirst, &QWidget::windowTitleChanged, pFirst, [&] { delete pFirst; } );
    Translate( aWindow );
    EXPECT_EQ( pLast, aWindow.children().first() );

    QWidget aDeep;
    QWidget* pInmost = &aDeep;
    for ( int i = 0; i < 500; ++i )
        pInmost = new QWidget( pInmost );
    pInmost->setWindowTitle( "Title" );
    Translate( aDeep );
    EXPECT_EQ( "Titel", pInmost->windowTitle() );
}

TEST_F( QtWindows, LiveOnWhileTheirThreadWaits )
{
    const HANDLE hEvent = CreateEventA( NULL, FALSE, FALSE, NULL );
    const HANDLE hNever = CreateEventA( NULL, FALSE, FALSE, NULL );
    QTimer::singleShot( 1,
                        [&]
                        {
                            // An event that waits itself, for the same thread's messages.
                            EXPECT_EQ( WAIT_TIMEOUT + 0u, WaitFor( hNever, 1 ) );
                            OnOtherThread( [&] { SetEvent( hEvent ); } );
                        } );
    EXPECT_EQ( WAIT_OBJECT_0 + 0u, WaitFor( hEvent, INFINITE ) );
    bool fRun = false;
    QTimer::singleShot( 1, [&] { fRun = true; } );
    EXPECT_EQ( WAIT_TIMEOUT + 0u, MsgWaitForMultipleObjects( 1, &hEvent, FALSE, 50, QS_ALLINPUT ) );
    EXPECT_TRUE( fRun );
    std::thread aSetter( [&] { SetEvent( hEvent ); } );
    EXPECT_EQ( WAIT_OBJECT_0 + 0u, WaitFor( hEvent, INFINITE ) ) << "a bell wakes it";
    aSetter.join();
    CloseHandle( hEvent );
    CloseHandle( hNever );
}

TEST_F( QtWindows, WhatIsWrongIsReported )
{
    const std::string strWindow =
        "From DLL_EXPORT_MOD void DLL_EXPORT NlsInitWndObject( HWND hWnd, LPCTSTR lpszSec, LPCTSTR lpszSecCom, int nMode )";
    const std::string strMenu =
        "From DLL_EXPORT_MOD void DLL_EXPORT NlsInitMenuObject( HMENU hMenu, LPCTSTR lpszSec, LPCTSTR lpszSecCom, int nMode )";
    const std::string strMode =
        " Error: !ISMODE_NLS( nMode, NLSWNDOBJMODE_STD ) && !ISMODE_NLS( nMode, NLSWNDOBJMODE_REPLACE )";
    QWidget aWindow;
    QMenuBar aBar;
    const HWND hWnd = HandleOfWidget( &aWindow );
    const HMENU hMenu = HandleOfMenu( &aBar );
    DebugRecorder aDebug;
    NlsInitWndObject( NULL, NULL, NULL, 0 );
    NlsInitMenuObject( NULL, NULL, NULL, 0 );
    EXPECT_TRUE( aDebug.OnlyReports(
        { { strWindow, " Error: hWnd == NULL" }, { strMenu, " Error: hMenu == NULL" } } ) );
    for ( const auto& [pSection, strText] :
          { std::pair<LPCTSTR, std::string>( NULL, " Error: lpszSec == NULL" ),
            { "", " Error: *lpszSec == NIL" },
            { SECTION, strMode } } )
    {
        NlsInitWndObject( hWnd, pSection, NULL, NLSWNDOBJMODE_FONT );
        NlsInitMenuObject( hMenu, pSection, NULL, NLSWNDOBJMODE_FONT );
        EXPECT_TRUE( aDebug.OnlyReports( { { strWindow, strText }, { strMenu, strText } } ) );
    }
    NlsInitMenuObject( reinterpret_cast<HMENU>( hWnd ), SECTION, NULL, NLSWNDOBJMODE_STD );
    OnOtherThread( [&] { NlsInitWndObject( hWnd, SECTION, NULL, NLSWNDOBJMODE_STD ); } );
    EXPECT_TRUE( aDebug.OnlyReports(
        { { strMenu, " Error: !IsMenu( hMenu )\r\nThe menu handle is not valid.\r\n" },
          { strWindow,
            " Error: !IsWindow( hWnd )\r\nThere is no thread of that number, or it takes no messages.\r\n" } } ) );
}

TEST_F( QtWindows, MenusAreTranslatedWithTheirSubmenus )
{
    QMenuBar aBar;
    QMenu* const pFile = aBar.addMenu( "&FILE" );
    QMenu* const pNameless = aBar.addMenu( "" );
    QAction* const pInNameless = pNameless->addAction( "Close" );
    QAction* const pOpen = pFile->addAction( "Open\tCtrl+O" );
    pFile->addSeparator();
    pFile->addMenu( "unknown" );
    QMenu* const pDeeper = pFile->addMenu( "Close" );
    QAction* const pClose = pDeeper->addAction( "Close" );
    pDeeper->addAction( pFile->menuAction() );
    pClose->setCheckable( true );
    pClose->setChecked( true );
    pOpen->setEnabled( false );
    pFile->menuAction()->setText( "File" );
    Translate( aBar );
    EXPECT_EQ( "&Datei", pFile->title() );
    EXPECT_EQ( "Öffnen\tStrg+O", pOpen->text() );
    EXPECT_EQ( "Schließen", pDeeper->title() );
    EXPECT_EQ( "Schließen", pClose->text() );
    EXPECT_EQ( "Close", pInNameless->text() ) << "left out with its menu";
    EXPECT_TRUE( pClose->isChecked() && !pOpen->isEnabled() );

    const HMENU hFile = GetSubMenu( HandleOfMenu( &aBar ), 0 );
    EXPECT_EQ( HandleOfMenu( pFile ), hFile );
    EXPECT_EQ( MF_GRAYED, GetMenuState( hFile, 0, MF_BYPOSITION ) );
    EXPECT_EQ( MF_SEPARATOR, GetMenuState( hFile, 1, MF_BYPOSITION ) );
    EXPECT_EQ( MF_POPUP, GetMenuState( hFile, 2, MF_BYPOSITION ) ) << "an empty one";
    EXPECT_EQ( MF_POPUP | 0x200u, GetMenuState( hFile, 3, MF_BYPOSITION ) );
    EXPECT_NE( GetMenuItemID( hFile, 0 ), GetMenuItemID( hFile, 1 ) );
    delete pFile;
    EXPECT_EQ( -1, GetMenuItemCount( hFile ) );
}
