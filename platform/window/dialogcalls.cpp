// Dialogs over the window system's operations, and what stands in for them while there is none.

#include "platform/textoutput.h"
#include "platform/window/windowsystem.h"

#include <iterator>

namespace
{
constexpr UINT BUTTONS_MASK = 0xF;

// By the box's buttons. Nobody is there to agree to anything, so the answer is the one that does least: never
// yes, and never a retry, which would come back for ever.
constexpr int g_aAnswers[] = { IDOK, IDCANCEL, IDABORT, IDCANCEL, IDNO, IDCANCEL };
} // namespace

int MessageBoxA( HWND hWnd, LPCSTR pText, LPCSTR pCaption, UINT uType )
{
    const UINT uButtons = uType & BUTTONS_MASK;
    if ( uButtons >= std::size( g_aAnswers ) )
        return IsDone( ERROR_INVALID_PARAMETER );
    // Windows titles a box without a caption so.
    const LPCSTR pShownCaption = pCaption != nullptr ? pCaption : "Error";
    const LPCSTR pShownText = pText != nullptr ? pText : "";
    int nAnswer = 0;
    if ( CallWindowSystem( &WindowSystem::ShowMessage, hWnd, pShownText, pShownCaption, uType, &nAnswer ) ==
         ERROR_SUCCESS )
        return nAnswer;
    WriteToStandardError( { pShownCaption, "\n", pShownText, "\n" } );
    return g_aAnswers[uButtons];
}

BOOL ChooseFontA( LPCHOOSEFONTA pChoice )
{
    if ( pChoice == nullptr || pChoice->lStructSize < sizeof( *pChoice ) || pChoice->lpLogFont == nullptr )
        return IsDone( ERROR_INVALID_PARAMETER );
    const DWORD dwError = CallWindowSystem( &WindowSystem::ChooseFont, pChoice );
    return dwError != ERROR_CANCELLED && IsDone( dwError );
}
