// Calls whose answer is a path.
#include "platform/file/filecallscope.h"
#include "platform/file/filepath.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

namespace
{
// The common protocol: the length when it fits, else the room needed with the zero.
DWORD GiveText( std::string_view aText, LPSTR pBuffer, DWORD dwSize ) noexcept
{
    if ( pBuffer == nullptr || aText.size() >= dwSize )
        return static_cast<DWORD>( aText.size() + 1 );
    *std::copy( aText.begin(), aText.end(), pBuffer ) = '\0';
    return static_cast<DWORD>( aText.size() );
}

// Appends the pieces of a path to one that begins and does not end with a separator, or is empty for the root.
void AppendPieces( std::string& rResult, std::string_view aPath )
{
    while ( !aPath.empty() )
    {
        const std::string_view aPiece = aPath.substr( 0, aPath.find( '/' ) );
        aPath.remove_prefix( std::min( aPiece.size() + 1, aPath.size() ) );
        if ( aPiece == ".." )
            rResult.resize( rResult.empty() ? 0 : rResult.rfind( '/' ) );
        else if ( !aPiece.empty() && aPiece != "." )
            rResult.append( 1, '/' ).append( aPiece );
    }
}

// Empty with the last error.
std::string MakeFullPath( const FilePath& rPath )
{
    std::array<char, PATH_MAX> aFolder;
    std::string aResult;
    if ( rPath.Text()[0] != '/' )
    {
        if ( getcwd( aFolder.data(), aFolder.size() ) == nullptr )
        {
            SetLastErrorFromErrno();
            return aResult;
        }
        AppendPieces( aResult, aFolder.data() );
    }
    AppendPieces( aResult, rPath.View() );
    if ( aResult.empty() || rPath.EndsInSeparator() )
        aResult += '/';
    return aResult;
}
} // namespace

DWORD GetFullPathNameA( LPCSTR pFileName, DWORD dwSize, LPSTR pBuffer, LPSTR* pFilePart )
try
{
    const FileCallScope aScope;
    if ( pFilePart != nullptr )
        *pFilePart = nullptr;
    FilePath aPath;
    if ( !aPath.Set( pFileName ) )
    {
        if ( GetLastError() == ERROR_PATH_NOT_FOUND )
            SetLastError( ERROR_INVALID_NAME );
        return 0;
    }
    const std::string aFull = MakeFullPath( aPath );
    if ( aFull.empty() )
        return 0;
    const DWORD dwLength = GiveText( aFull, pBuffer, dwSize );
    if ( dwLength == aFull.size() && pFilePart != nullptr && aFull.back() != '/' )
        *pFilePart = strrchr( pBuffer, '/' ) + 1;
    return dwLength;
}
catch ( const std::bad_alloc& )
{
    SetLastError( ERROR_NOT_ENOUGH_MEMORY );
    return 0;
}

DWORD GetShortPathNameA( LPCSTR pLongPath, LPSTR pShortPath, DWORD dwSize )
{
    const FileCallScope aScope;
    FilePath aPath;
    if ( !aPath.Set( pLongPath ) )
        return 0;
    struct stat aStatus;
    if ( lstat( aPath.Text(), &aStatus ) != 0 )
        return FailForPath( aPath );
    return GiveText( aPath.View(), pShortPath, dwSize );
}

DWORD GetTempPathA( DWORD dwSize, LPSTR pBuffer )
{
    const char* const pFolder = secure_getenv( "TMPDIR" );
    // Room for the separator.
    const bool fGood = pFolder != nullptr && pFolder[0] == '/' && strlen( pFolder ) < PATH_MAX - 1;
    char aText[PATH_MAX];
    strcpy( aText, fGood ? pFolder : "/tmp" );
    if ( !std::string_view( aText ).ends_with( '/' ) )
        strcat( aText, "/" );
    return GiveText( aText, pBuffer, dwSize );
}

UINT GetWindowsDirectoryA( LPSTR pBuffer, UINT uSize )
{
    return GiveText( BXTOOLS_WINDOWS_DIR, pBuffer, uSize );
}

UINT GetSystemDirectoryA( LPSTR pBuffer, UINT uSize )
{
    return GiveText( BXTOOLS_SYSTEM_DIR, pBuffer, uSize );
}
