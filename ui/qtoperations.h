// The operations of the Qt window system; window_system.h says what each does. All but the last and
// IsReadyForWindows are for the thread of QApplication, and answer ERROR_INVALID_THREAD_ID in others.
#pragma once

#include "ui/qthandles.h"

#include <bxtools/window_system.h>

#include <QString>
#include <exception>
#include <new>

BOOL IsReadyForWindows();
DWORD RunQtEvents( const int* pDescriptors, UINT uCount, DWORD dwMilliseconds );
bool IsWindowThread();

// ---- windows ----------------------------------------------------------------------------------------------
DWORD CheckQtWindow( HWND hWindow );
DWORD FindRelatedQtWindow( HWND hWindow, UINT uRelation, HWND* phRelated );
DWORD FindParentQtWindow( HWND hWindow, HWND* phParent );
DWORD ReadQtText( HWND hWindow, LPSTR pText, int nSize );
DWORD ChangeQtText( HWND hWindow, LPCSTR pText );
DWORD ReadQtFont( HWND hWindow, LOGFONTA* pFont );
DWORD ChangeQtFont( HWND hWindow, const LOGFONTA* pFont, BOOL fRedraw );
DWORD ChangeQtTextColor( HWND hWindow, COLORREF aColor, COLORREF* pBefore );

// ---- menus ------------------------------------------------------------------------------------------------
DWORD CountQtItems( HMENU hMenu, int* pnItems );
DWORD ReadQtItem( HMENU hMenu, UINT uItem, WindowSystemMenuItem* pItem );
DWORD ReadQtItemText( HMENU hMenu, UINT uItem, LPSTR pText, int nSize );
DWORD ChangeQtItemText( HMENU hMenu, UINT uItem, LPCSTR pText );

// ---- dialogs ----------------------------------------------------------------------------------------------
DWORD ShowQtMessage( HWND hParent, LPCSTR pText, LPCSTR pCaption, UINT uType, int* pnAnswer );
DWORD ChooseQtFolder( HWND hParent, LPCSTR pTitle, LPCSTR pInitialFolder, LPSTR pPath, UINT uSize );
DWORD ChooseQtFont( CHOOSEFONTA* pChoice );
DWORD ShowQtErrors( HWND hParent, BOOL fModeless, const WindowSystemError* pErrors, ULONG ulCount,
                    const WindowSystemErrorLabels* pLabels );

// ---- what they have in common -----------------------------------------------------------------------------

// Runs an operation; its result is that of aBody.
template <class Body>
DWORD Guarded( Body&& aBody )
{
    try
    {
        return aBody();
    }
    catch ( const std::bad_alloc& )
    {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
    catch ( const std::exception& )
    {
        return ERROR_GEN_FAILURE;
    }
}

// The same in the windows' thread only.
template <class Body>
DWORD InWindowThread( Body&& aBody )
{
    return IsWindowThread() ? Guarded( aBody ) : ERROR_INVALID_THREAD_ID;
}

// The same for a window that there must be: aBody takes its QtPlace.
template <class Body>
DWORD ForWindow( HWND hWindow, Body&& aBody )
{
    return InWindowThread(
        [&]() -> DWORD
        {
            const QtPlace aPlace = QtHandles::Get().Find( reinterpret_cast<uintptr_t>( hWindow ) );
            return aPlace ? aBody( aPlace ) : ERROR_INVALID_WINDOW_HANDLE;
        } );
}

// Copies a text, terminated; what does not fit is left out, never a part of a character. False when it was
// cut.
bool CopyText( const QByteArray& rText, LPSTR pBuffer, size_t uSize );

// A font's description, and the font that rBase becomes by one.
LOGFONTA DescribeFont( const QFont& rFont );
QFont MakeFont( const QFont& rBase, const LOGFONTA& rDescription );
QColor MakeColor( COLORREF aColor );
COLORREF DescribeColor( const QColor& rColor );
