// The Qt 6 window system: what a Qt program needs of libbxwindows.so, which it links for that (CMake:
// BXTools::bxwindows).
//
//     SetKeysAsTexts( aMainWindow );
//     NlsInitWndObject( HandleOfWidget( &aMainWindow ), "EDITOR.MAINWINDOW", "", NLSWNDOBJMODE_STD );
//     NlsInitMenuObject( HandleOfMenu( aMainWindow.menuBar() ), "EDITOR.MENU", "", NLSWNDOBJMODE_STD );
//
// A program that only calls the window functions, with handles that the library gave it, need not link it:
// the library loads it when it finds Qt's widgets in the process. In both cases the windows are there as long
// as the program has a QApplication; the library never makes one.
//
// What is what:
// - A window is any QWidget. The windows in it are its child widgets that are no windows of their own, in the
//   order in which Qt has them; in front of those of a QTabBar, a window for each tab.
// - A window's text is that of a QLabel or QAbstractButton (of a QToolButton that shows an action: the
//   action's), the title of a QGroupBox or QMenu, the text of a tab, and the window title of any other
//   widget. What a user types is no window text.
// - A menu is a QMenuBar or a QMenu, an item one of its actions, a submenu the action's menu.
// - A handle stands for a widget, and is looked up whenever it is used. When the widget is destroyed the
//   handle is invalid, and no later one gets the same.
// Threads: that of QApplication. All but message boxes and errors fails in others with error 1444: a thread
// that waited for the one of the windows might be what that one waits for. There, message boxes go to
// standard error; errors that are shown without waiting appear in the windows' thread, others on standard
// error.
#pragma once

#include <bxtools/export.h>
#include <bxtools/wintypes.h>

#if defined( BX_PLATFORM_LAYER )

#include <bxtools/window_system.h>

class QMenu;
class QMenuBar;
class QWidget;

// The handle of a widget, the same for as long as it lives. Null for null, and without memory.
// Threads: that of QApplication. Never throws.
DLL_EXPORT_MOD HWND HandleOfWidget( QWidget* pWidget ) noexcept;
DLL_EXPORT_MOD HMENU HandleOfMenu( QMenuBar* pMenuBar ) noexcept;
DLL_EXPORT_MOD HMENU HandleOfMenu( QMenu* pMenu ) noexcept;

// The widget of a handle; null when it is gone, or none was ever meant. A tab's is its QTabBar.
DLL_EXPORT_MOD QWidget* WidgetOfHandle( HWND hWindow ) noexcept;

// Qt's table of operations, valid until the process ends. The library finds it by itself; a program whose Qt
// the library cannot see, because it is linked statically or under another name, hands it to
// InstallWindowSystem.
extern "C" DLL_EXPORT_MOD const WindowSystem* GetQtWindowSystem() noexcept;

#endif
