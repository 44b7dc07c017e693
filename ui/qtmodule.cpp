// The module's face: the table, and handles for a program's own widgets.
#include "ui/qtoperations.h"

#include <bxtools/qt_windows.h>

#include <QApplication>
#include <QMenu>
#include <QMenuBar>
#include <QThread>

namespace
{

constexpr WindowSystem g_aQtWindowSystem = {
    .dwSize = sizeof( WindowSystem ),
    .IsReady = &IsReadyForWindows,
    .RunEvents = &RunQtEvents,
    .CheckWindow = &CheckQtWindow,
    .FindRelated = &FindRelatedQtWindow,
    .FindParent = &FindParentQtWindow,
    .ReadText = &ReadQtText,
    .ChangeText = &ChangeQtText,
    .ReadFont = &ReadQtFont,
    .ChangeFont = &ChangeQtFont,
    .ChangeTextColor = &ChangeQtTextColor,
    .CountItems = &CountQtItems,
    .ReadItem = &ReadQtItem,
    .ReadItemText = &ReadQtItemText,
    .ChangeItemText = &ChangeQtItemText,
    .ShowMessage = &ShowQtMessage,
    .ChooseFolder = &ChooseQtFolder,
    .ChooseFont = &ChooseQtFont,
    .ShowErrors = &ShowQtErrors,
};

uintptr_t NumberOf( QWidget* pWidget ) noexcept
{
    try
    {
        return QtHandles::Get().NumberOf( QtPlace{ pWidget } );
    }
    catch ( const std::exception& )
    {
        return 0;
    }
}

} // namespace

BOOL IsReadyForWindows()
{
    return qobject_cast<QApplication*>( QCoreApplication::instance() ) != nullptr &&
           !QCoreApplication::closingDown();
}

bool IsWindowThread()
{
    // It may end while another thread asks.
    const QCoreApplication* const pApplication = QCoreApplication::instance();
    return pApplication != nullptr && QThread::currentThread() == pApplication->thread();
}

const WindowSystem* GetQtWindowSystem() noexcept
{
    return &g_aQtWindowSystem;
}

HWND HandleOfWidget( QWidget* pWidget ) noexcept
{
    return reinterpret_cast<HWND>( NumberOf( pWidget ) );
}

HMENU HandleOfMenu( QMenuBar* pMenuBar ) noexcept
{
    return reinterpret_cast<HMENU>( NumberOf( pMenuBar ) );
}

HMENU HandleOfMenu( QMenu* pMenu ) noexcept
{
    return reinterpret_cast<HMENU>( NumberOf( pMenu ) );
}

QWidget* WidgetOfHandle( HWND hWindow ) noexcept
{
    return QtHandles::Get().Find( reinterpret_cast<uintptr_t>( hWindow ) ).pWidget;
}
