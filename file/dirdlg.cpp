// The user chooses a folder.
#include "core/callreport.h"
#include "file/folderbrowser.h"

#include <bxtools/buffers.h>
#include <bxtools/path.h>

namespace
{

constexpr int CHOSEN = 1;
constexpr int CANCELLED = 2;
constexpr int FAILED = -1;

} // namespace

int DLL_EXPORT GetDirDlg( HWND hWndParent, LPCTSTR pTitle, LPTSTR pPath, USHORT uSize )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD int DLL_EXPORT GetDirDlg( HWND hWndParent, LPCTSTR pTitle, LPTSTR pPath, USHORT uSize )" );
    return aReport.Guard(
        FAILED, SEVERE_ERROR,
        [&]() -> int
        {
            MString aFolder;
            switch ( AskSystemForFolder( { hWndParent, pTitle, pPath }, aFolder ) )
            {
            case FolderAnswer::Cancelled: return CANCELLED;
            case FolderAnswer::NoBrowser:
                return aReport.Fail( " Error: SHGetMalloc( &pMalloc ) != NOERROR", FAILED );
            case FolderAnswer::NoPath:
                return aReport.Fail( " Error: !SHGetPathFromIDList( pidl, pszBuffer )", FAILED );
            case FolderAnswer::Chosen: break;
            }
            if ( !SafeCopy( pPath, aFolder, uSize ) )
                return aReport.Fail( " Error: !SafeCopy( pPath, pszBuffer, uSize )", FAILED );
            return CHOSEN;
        } );
}
