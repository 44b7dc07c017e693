// The display library: the one function that the tool library loads it for.
#include "ui/errorpages.h"
#include "ui/errortext.h"

#include <bxtools/debug.h>
#include <bxtools/error.h>
#include <bxtools/platform.h>

#include <exception>

namespace
{

// In the window system, if there is one that shows them from this thread.
bool ShowInWindow( HWND hWndParent, BOOL fModeless, const std::vector<WindowSystemError>& rErrors,
                   const WindowSystemErrorLabels& rLabels )
{
    const WindowSystem* const pWindowSystem = GetWindowSystem();
    return pWindowSystem != NULL &&
           pWindowSystem->ShowErrors( hWndParent, fModeless, rErrors.data(),
                                      static_cast<ULONG>( rErrors.size() ), &rLabels ) == ERROR_SUCCESS;
}

// Elsewhere a message box does what can be done: it prints.
void Show( HWND hWndParent, BOOL fModeless, const std::vector<WindowSystemError>& rErrors )
{
    const ErrorLabels aLabels;
    const WindowSystemErrorLabels aLabelTexts = aLabels.Get();
    if ( ShowInWindow( hWndParent, fModeless, rErrors, aLabelTexts ) )
        return;
    const std::string aText =
        ComposeErrors( rErrors.data(), static_cast<ULONG>( rErrors.size() ), aLabelTexts );
    MessageBoxA( hWndParent, aText.c_str(), aLabelTexts.pTitle, MB_OK | MB_ICONERROR );
}

} // namespace

// As ERRDISPFUNC in error.h has it. Nothing to show is shown at once.
extern "C" DLL_EXPORT_MOD BOOL DLL_EXPORT DisplayErrorFromStream( HWND hWndParent, BOOL fModeless,
                                                                  LPCTSTR szErrStream );

BOOL DLL_EXPORT DisplayErrorFromStream( HWND hWndParent, BOOL fModeless, LPCTSTR szErrStream )
{
    try
    {
        const ErrorPages aPages( szErrStream );
        if ( !aPages.GetErrors().empty() )
            Show( hWndParent, fModeless, aPages.GetErrors() );
        return TRUE;
    }
    catch ( const std::exception& )
    {
        DebugMessage(
            "BXBOX.DLL",
            "From BOOL DisplayErrorFromStream( HWND hWndParent, BOOL fModeless, LPCTSTR szErrStream )",
            "Severe error occurred executing this function" );
        return FALSE;
    }
}
