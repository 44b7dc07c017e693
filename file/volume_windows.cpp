#include "core/guards.h"
#include "file/volume.h"

#include <bxtools/platform.h>

#include <cctype>
#include <cstring>

namespace
{

bool IsSeparator( char cCharacter )
{
    return cCharacter == '\\' || cCharacter == '/';
}

// The number of characters up to and with the next separator; 0 when there is none.
size_t PieceLength( const char* pText )
{
    const size_t uPiece = std::strcspn( pText, "\\/" );
    return pText[uPiece] != '\0' ? uPiece + 1 : 0;
}

// "C:\" or "\\server\share\"; empty for a path that has neither.
MString RootOf( const MString& rPath )
{
    const char* pPath = rPath;
    size_t uRoot = 0;
    if ( std::isalpha( static_cast<unsigned char>( pPath[0] ) ) && pPath[1] == ':' &&
         IsSeparator( pPath[2] ) )
        uRoot = 3;
    else if ( IsSeparator( pPath[0] ) && IsSeparator( pPath[1] ) )
    {
        const size_t uServer = PieceLength( pPath + 2 );
        const size_t uShare = uServer != 0 ? PieceLength( pPath + 2 + uServer ) : 0;
        uRoot = uShare != 0 ? 2 + uServer + uShare : 0;
    }
    return MString( pPath, static_cast<int>( uRoot ) );
}

// The last piece becomes the name as the folder holds it.
void TakeStoredName( MString& rPath )
{
    WIN32_FIND_DATAA aFound;
    const HANDLE hSearch = FindFirstFileA( rPath, &aFound );
    if ( hSearch == INVALID_HANDLE_VALUE )
        return;
    FindClose( hSearch );
    const int nSeparator = rPath.ReverseFind( '\\' );
    rPath = rPath.Left( static_cast<ULONG>( nSeparator + 1 ) );
    rPath += aFound.cFileName;
}

bool LookAt( LPCTSTR pPath, BY_HANDLE_FILE_INFORMATION& rInformation )
{
    const HANDLE hFile = CreateFileA( pPath, 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, NULL,
                                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, NULL );
    if ( hFile == INVALID_HANDLE_VALUE )
        return false;
    const KernelHandle aFile( hFile );
    return GetFileInformationByHandle( hFile, &rInformation ) != FALSE;
}

} // namespace

void AdaptToVolume( MString& rPath )
{
    const MString aRoot = RootOf( rPath );
    DWORD dwFlags = 0;
    if ( aRoot.IsEmpty() || !GetVolumeInformationA( aRoot, NULL, 0, NULL, NULL, &dwFlags, NULL, 0 ) )
        return;
    if ( ( dwFlags & FILE_CASE_PRESERVED_NAMES ) == 0 )
        rPath.MakeUpper();
    if ( ( dwFlags & FILE_UNICODE_ON_DISK ) == 0 )
        TakeStoredName( rPath );
}

bool IsPathOf( LPCTSTR pPath, HANDLE hFile )
{
    BY_HANDLE_FILE_INFORMATION aOfPath;
    BY_HANDLE_FILE_INFORMATION aOfFile;
    return LookAt( pPath, aOfPath ) && GetFileInformationByHandle( hFile, &aOfFile ) &&
           aOfPath.dwVolumeSerialNumber == aOfFile.dwVolumeSerialNumber &&
           aOfPath.nFileIndexHigh == aOfFile.nFileIndexHigh && aOfPath.nFileIndexLow == aOfFile.nFileIndexLow;
}
