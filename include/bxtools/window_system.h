// The window system on Linux: the table of operations that stands behind the window, menu and dialog calls of
// platform.h, behind GetDirDlg and behind the display library.
//
// The library links no toolkit. Whoever has windows puts a table in here:
// - A Qt 6 program need not do anything. The first of those calls finds that Qt is in the process, loads the
//   module BXWINDOWS.DLL (libbxwindows.so), and takes its table. What a program needs besides, a handle for
//   its own windows and menus, is in qt_windows.h.
// - A program with another toolkit fills in a table of its own and installs it.
// On Windows there is nothing to install: the system's own calls are used, and this header is empty.
#pragma once

#include <bxtools/export.h>
#include <bxtools/wintypes.h>

#if defined( BX_PLATFORM_LAYER )

// What a menu item is.
struct WindowSystemMenuItem
{
    UINT uState;    // as GetMenuState tells it
    UINT uId;       // the item's own in the process; -1 with a submenu
    HMENU hSubMenu; // null when it has none
};

// One error as a user reads it. Texts are UTF-8 with CR LF or LF between the lines; none is null.
struct WindowSystemError
{
    LPCSTR pText;
    LPCSTR pDetails;  // empty: there are none
    LPCSTR pHelpFile; // empty: there is none
    USHORT usHelpTopic;
};

// What stands around the errors, in the user's language.
struct WindowSystemErrorLabels
{
    LPCSTR pTitle;    // of the window
    LPCSTR pPosition; // where the page is among the others: %1 of %2
    LPCSTR pPrevious;
    LPCSTR pNext;
    LPCSTR pCopy;
    LPCSTR pClose;
    LPCSTR pDetails;
    LPCSTR pHelp;
};

// The operations. Each gives 0 (ERROR_SUCCESS) or the number of the Win32 error that the call then leaves as
// the last one; out values are set on success only. None is called while IsReady gives FALSE, none throws,
// and pointers are valid for the duration of the call. Handles are the table's own invention: what it is
// given may be any value, so it looks a handle up and never follows it. Operations may come in any thread; a
// table whose windows belong to one answers in others with ERROR_INVALID_THREAD_ID, and must not wait there.
struct WindowSystem
{
    // Of this record, for tables that are made for an older or newer library.
    DWORD dwSize;

    // Whether there are windows at present; in any thread.
    BOOL ( *IsReady )();
    // Handles the events that have come for the windows, if there are none sleeps until some come, and
    // returns. It also returns when one of the descriptors is readable, and after dwMilliseconds (INFINITE:
    // without limit).
    DWORD ( *RunEvents )( const int* pDescriptors, UINT uCount, DWORD dwMilliseconds );

    // ERROR_INVALID_WINDOW_HANDLE when there is no such window.
    DWORD ( *CheckWindow )( HWND hWindow );
    // GW_*; null when there is none.
    DWORD ( *FindRelated )( HWND hWindow, UINT uRelation, HWND* phRelated );
    // Null when there is none.
    DWORD ( *FindParent )( HWND hWindow, HWND* phParent );
    // The text, cut between characters to nSize bytes with its zero; nSize is 1 or more.
    DWORD ( *ReadText )( HWND hWindow, LPSTR pText, int nSize );
    DWORD ( *ChangeText )( HWND hWindow, LPCSTR pText );
    DWORD ( *ReadFont )( HWND hWindow, LOGFONTA* pFont );
    DWORD ( *ChangeFont )( HWND hWindow, const LOGFONTA* pFont, BOOL fRedraw );
    DWORD ( *ChangeTextColor )( HWND hWindow, COLORREF aColor, COLORREF* pBefore );

    // ERROR_INVALID_MENU_HANDLE when there is no such menu.
    DWORD ( *CountItems )( HMENU hMenu, int* pnItems );
    // ERROR_MENU_ITEM_NOT_FOUND when there is no such item; so in the two that follow.
    DWORD ( *ReadItem )( HMENU hMenu, UINT uItem, WindowSystemMenuItem* pItem );
    DWORD ( *ReadItemText )( HMENU hMenu, UINT uItem, LPSTR pText, int nSize );
    DWORD ( *ChangeItemText )( HMENU hMenu, UINT uItem, LPCSTR pText );

    // Dialogs, which wait for the user. A parent that is no window is none.
    //   pnAnswer  IDOK, IDCANCEL, ...; a window that is closed is Cancel, else No, else the only button.
    DWORD ( *ShowMessage )( HWND hParent, LPCSTR pText, LPCSTR pCaption, UINT uType, int* pnAnswer );
    // ERROR_CANCELLED when the user chooses none. The path is cut to uSize bytes with its zero:
    // ERROR_FILENAME_EXCED_RANGE.
    DWORD ( *ChooseFolder )( HWND hParent, LPCSTR pTitle, LPCSTR pInitialFolder, LPSTR pPath, UINT uSize );
    // ERROR_CANCELLED likewise.
    DWORD ( *ChooseFont )( CHOOSEFONTA* pChoice );
    // Shows errors, a page for each. Modal, it waits until the user has seen them; modeless, it returns at
    // once, may be called in any thread, and has copied what it needs.
    DWORD( *ShowErrors )
    ( HWND hParent, BOOL fModeless, const WindowSystemError* pErrors, ULONG ulCount,
      const WindowSystemErrorLabels* pLabels );
};

// Makes it the process's window system, in place of the one before.
//   pWindowSystem  stays the caller's and must stay valid until the process ends: other threads may be in it
//                  whenever it is replaced. Null: none, until Qt's is found again.
// Result: FALSE, with error 87, when dwSize is less than this library's or an operation is null. Threads:
// any.
DLL_EXPORT_MOD BOOL InstallWindowSystem( const WindowSystem* pWindowSystem );

// The process's window system; null when there is none, or it is not ready, and in the child of a fork for
// the windows that its parent had. It looks for Qt's when none is installed.
// Threads: any.
DLL_EXPORT_MOD const WindowSystem* GetWindowSystem();

#endif
