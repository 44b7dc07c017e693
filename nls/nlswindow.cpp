// Trees of windows in the user's language.
#include "core/callreport.h"
#include "nls/nlswalk.h"

#include <bxtools/platform.h>

namespace
{

void TranslateWindow( const NlsWalk& rWalk, HWND hWnd )
{
    const LPTSTR pBuf = rWalk.GetBuffer();
    *pBuf = '\0';
    GetWindowTextA( hWnd, pBuf, GlobalBufLen );
    const MString aText = rWalk.Translate();
    rWalk.LookUpFont();
    if ( !aText.IsEmpty() )
        SetWindowTextA( hWnd, aText );
}

// The window that follows in the same parent.
HWND FindSibling( HWND hWnd )
{
    const HWND hNext = GetWindow( hWnd, GW_HWNDNEXT );
    if ( hNext == NULL )
        return NULL;
    const HWND hParent = GetParent( GetWindow( hWnd, GW_HWNDFIRST ) );
    return hParent != NULL && GetParent( hNext ) == hParent ? hNext : NULL;
}

// Each level with its own levels first. Any of the windows may be gone when its turn comes: the system knows
// its handle no more then, and finds nothing beside or below it.
void WalkLevel( const NlsWalk& rWalk, HWND hFirst )
{
    for ( HWND hWnd = hFirst; hWnd != NULL; hWnd = FindSibling( hWnd ) )
    {
        TranslateWindow( rWalk, hWnd );
        WalkLevel( rWalk, GetWindow( hWnd, GW_CHILD ) );
    }
}

} // namespace

void DLL_EXPORT NlsInitWndObject( HWND hWnd, LPCTSTR lpszSec, LPCTSTR lpszSecCom, int nMode )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD void DLL_EXPORT NlsInitWndObject( HWND hWnd, LPCTSTR lpszSec, LPCTSTR lpszSecCom, int nMode )" );
    const LastErrorGuard aLastError;
    aReport.Guard(
        [&]() -> BOOL
        {
            if ( hWnd == NULL )
                return aReport.Fail( " Error: hWnd == NULL" );
            NlsWalk aWalk( lpszSec, lpszSecCom, nMode );
            if ( !aWalk.Begin( aReport ) )
                return FALSE;
            if ( !IsWindow( hWnd ) )
                return FailNlsWalk( aReport, " Error: !IsWindow( hWnd )" );
            WalkLevel( aWalk, hWnd );
            return TRUE;
        } );
}
