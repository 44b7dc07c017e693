// The shell's browser.
#include "file/folderbrowser.h"

#include <bxtools/path.h>

#include <cstring>
#include <shlobj.h>

namespace
{

// The shell's allocator, and what it gave.
class ShellMemory
{
public:
    ShellMemory()
    {
        if ( SHGetMalloc( &m_pMalloc ) != NOERROR )
            m_pMalloc = NULL;
    }
    ~ShellMemory()
    {
        if ( m_pMalloc == NULL )
            return;
        if ( m_pItems != NULL )
            m_pMalloc->Free( m_pItems );
        m_pMalloc->Release();
    }
    ShellMemory( const ShellMemory& ) = delete;
    ShellMemory& operator=( const ShellMemory& ) = delete;

    explicit operator bool() const { return m_pMalloc != NULL; }
    // Hands an item list over to be freed.
    void Own( LPITEMIDLIST pItems ) { m_pItems = pItems; }

private:
    LPMALLOC m_pMalloc = NULL;
    LPITEMIDLIST m_pItems = NULL;
};

int CALLBACK SelectInitialFolder( HWND hWnd, UINT uMessage, LPARAM, LPARAM lFolder )
{
    if ( uMessage == BFFM_INITIALIZED && lFolder != 0 )
        SendMessageA( hWnd, BFFM_SETSELECTIONA, TRUE, lFolder );
    return 0;
}

} // namespace

FolderAnswer AskSystemForFolder( const FolderQuestion& rQuestion, MString& aFolder )
{
    ShellMemory aMemory;
    if ( !aMemory )
        return FolderAnswer::NoBrowser;
    TCHAR szBuffer[_MAX_PATH] = {};
    if ( rQuestion.pInitialFolder != NULL )
        std::strncpy( szBuffer, rQuestion.pInitialFolder, _MAX_PATH - 1 );
    BROWSEINFOA aRequest = {};
    aRequest.hwndOwner = rQuestion.hWndParent;
    aRequest.pszDisplayName = szBuffer;
    aRequest.lpszTitle = rQuestion.pTitle;
    aRequest.ulFlags = BIF_RETURNONLYFSDIRS | BIF_RETURNFSANCESTORS;
    aRequest.lpfn = &SelectInitialFolder;
    aRequest.lParam = reinterpret_cast<LPARAM>( rQuestion.pInitialFolder );
    const LPITEMIDLIST pItems = SHBrowseForFolderA( &aRequest );
    if ( pItems == NULL )
        return FolderAnswer::Cancelled;
    aMemory.Own( pItems );
    if ( !SHGetPathFromIDListA( pItems, szBuffer ) )
        return FolderAnswer::NoPath;
    aFolder.assign( szBuffer, std::strlen( szBuffer ) );
    return FolderAnswer::Chosen;
}
