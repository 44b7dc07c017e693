// What stands in for windows while there is no display.

#include "platform/textoutput.h"

#include <bxtools/platform.h>

#include <iterator>

namespace
{
constexpr UINT BUTTONS_MASK = 0xF;

// By the box's buttons. Nobody is there to agree to anything, so the answer is the one that does least: never
// yes, and never a retry, which would come back for ever.
constexpr int g_aAnswers[] = { IDOK, IDCANCEL, IDABORT, IDCANCEL, IDNO, IDCANCEL };
} // namespace

int MessageBoxA( HWND, LPCSTR pText, LPCSTR pCaption, UINT uType )
{
    const UINT uButtons = uType & BUTTONS_MASK;
    if ( uButtons >= std::size( g_aAnswers ) )
    {
        SetLastError( ERROR_INVALID_PARAMETER );
        return 0;
    }
    // Windows titles a box without a caption so.
    WriteToStandardError(
        { pCaption != nullptr ? pCaption : "Error", "\n", pText != nullptr ? pText : "", "\n" } );
    return g_aAnswers[uButtons];
}
