// Dialogs, answered while they wait.
#include "support/recorder.h"
#include "support/threads.h"
#include "ui/qttest.h"

#include <bxtools/nlswindow.h>
#include <bxtools/path.h>
#include <bxtools/platform.h>

#include <QAbstractButton>
#include <QColorDialog>
#include <QFileDialog>
#include <QFontDialog>
#include <QFontInfo>
#include <QLabel>
#include <QMessageBox>
#include <cstring>

namespace
{

using QtDialogs = QtTest;

template <class Dialog>
Dialog* Waiting()
{
    return qobject_cast<Dialog*>( QApplication::activeModalWidget() );
}

} // namespace

TEST_F( QtDialogs, AMessageBoxIsAnswered )
{
    QWidget aWindow;
    const HWND hWnd = HandleOfWidget( &aWindow );
    WhileItWaits(
        [&]
        {
            EXPECT_EQ( "<b>text</b>", Waiting<QMessageBox>()->text() );
            EXPECT_EQ( Qt::PlainText, Waiting<QMessageBox>()->textFormat() );
            EXPECT_EQ( "title", Waiting<QMessageBox>()->windowTitle() );
            EXPECT_EQ( &aWindow, Waiting<QMessageBox>()->parent() );
            Waiting<QMessageBox>()->button( QMessageBox::Retry )->click();
        } );
    EXPECT_EQ( IDRETRY, MessageBoxA( hWnd, "<b>text</b>", "title", MB_RETRYCANCEL | MB_ICONWARNING ) );
    const UINT auTypes[] = {
        MB_OK, MB_OKCANCEL, MB_ABORTRETRYIGNORE, MB_YESNOCANCEL, MB_YESNO, MB_RETRYCANCEL
    };
    std::vector<int> aAnswers;
    for ( const UINT uType : auTypes )
    {
        WhileItWaits( [] { Waiting<QMessageBox>()->reject(); } );
        aAnswers.push_back( MessageBoxA( NULL, "closed", "", uType ) );
    }
    EXPECT_EQ( ( std::vector<int>{ IDOK, IDCANCEL, IDABORT, IDCANCEL, IDNO, IDCANCEL } ), aAnswers );

    auto* const pParent = new QWidget;
    WhileItWaits( [&] { delete pParent; } );
    EXPECT_EQ( IDNO, MessageBoxA( HandleOfWidget( pParent ), "", "", MB_YESNO ) ) << "gone with its parent";
    ::testing::internal::CaptureStderr();
    OnOtherThread( [&] { EXPECT_EQ( IDCANCEL, MessageBoxA( hWnd, "elsewhere", "printed", MB_OKCANCEL ) ); } );
    EXPECT_EQ( "printed\nelsewhere\n", ::testing::internal::GetCapturedStderr() );
}

TEST_F( QtDialogs, AFolderIsChosen )
{
    const ScratchFolder aFolder;
    char szPath[_MAX_PATH];
    strcpy( szPath, aFolder.Path().c_str() );
    WhileItWaits( [] { Waiting<QDialog>()->reject(); } );
    EXPECT_EQ( 2, GetDirDlg( NULL, "Folders", szPath, sizeof( szPath ) ) );
    WhileItWaits(
        [&]
        {
            EXPECT_EQ( "Folders", Waiting<QFileDialog>()->windowTitle() );
            EXPECT_EQ( aFolder.Path(), Waiting<QFileDialog>()->directory().path().toStdString() );
            Waiting<QFileDialog>()->setDirectory( "/" );
            static_cast<QDialog*>( Waiting<QFileDialog>() )->done( QDialog::Accepted );
        } );
    EXPECT_EQ( 1, GetDirDlg( NULL, "Folders", szPath, sizeof( szPath ) ) );
    EXPECT_STREQ( "/", szPath );
}

TEST_F( QtDialogs, AFontIsChosenForAWindow )
{
    QLabel aLabel( "text" );
    const HWND hWnd = HandleOfWidget( &aLabel );
    const QFont aBefore = aLabel.font();
    DebugRecorder aDebug;
    WhileItWaits( [] { Waiting<QFontDialog>()->reject(); } );
    MyTestFunc( hWnd, "title", TRUE );
    EXPECT_EQ( aBefore, aLabel.font() );
    for ( const int nPoints : { 15, 30 } )
    {
        WhileItWaits(
            [&]
            {
                EXPECT_EQ( QFontInfo( aLabel.font() ).pixelSize(),
                           QFontInfo( Waiting<QFontDialog>()->currentFont() ).pixelSize() );
                QFont aFont( "DejaVu Sans", nPoints, QFont::Bold );
                aFont.setUnderline( true );
                Waiting<QFontDialog>()->setCurrentFont( aFont );
                static_cast<QDialog*>( Waiting<QFontDialog>() )->done( QDialog::Accepted );
            } );
        MyTestFunc( hWnd, "title", TRUE );
        EXPECT_EQ( nPoints * 4 / 3, aLabel.font().pixelSize() );
        EXPECT_EQ( "DejaVu Sans", aLabel.font().family() );
        EXPECT_TRUE( aLabel.font().bold() && aLabel.font().underline() && !aLabel.font().italic() );
        EXPECT_TRUE( aDebug.OnlyReport( "From static BOOL MySetTextColor( HWND hWnd, COLORREF aColor )",
                                        " Error: aColor == 0" ) );
    }
    MyTestFunc( NULL, "title", FALSE );
    EXPECT_TRUE(
        aDebug.OnlyReport( "From static BOOL MyTestSetFont( HWND hWnd, CHOOSEFONT* pcf, BOOL fFirst )",
                           " Error: ( hFontObj = GetCurrentObject( hdc, OBJ_FONT ) ) == NULL" ) );
}

TEST_F( QtDialogs, AColourIsChosenWithAFont )
{
    QLabel aLabel( "text" );
    LOGFONTA aFont{};
    CHOOSEFONTA aChoice{};
    aChoice.lStructSize = sizeof( aChoice );
    aChoice.lpLogFont = &aFont;
    aChoice.Flags = CF_EFFECTS;
    WhileItWaits(
        []
        {
            WhileItWaits(
                []
                {
                    Waiting<QColorDialog>()->setCurrentColor( QColor( 1, 2, 3 ) );
                    static_cast<QDialog*>( Waiting<QColorDialog>() )->done( QDialog::Accepted );
                } );
            static_cast<QDialog*>( Waiting<QFontDialog>() )->done( QDialog::Accepted );
        } );
    EXPECT_TRUE( ChooseFontA( &aChoice ) );
    EXPECT_EQ( RGB( 1, 2, 3 ), aChoice.rgbColors );
    EXPECT_LT( aFont.lfHeight, 0 );
    const HDC hContext = GetDC( HandleOfWidget( &aLabel ) );
    SetTextColor( hContext, aChoice.rgbColors );
    EXPECT_EQ( QColor( 1, 2, 3 ), aLabel.palette().color( aLabel.foregroundRole() ) );
    EXPECT_EQ( aChoice.rgbColors, SetTextColor( hContext, 0 ) );
}
