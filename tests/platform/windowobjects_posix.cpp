#include "platform/windowobjects.h"

#include <bxtools/qt_windows.h>

#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>

struct WindowObjects::State
{
    bool fOffscreen = qputenv( "QT_QPA_PLATFORM", "offscreen" );
    int nArguments = 1;
    char szName[11] = "transcript";
    char* apArguments[2] = { szName, nullptr };
    QApplication aApplication{ nArguments, apArguments };
    QWidget aTop;
    QLabel aFirst{ "first", &aTop };
    QLabel aSecond{ "second", &aTop };
    std::unique_ptr<QLabel> pThird = std::make_unique<QLabel>( "third", &aTop );
    QDialog aDialog{ &aTop };
    QMenuBar aBar;
    std::unique_ptr<QMenu> pMore = std::make_unique<QMenu>( "More" );
};

WindowObjects::WindowObjects() : m_pState( new State )
{
    m_pState->aTop.setWindowTitle( "top" );
    m_pState->aBar.addAction( "Open\tCtrl+O" )->setEnabled( false );
    m_pState->aBar.addSeparator();
    QAction* const pChecked = m_pState->aBar.addAction( "Checked" );
    pChecked->setCheckable( true );
    pChecked->setChecked( true );
    m_pState->aBar.addMenu( m_pState->pMore.get() );
    m_pState->pMore->addAction( "inner" );
}

WindowObjects::~WindowObjects() = default;

HWND WindowObjects::GetTop() const
{
    return HandleOfWidget( &m_pState->aTop );
}

HWND WindowObjects::GetDialog() const
{
    return HandleOfWidget( &m_pState->aDialog );
}

HMENU WindowObjects::GetMenuBar() const
{
    return HandleOfMenu( &m_pState->aBar );
}

void WindowObjects::EndSome()
{
    m_pState->pThird.reset();
    m_pState->pMore.reset();
}
