// Windows and menus in the user's language: whole trees of them are translated in place, with the text that
// each window or item has at the moment as the key (see nls.h).
//
//     NlsInitWndObject( hMainWindow, "EDITOR.MAINWINDOW", "EDITOR.COMMON", NLSWNDOBJMODE_STD );
//     NlsInitMenuObject( GetMenu( hMainWindow ), "EDITOR.MENU", "EDITOR.COMMON", NLSWNDOBJMODE_STD );
//
// A text without a translation stays. A text that was translated is no key any more: who changes the language
// of windows that are open gives them their keys back first. On Linux the windows are those of the window
// system that is installed; see window_system.h.
// Threads: that of the windows, with its own language. Nothing throws; the last error is preserved.
#pragma once

#include <bxtools/export.h>
#include <bxtools/mstring.h>
#include <bxtools/wintypes.h>

// What is done, bit by bit. One of the first two must be among them; the font's alone is refused.
inline constexpr int NLSWNDOBJMODE_STD = 0x001; // translate the texts
inline constexpr int NLSWNDOBJMODE_FONT =
    0x010; // windows: look up a font as well. Nothing is done with it; kept so
// translate, and turn the escapes of what was found into characters (ReplaceAllBackSlashChars)
inline constexpr int NLSWNDOBJMODE_REPLACE = 0x100;

// Characters of a window's or item's text that are read, with the final zero: what a longer one has beyond
// them is no part of the key and, since a key without a translation is its own text, is lost; kept so.
inline constexpr ULONG GlobalBufLen = 2048;

// Translates a window, the windows in it, and those that follow it in the same parent with theirs.
//   hWnd        not null. The windows that follow it are meant: begin with the parent when only its own are.
//               Windows that go away meanwhile are left out.
//   lpszSec     the section; not null, not empty.
//   lpszSecCom  the common section; null or empty: there is none.
//   nMode       NLSWNDOBJMODE_*. With the font's bit a lookup is made in the sections with "Font" behind
//               them.
// A window whose text is empty keeps it. What is wrong with the arguments is reported once to the library's
// debug hook, as is a handle that is no window, with the system's reason: that there is no window system, or
// that this is not its thread.
DLL_EXPORT_MOD void DLL_EXPORT NlsInitWndObject( HWND hWnd, LPCTSTR lpszSec, LPCTSTR lpszSecCom, int nMode );

// Translates the items of a menu and of its submenus; those of a submenu whose own item has no text are left
// out, kept so.
// Arguments and reports as for NlsInitWndObject. On Windows an item that is translated loses its check mark
// and is enabled, as ModifyMenu has it; kept so: set them afterwards. On Linux they stay.
DLL_EXPORT_MOD void DLL_EXPORT NlsInitMenuObject( HMENU hMenu, LPCTSTR lpszSec, LPCTSTR lpszSecCom,
                                                  int nMode );

// A test aid: lets the user choose a font for a window, beginning with the one it has, and colours the
// window's text.
//   stTitle  not used; kept so.
//   fFirst   which of two fonts of the process is the new one. The one that was in its place is deleted
//            first; the two are unguarded, kept so.
// The dialog is asked for no colour, so that the colour that it leaves is 0 in general, which is refused with
// a report after the font was changed; kept so. A user who cancels changes nothing.
DLL_EXPORT_MOD void DLL_EXPORT MyTestFunc( HWND hWnd, const MString& stTitle, BOOL fFirst );
