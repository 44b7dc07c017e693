// Windows, menus, fonts and dialogs: part of platform.h.
//
// What the windows are made of is the business of a window system that the program or a module installs; see
// window_system.h. Without one, or while it is not ready, there is no window and no menu: what is asked of one
// fails with error 120. With one they belong to one thread, and these calls are for that thread: in others they
// fail with error 1444. Texts are UTF-8. A handle whose window or menu is gone is error 1400 or 1401, for ever.
#pragma once

#include <bxtools/export.h>
#include <bxtools/wintypes.h>

#if defined( BX_PLATFORM_LAYER )

// ---- windows ----------------------------------------------------------------------------------------------

// Whether there is such a window; the error says why not.
DLL_EXPORT_MOD BOOL IsWindow( HWND hWindow );
// A window beside another one or below it.
//   uRelation  GW_CHILD its first child; GW_HWNDFIRST, GW_HWNDLAST, GW_HWNDNEXT, GW_HWNDPREV among the
//              children of its parent, in the order they were made; a window without a parent is alone there;
//              GW_OWNER the window that a dialog belongs to.
// Result: null when there is none, which leaves the last error alone. Errors: 87 no such relation.
DLL_EXPORT_MOD HWND GetWindow( HWND hWindow, UINT uRelation );
// The window it is in, for a dialog the one it belongs to; null, without an error, when there is none.
DLL_EXPORT_MOD HWND GetParent( HWND hWindow );
// Copies a window's text.
//   nSize  room in pText, with the final zero. What does not fit is left out, never a part of a character.
// Result: characters without the zero; 0 also for a window without a text, which leaves the last error alone.
DLL_EXPORT_MOD int GetWindowTextA( HWND hWindow, LPSTR pText, int nSize );
// Changes it; null empties it. A window that shows no text takes it, too.
DLL_EXPORT_MOD BOOL SetWindowTextA( HWND hWindow, LPCSTR pText );
// WM_GETFONT: the handle of the window's font, not the caller's to delete; 0 on failure. WM_SETFONT: gives it
// the font whose handle wParam is, and draws it anew when lParam is not 0. Any other message: error 87.
DLL_EXPORT_MOD LRESULT SendMessageA( HWND hWindow, UINT uMessage, WPARAM wParam, LPARAM lParam );
// GWLP_HINSTANCE: the program's module. Any other index: error 1413.
DLL_EXPORT_MOD LONG_PTR GetWindowLongPtrA( HWND hWindow, int nIndex );
// What the window is drawn with, as far as its text colour goes; null on failure.
DLL_EXPORT_MOD HDC GetDC( HWND hWindow );
DLL_EXPORT_MOD int ReleaseDC( HWND hWindow, HDC hContext );
// Gives the texts of the window another colour. Result: the one before, CLR_INVALID on failure.
DLL_EXPORT_MOD COLORREF SetTextColor( HDC hContext, COLORREF aColor );

// ---- menus ------------------------------------------------------------------------------------------------

// Items count from 0, and a separator is one. uFlags must have MF_BYPOSITION (87).

// Whether there is such a menu; the error says why not.
DLL_EXPORT_MOD BOOL IsMenu( HMENU hMenu );
// The number of items, -1 on failure.
DLL_EXPORT_MOD int GetMenuItemCount( HMENU hMenu );
// MF_CHECKED, MF_GRAYED, MF_SEPARATOR as the item is; for one with a submenu MF_POPUP as well, and the number
// of the submenu's items in the second byte. Result: -1 on failure, with error 1456 when there is no such
// item.
DLL_EXPORT_MOD UINT GetMenuState( HMENU hMenu, UINT uItem, UINT uFlags );
// As GetWindowTextA. A keyboard shortcut that is part of the text stands behind a tab.
DLL_EXPORT_MOD int GetMenuStringA( HMENU hMenu, UINT uItem, LPSTR pText, int nSize, UINT uFlags );
// The item's number in the process; -1 for an item with a submenu, and on failure.
DLL_EXPORT_MOD UINT GetMenuItemID( HMENU hMenu, int nItem );
// The item's submenu; null when it has none.
DLL_EXPORT_MOD HMENU GetSubMenu( HMENU hMenu, int nItem );
// Gives an item another text.
//   uFlags     MF_BYPOSITION, with MF_POPUP for an item with a submenu. Unlike on Windows the check mark and
//              whether it is enabled are not the menu's but the program's, and stay.
//   uNewItem   the item's number or, with MF_POPUP, its submenu: what it has already (else 87).
DLL_EXPORT_MOD BOOL ModifyMenuA( HMENU hMenu, UINT uItem, UINT uFlags, UINT_PTR uNewItem, LPCSTR pText );

// ---- fonts ------------------------------------------------------------------------------------------------

// A font's description under a handle, the caller's to delete. It may stay in use by a window that it was
// given to: the window has a copy. Null: error 87, or 8 out of memory.
DLL_EXPORT_MOD HFONT CreateFontIndirectA( const LOGFONTA* pDescription );
// Copies the first nSize bytes of a font's description; a null pObject asks for the size. Result: bytes; 0 on
// failure.
DLL_EXPORT_MOD int GetObjectA( HGDIOBJ hObject, int nSize, LPVOID pObject );
// Error 6: no such font.
DLL_EXPORT_MOD BOOL DeleteObject( HGDIOBJ hObject );

// ---- dialogs ----------------------------------------------------------------------------------------------

// Shows a text to the user and waits for the answer.
//   uType  the buttons MB_OK to MB_RETRYCANCEL (87), one of the icons, and more that is ignored.
// Without a window system, and in other threads than that of the windows, title and text go to standard
// error, and the answer is IDOK for a box with one button; for the others it is the one that does least
// (Cancel, No, or Abort where neither is offered), since nobody is there to agree to anything. It must reach
// somebody, and a thread that waited here for that of the windows could be what that one is waiting for.
DLL_EXPORT_MOD int MessageBoxA( HWND hWnd, LPCSTR pText, LPCSTR pCaption, UINT uType );
// Lets the user choose a font, and with CF_EFFECTS a colour for it afterwards.
//   pChoice  in: owner, Flags (CF_INITTOLOGFONTSTRUCT begins with lpLogFont), rgbColors to begin with; out:
//            lpLogFont, the size and the colour. Hooks, templates and size limits are ignored.
// Result: FALSE for cancelled, which leaves the last error alone, and on failure.
DLL_EXPORT_MOD BOOL ChooseFontA( LPCHOOSEFONTA pChoice );

#endif
