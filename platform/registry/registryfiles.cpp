// The registry's calls that write a key to a file of its own, or take one in. The file is an image like a store's; the
// key that was saved is its root.

#include "platform/errno_to_win32.h"
#include "platform/registry/regimagewriter.h"
#include "platform/registry/regkey.h"
#include "platform/registry/regname.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace
{
constexpr DWORD REG_FORCE = 0x00000008; // also when keys below are open, which are deleted then

// Either separator is good.
std::string PathOfFile( LPCSTR pFile )
{
    std::string strPath = pFile;
    std::replace( strPath.begin(), strPath.end(), '\\', '/' );
    return strPath;
}

// A file is read, and not mapped: it may be changed by others at any time.
LONG ReadImage( int nFile, RegImageUse& rImage )
{
    struct stat aStatus;
    if ( fstat( nFile, &aStatus ) != 0 || !S_ISREG( aStatus.st_mode ) )
        return ERROR_NOT_REGISTRY_FILE;
    RegImage* pImage = nullptr;
    LONG lError = RegImage::Read( nFile, static_cast<ULONGLONG>( aStatus.st_size ), pImage );
    rImage.Set( pImage );
    if ( lError == ERROR_SUCCESS )
        lError = pImage->CheckAll();
    return lError == ERROR_REGISTRY_CORRUPT ? ERROR_NOT_REGISTRY_FILE : lError;
}

// A file that a key was saved to; found good from end to end.
LONG OpenImage( LPCSTR pFile, RegImageUse& rImage )
{
    const int nFile = open( PathOfFile( pFile ).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK );
    if ( nFile < 0 )
        return static_cast<LONG>( ErrnoToWin32( errno ) );
    const LONG lError = ReadImage( nFile, rImage );
    close( nFile );
    return lError;
}

// A new file with a key as its root. What could not be written whole is removed.
LONG WriteImage( const std::string& strPath, RegTree& rTree, RegTreeKey& rKey )
{
    const std::string_view aName = std::exchange( rKey.aName, {} );
    RegImageWriter aWriter;
    LONG lError = aWriter.PlanKey( rTree, rKey );
    rKey.aName = aName;
    if ( lError != ERROR_SUCCESS )
        return lError;
    const int nFile = open( strPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600 );
    if ( nFile < 0 )
        return errno == EEXIST ? ERROR_ALREADY_EXISTS : static_cast<LONG>( ErrnoToWin32( errno ) );
    lError = aWriter.WriteTo( nFile );
    if ( lError == ERROR_SUCCESS && fdatasync( nFile ) != 0 )
        lError = static_cast<LONG>( ErrnoToWin32( errno ) );
    close( nFile );
    if ( lError != ERROR_SUCCESS )
        unlink( strPath.c_str() );
    return lError;
}

// Makes a key what the root of a file is.
void TakeIn( RegTree& rTree, RegTreeKey& rKey, const RegImage& rImage, DWORD dwFlags )
{
    RegKeyView aRoot;
    rImage.GetRoot( aRoot );
    rTree.Clear( rKey );
    rTree.Graft( rKey, aRoot, dwFlags );
}

// How many keys stand one below another, the first not counted.
size_t DepthOf( const RegKeyView& aKey ) noexcept
{
    size_t nDepth = 0;
    RegKeyView aChild;
    for ( size_t i = 0; i < aKey.GetHead().dwChildren && aKey.GetChild( i, aChild ) == ERROR_SUCCESS; ++i )
        nDepth = std::max( nDepth, 1 + DepthOf( aChild ) );
    return nDepth;
}

bool FitsBelow( const RegImage& rImage, size_t nLevels ) noexcept
{
    RegKeyView aRoot;
    return rImage.GetRoot( aRoot ) == ERROR_SUCCESS && DepthOf( aRoot ) + nLevels <= DEEPEST_KEY;
}

constexpr DWORD CONTENT_CHANGED = REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_LAST_SET |
                                  REG_NOTIFY_CHANGE_ATTRIBUTES | REG_NOTIFY_CHANGE_SECURITY;

LONG LoadKey( HKEY hKey, std::string_view aName, const RegImage& rImage )
{
    const RegKeyUse aUse( hKey, 0 );
    RegChange aChange;
    if ( const LONG lError = aChange.Begin( aUse ) )
        return lError;
    RegTree& rTree = aChange.GetTree();
    if ( rTree.FindChild( aChange.GetTreeKey(), aName ) != nullptr )
        return ERROR_ACCESS_DENIED;
    if ( !FitsBelow( rImage, aChange.GetPath().size() ) )
        return ERROR_INVALID_PARAMETER;
    TakeIn( rTree, rTree.AddChild( aChange.GetTreeKey(), aName, {}, KEY_IS_LOADED ), rImage, 0 );
    return aChange.Commit( REG_NOTIFY_CHANGE_NAME );
}

LONG UnloadKey( HKEY hKey, std::string_view aName )
{
    const RegKeyUse aUse( hKey, 0 );
    RegChange aChange;
    if ( const LONG lError = aChange.Begin( aUse ) )
        return lError;
    const RegTreeKey* const pLoaded = aChange.GetTree().FindChild( aChange.GetTreeKey(), aName );
    if ( pLoaded == nullptr )
        return ERROR_FILE_NOT_FOUND;
    if ( ( pLoaded->dwFlags & KEY_IS_LOADED ) == 0 )
        return ERROR_INVALID_PARAMETER;
    aChange.GetTree().RemoveChild( aChange.GetTreeKey(), *pLoaded );
    return aChange.Commit( REG_NOTIFY_CHANGE_NAME );
}

// Puts a file's content into the place of a key's.
//   pKeepIn  where the old content goes; null for nowhere.
LONG ReplaceContent( HKEY hKey, std::string_view aSubKey, const RegImage& rImage, LPCSTR pKeepIn,
                     DWORD dwFlags )
{
    const RegKeyUse aUse( hKey, 0 );
    RegChange aChange;
    if ( const LONG lError = aChange.Begin( aUse ) )
        return lError;
    RegTree& rTree = aChange.GetTree();
    if ( const LONG lError = rTree.GoDown( aChange.GetPath(), aSubKey ) )
        return lError;
    RegTreeKey& rKey = aChange.GetTreeKey();
    if ( !FitsBelow( rImage, aChange.GetPath().size() - 1 ) )
        return ERROR_INVALID_PARAMETER;
    // What is below a key that passes passes with it.
    const DWORD dwInherited = rKey.dwFlags & KEY_IS_VOLATILE;
    const std::string strKept = pKeepIn != nullptr ? PathOfFile( pKeepIn ) : "";
    if ( !strKept.empty() )
    {
        if ( const LONG lError = WriteImage( strKept, rTree, rKey ) )
            return lError;
    }
    TakeIn( rTree, rKey, rImage, dwFlags | dwInherited );
    const LONG lError = aChange.Commit( CONTENT_CHANGED );
    if ( lError != ERROR_SUCCESS && !strKept.empty() )
        unlink( strKept.c_str() );
    return lError;
}

// The key as it is, as a tree of its own.
LONG SaveKey( HKEY hKey, const std::string& strPath )
{
    RegImageUse aImage;
    RegTree aTree;
    {
        const RegKeyReader aReader( hKey, 0 );
        if ( aReader.GetError() != ERROR_SUCCESS )
            return aReader.GetError();
        aReader.GetImage()->AddReference();
        aImage.Set( aReader.GetImage() );
        if ( const LONG lError = aImage.Get()->CheckAll() )
            return lError;
        aTree.Graft( aTree.GetRoot(), aReader.GetView(), 0 );
    }
    return WriteImage( strPath, aTree, aTree.GetRoot() );
}
} // namespace

LONG RegSaveKeyA( HKEY hKey, LPCSTR pFile, LPSECURITY_ATTRIBUTES )
{
    return RunRegCall(
        [&]() -> LONG
        { return pFile == nullptr ? ERROR_INVALID_PARAMETER : SaveKey( hKey, PathOfFile( pFile ) ); } );
}

LONG RegLoadKeyA( HKEY hKey, LPCSTR pSubKey, LPCSTR pFile )
{
    return RunRegCall(
        [&]() -> LONG
        {
            const std::string_view aName = RegTextOf( pSubKey );
            if ( pFile == nullptr || aName.empty() || CountRegNames( aName ) != 1 )
                return ERROR_INVALID_PARAMETER;
            if ( const LONG lError = CheckRegPath( aName ) )
                return lError;
            RegImageUse aImage;
            const LONG lError = OpenImage( pFile, aImage );
            return lError != ERROR_SUCCESS
                       ? lError
                       : LoadKey( hKey, aName.substr( 0, aName.find( '\\' ) ), *aImage.Get() );
        } );
}

LONG RegUnLoadKeyA( HKEY hKey, LPCSTR pSubKey )
{
    return RunRegCall(
        [&]() -> LONG
        {
            const std::string_view aName = RegTextOf( pSubKey );
            if ( aName.empty() )
                return ERROR_INVALID_PARAMETER;
            const LONG lError = CheckRegPath( aName );
            return lError != ERROR_SUCCESS ? lError
                                           : UnloadKey( hKey, aName.substr( 0, aName.find( '\\' ) ) );
        } );
}

LONG RegReplaceKeyA( HKEY hKey, LPCSTR pSubKey, LPCSTR pNewFile, LPCSTR pOldFile )
{
    return RunRegCall(
        [&]() -> LONG
        {
            if ( pNewFile == nullptr || pOldFile == nullptr )
                return ERROR_INVALID_PARAMETER;
            const std::string_view aSubKey = RegTextOf( pSubKey );
            if ( const LONG lError = CheckRegPath( aSubKey ) )
                return lError;
            RegImageUse aImage;
            const LONG lError = OpenImage( pNewFile, aImage );
            return lError != ERROR_SUCCESS ? lError
                                           : ReplaceContent( hKey, aSubKey, *aImage.Get(), pOldFile, 0 );
        } );
}

LONG RegRestoreKeyA( HKEY hKey, LPCSTR pFile, DWORD dwFlags )
{
    return RunRegCall(
        [&]() -> LONG
        {
            if ( pFile == nullptr || ( dwFlags & ~( REG_WHOLE_HIVE_VOLATILE | REG_FORCE ) ) != 0 )
                return ERROR_INVALID_PARAMETER;
            RegImageUse aImage;
            if ( const LONG lError = OpenImage( pFile, aImage ) )
                return lError;
            const DWORD dwKeyFlags =
                ( dwFlags & REG_WHOLE_HIVE_VOLATILE ) != 0 ? DWORD{ KEY_IS_VOLATILE } : 0;
            return ReplaceContent( hKey, {}, *aImage.Get(), nullptr, dwKeyFlags );
        } );
}
