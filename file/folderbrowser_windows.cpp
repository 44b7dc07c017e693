// The shell's browser. The shell makes a desktop for each program that loads it, and most programs never show folders: it is
// loaded with the first question, and stays, since threads of its own may outlast a dialog.
#include "core/guards.h"
#include "file/folderbrowser.h"

#include <bxtools/path.h>
#include <bxtools/platform.h>

#include <cstring>
#include <shlobj.h>

namespace
{

struct LoadedShell
{
    const HMODULE hShell = LoadLibraryA( "SHELL32.DLL" );

    template <class Function>
    Function Get( LPCSTR pName ) const
    {
        return AsFunction<Function>( GetProcAddress( hShell, pName ) );
    }
};

// The shell's allocator, and what it gave.
class ShellMemory
{
public:
    explicit ShellMemory( const LoadedShell& rShell )
    {
        const auto pGetMalloc = rShell.Get<decltype( &SHGetMalloc )>( "SHGetMalloc" );
        if ( pGetMalloc == NULL || pGetMalloc( &m_pMalloc ) != NOERROR )
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
    const LoadedShell aShell;
    const auto pBrowseForFolder = aShell.Get<decltype( &SHBrowseForFolderA )>( "SHBrowseForFolderA" );
    const auto pGetPath = aShell.Get<decltype( &SHGetPathFromIDListA )>( "SHGetPathFromIDListA" );
    ShellMemory aMemory( aShell );
    if ( !aMemory || pBrowseForFolder == NULL || pGetPath == NULL )
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
    const LPITEMIDLIST pItems = pBrowseForFolder( &aRequest );
    if ( pItems == NULL )
        return FolderAnswer::Cancelled;
    aMemory.Own( pItems );
    if ( !pGetPath( pItems, szBuffer ) )
        return FolderAnswer::NoPath;
    aFolder.assign( szBuffer, std::strlen( szBuffer ) );
    return FolderAnswer::Chosen;
}
