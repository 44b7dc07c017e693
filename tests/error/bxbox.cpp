// The display library of the tests: notes what it is to show.
#include "bxboxcall.h"

extern "C" DLL_EXPORT_MOD BOOL DLL_EXPORT BX_DISPLAY_FUNCTION( HWND hWndParent, BOOL fModeless,
                                                               LPCTSTR szErrStream )
{
    DisplayCall& rCall = *reinterpret_cast<DisplayCall*>( hWndParent );
    rCall.fModeless = fModeless;
    rCall.strStream = szErrStream;
    return rCall.fResult;
}
