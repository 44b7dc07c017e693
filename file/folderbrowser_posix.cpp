// The window system's folders.
#include "file/folderbrowser.h"

#include <bxtools/platform.h>
#include <bxtools/window_system.h>

#include <climits>

FolderAnswer AskSystemForFolder( const FolderQuestion& rQuestion, MString& aFolder )
{
    const WindowSystem* const pWindowSystem = GetWindowSystem();
    if ( pWindowSystem == NULL )
        return FolderAnswer::NoBrowser;
    const auto OrEmpty = []( LPCTSTR pText ) { return pText != NULL ? pText : ""; };
    CHAR szFolder[PATH_MAX];
    const DWORD dwError =
        pWindowSystem->ChooseFolder( rQuestion.hWndParent, OrEmpty( rQuestion.pTitle ),
                                     OrEmpty( rQuestion.pInitialFolder ), szFolder, sizeof( szFolder ) );
    switch ( dwError )
    {
    case ERROR_SUCCESS: aFolder = szFolder; return FolderAnswer::Chosen;
    case ERROR_CANCELLED: return FolderAnswer::Cancelled;
    case ERROR_FILENAME_EXCED_RANGE: return FolderAnswer::NoPath;
    default: SetLastError( dwError ); return FolderAnswer::NoBrowser;
    }
}
