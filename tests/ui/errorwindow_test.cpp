// Errors that are shown, or printed where there is no window.
#include "support/threads.h"
#include "ui/qttest.h"

#include <bxtools/error.h>
#include <bxtools/platform.h>

#include <QClipboard>
#include <QDialog>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStackedWidget>
#include <QTest>
#include <set>

namespace
{

constexpr char FIRST[] = "first origin\n\n"
                         "ErrCls: CLASS\n"
                         "Error: 7 (hex: 0x00000007)\n"
                         "SourceDescription: Unknown library description";
constexpr char SECOND[] = "Disk full\n\n"
                          "ErrCls: ERRORS\n"
                          "Error: 8 (hex: 0x00000008)\n"
                          "SourceDescription: Unknown library description";

void SetTwoErrors()
{
    EXPECT_TRUE( SetLastErr( "TEST.CLASS", 7, 0, "first origin", "", "" ) );
    EXPECT_TRUE( SetLastErr( "EDITOR.ERRORS", 8, 0, "second origin", "optional text", "" ) );
}

class QtErrorDisplay : public QtTest
{
protected:
    QtErrorDisplay() { UseReleaseFile( "049EDITOR.ERRORS8", "Disk full[disk.hlp;1234]" ); }

    // The window that shows errors; null when there is none.
    static QDialog* Window()
    {
        for ( QWidget* const pWidget : QApplication::topLevelWidgets() )
            if ( pWidget->objectName() == "BXErrorWindow" )
                return qobject_cast<QDialog*>( pWidget );
        return nullptr;
    }
    static void Close()
    {
        Window()->close();
        QCoreApplication::sendPostedEvents( nullptr, QEvent::DeferredDelete );
    }
    static QWidget* Page() { return Window()->findChild<QStackedWidget*>()->currentWidget(); }
    static std::string ShownText()
    {
        return Page()->findChild<QPlainTextEdit*>()->toPlainText().toStdString();
    }
};

} // namespace

TEST_F( QtErrorDisplay, HasAPageForEachError )
{
    SetTwoErrors();
    QWidget aParent;
    EXPECT_TRUE( DisplayError( HandleOfWidget( &aParent ), TRUE ) );
    ASSERT_NE( nullptr, Window() );
    EXPECT_EQ( &aParent, Window()->parent() );
    EXPECT_FALSE( Window()->isModal() );
    EXPECT_EQ( FIRST, ShownText() );
    EXPECT_EQ( 1, Window()->findChild<QStackedWidget*>()->count() )
        << "the others are made when they are shown";

    EXPECT_TRUE( QTest::qWaitForWindowActive( Window() ) );
    QTest::keyClick( Window(), Qt::Key_Left, Qt::AltModifier );
    EXPECT_EQ( FIRST, ShownText() ) << "the first one";
    QTest::keyClick( Window(), Qt::Key_Right, Qt::AltModifier );
    EXPECT_EQ( SECOND, ShownText() );
    const auto aTexts = Page()->findChildren<QPlainTextEdit*>();
    ASSERT_EQ( 2, aTexts.size() );
    EXPECT_EQ( "optional text", aTexts[1]->toPlainText() );
    QTest::keyClick( Window(), Qt::Key_C, Qt::ControlModifier );
    EXPECT_EQ( "Error 1 of 2\n" + std::string( FIRST ) + "\n\nError 2 of 2\n" + SECOND +
                   "\nDetails:\noptional text\nHelp topic: disk.hlp, 1234\n",
               QApplication::clipboard()->text().toStdString() );
    aTexts[1]->setFocus();
    aTexts[1]->selectAll();
    QTest::keyClick( aTexts[1], Qt::Key_C, Qt::ControlModifier );
    EXPECT_EQ( "optional text", QApplication::clipboard()->text() );
    QTest::keyClick( Window(), Qt::Key_Escape );
    QCoreApplication::sendPostedEvents( nullptr, QEvent::DeferredDelete );
    EXPECT_EQ( nullptr, Window() );
}

TEST_F( QtErrorDisplay, CanBeUsedByKeyboardAlone )
{
    SetTwoErrors();
    EXPECT_TRUE( DisplayError( NULL, TRUE ) );
    QDialog& rWindow = *Window();
    EXPECT_TRUE( QTest::qWaitForWindowActive( &rWindow ) );
    std::set<QWidget*> aReached;
    for ( QWidget* p = QApplication::focusWidget(); aReached.insert( p ).second;
          p = QApplication::focusWidget() )
        QTest::keyClick( p, Qt::Key_Tab );
    for ( QPushButton* const pButton : rWindow.findChildren<QPushButton*>() )
        EXPECT_EQ( pButton->isEnabled(), aReached.contains( pButton ) ) << pButton->text().toStdString();
    EXPECT_EQ( 1,
               std::count_if( aReached.begin(), aReached.end(),
                              []( QWidget* p ) { return qobject_cast<QPlainTextEdit*>( p ) != nullptr; } ) );
    Close();
}

TEST_F( QtErrorDisplay, WaitsOrNot )
{
    SetTwoErrors();
    WhileItWaits(
        []
        {
            EXPECT_TRUE( Window()->isModal() );
            Window()->reject();
        } );
    EXPECT_TRUE( DisplayError( NULL, FALSE ) );
    EXPECT_EQ( nullptr, Window() );
    EXPECT_TRUE( DisplayError( NULL, FALSE ) ) << "nothing to show";

    ::testing::internal::CaptureStderr();
    OnOtherThread(
        []
        {
            SetTwoErrors();
            EXPECT_TRUE( DisplayError( NULL, TRUE ) );
            EXPECT_TRUE( SetLastErr( "TEST.CLASS", 7, 0, "first origin", "", "" ) );
            EXPECT_TRUE( DisplayError( NULL, FALSE ) );
        } );
    EXPECT_EQ( "Errors\nError 1 of 1\n" + std::string( FIRST ) + "\n\n",
               ::testing::internal::GetCapturedStderr() );
    EXPECT_EQ( nullptr, Window() );
    QCoreApplication::processEvents();
    ASSERT_NE( nullptr, Window() );
    EXPECT_EQ( FIRST, ShownText() );
    Close();
}

// And nothing in it acts on the terminal.
TEST( ErrorDisplay, PrintsInAProgramWithoutWindows )
{
    ::testing::internal::CaptureStderr();
    EXPECT_TRUE( SetLastErr( "TEST.CLASS", 7, 0, "bell \a, \x1B and \xC2\x9B", "", "" ) );
    EXPECT_TRUE( DisplayError( NULL, FALSE ) );
    EXPECT_EQ( "Errors\nError 1 of 1\nbell ?, ? and ?" + std::string( FIRST ).erase( 0, 12 ) + "\n\n",
               ::testing::internal::GetCapturedStderr() );
}
