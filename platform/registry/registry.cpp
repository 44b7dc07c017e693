// The registry's keys: making, opening, closing, deleting and listing them.

#include "platform/registry/regbatch.h"
#include "platform/registry/regkey.h"
#include "platform/registry/regname.h"
#include "platform/registry/regsecurity.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <strings.h>
#include <unistd.h>

namespace
{
// A copy of a text with its final zero, in the way of the calls that say what they need.
//   pdwSize  in: room with the zero; out: characters without it.
LONG GiveText( std::string_view aText, LPSTR pBuffer, LPDWORD pdwSize ) noexcept
{
    if ( pBuffer == nullptr && pdwSize == nullptr )
        return ERROR_SUCCESS;
    if ( pdwSize == nullptr )
        return ERROR_INVALID_PARAMETER;
    const bool fFits = pBuffer == nullptr || *pdwSize > aText.size();
    if ( pBuffer != nullptr && fFits )
    {
        std::memcpy( pBuffer, aText.data(), aText.size() );
        pBuffer[aText.size()] = '\0';
    }
    *pdwSize = static_cast<DWORD>( aText.size() );
    return fFits ? ERROR_SUCCESS : ERROR_MORE_DATA;
}

void Give( LPDWORD pdwOut, DWORD dwValue ) noexcept
{
    if ( pdwOut != nullptr )
        *pdwOut = dwValue;
}

void GiveTime( PFILETIME pOut, ULONGLONG ullTime ) noexcept
{
    if ( pOut != nullptr )
        *pOut = { static_cast<DWORD>( ullTime ), static_cast<DWORD>( ullTime >> 32 ) };
}

// Opens a key that is there, in the tree of the thread's batch, whose image would be made anew after each change. Error 2
// when it is not.
LONG OpenInBatch( HKEY hKey, std::string_view aSubKey, REGSAM dwAccess, PHKEY pResult )
{
    const RegKeyUse aUse( hKey, 0 );
    RegChange aChange;
    if ( const LONG lError = aChange.Begin( aUse ) )
        return lError;
    RegistryKey& rParent = aUse.GetKey();
    if ( const LONG lError = aChange.GetTree().GoDown( aChange.GetPath(), aSubKey ) )
        return lError;
    const ULONGLONG ullId = aSubKey.empty() ? rParent.GetId() : aChange.GetTreeKey().ullId;
    return MakeKeyHandle( new RegistryKey( rParent.GetStore(), rParent.PathOf( aSubKey ), ullId ), dwAccess,
                          pResult );
}

// The same, wherever the key is.
LONG OpenThere( HKEY hKey, std::string_view aSubKey, REGSAM dwAccess, PHKEY pResult )
{
    if ( RegistryBatch::IsAbout( hKey ) )
        return OpenInBatch( hKey, aSubKey, dwAccess, pResult );
    RegistryKey* pFound = nullptr;
    {
        const RegKeyReader aReader( hKey, 0 );
        if ( aReader.GetError() != ERROR_SUCCESS )
            return aReader.GetError();
        RegKeyView aView;
        if ( const LONG lError = aReader.GetView().FindPath( aSubKey, aView ) )
            return lError;
        const RegistryKey& rParent = aReader.GetKey();
        const ULONGLONG ullId = aSubKey.empty() ? rParent.GetId() : aView.GetHead().ullId;
        pFound = new RegistryKey( rParent.GetStore(), rParent.PathOf( aSubKey ), ullId );
        if ( aReader.GetGeneration() != 0 )
            pFound->Remember( aReader.GetImage(), aView, aReader.GetGeneration() );
    }
    return MakeKeyHandle( pFound, dwAccess, pResult );
}

struct NewKey
{
    std::string_view aClassName;
    std::string_view aSecurity;
    DWORD dwFlags;
};

// Makes what is missing of a path below the last key of rPath, which grows with it.
LONG MakeMissing( RegTree& rTree, RegTreePath& rPath, std::string_view aSubKey, const NewKey& aNew,
                  bool& rfMade )
{
    std::string_view aName;
    while ( TakeRegName( aSubKey, aName ) )
    {
        RegTreeKey* pKey = rTree.FindChild( *rPath.back(), aName );
        if ( pKey == nullptr )
        {
            if ( ( rPath.back()->dwFlags & KEY_IS_VOLATILE ) != 0 && ( aNew.dwFlags & KEY_IS_VOLATILE ) == 0 )
                return ERROR_CHILD_MUST_BE_VOLATILE;
            if ( rPath.size() > DEEPEST_KEY )
                return ERROR_INVALID_PARAMETER;
            // Only the last one is what the caller describes.
            const bool fLast = aSubKey.empty();
            pKey = &rTree.AddChild( *rPath.back(), aName, fLast ? aNew.aClassName : std::string_view(),
                                    aNew.dwFlags );
            if ( fLast )
                pKey->aSecurity = rTree.GetArena().Keep( aNew.aSecurity );
            rTree.NoteChange( rPath, REG_NOTIFY_CHANGE_NAME );
            rfMade = true;
        }
        rPath.push_back( pKey );
    }
    return ERROR_SUCCESS;
}

LONG MakeKey( HKEY hKey, std::string_view aSubKey, const NewKey& aNew, REGSAM dwAccess, PHKEY pResult,
              DWORD& rdwDisposition )
{
    const RegKeyUse aUse( hKey, 0 );
    if ( aUse.GetError() != ERROR_SUCCESS )
        return aUse.GetError();
    RegistryKey& rParent = aUse.GetKey();
    // A child that would not find its place is refused before its parents are made.
    if ( CountRegNames( rParent.GetPath() ) + CountRegNames( aSubKey ) > DEEPEST_KEY )
        return ERROR_INVALID_PARAMETER;
    RegistryKey* pKey = nullptr;
    {
        RegChange aChange;
        if ( const LONG lError = aChange.Begin( aUse ) )
            return lError;
        bool fMade = false;
        if ( const LONG lError = MakeMissing( aChange.GetTree(), aChange.GetPath(), aSubKey, aNew, fMade ) )
            return lError;
        const ULONGLONG ullId = aSubKey.empty() ? rParent.GetId() : aChange.GetTreeKey().ullId;
        pKey = new RegistryKey( rParent.GetStore(), rParent.PathOf( aSubKey ), ullId );
        const LONG lError = fMade ? aChange.Commit( 0 ) : ERROR_SUCCESS;
        if ( lError != ERROR_SUCCESS )
        {
            pKey->Release();
            return lError;
        }
        rdwDisposition = fMade ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
    }
    return MakeKeyHandle( pKey, dwAccess, pResult );
}

LONG EnumKey( HKEY hKey, DWORD dwIndex, LPSTR pName, LPDWORD pdwName, LPSTR pClass, LPDWORD pdwClass,
              PFILETIME pTime )
{
    const RegKeyReader aReader( hKey, KEY_ENUMERATE_SUB_KEYS );
    if ( aReader.GetError() != ERROR_SUCCESS )
        return aReader.GetError();
    if ( dwIndex >= aReader.GetHead().dwChildren )
        return ERROR_NO_MORE_ITEMS;
    RegKeyView aChild;
    if ( const LONG lError = aReader.GetView().GetChild( dwIndex, aChild ) )
        return lError;
    if ( *pdwName <= aChild.GetName().size() ||
         ( pClass != nullptr && *pdwClass <= aChild.GetClassName().size() ) )
        return ERROR_MORE_DATA;
    GiveText( aChild.GetName(), pName, pdwName );
    GiveText( aChild.GetClassName(), pClass, pdwClass );
    GiveTime( pTime, aChild.GetHead().ullLastWrite );
    return ERROR_SUCCESS;
}

bool IsOwnComputer( std::string_view aName ) noexcept
{
    if ( aName.starts_with( "\\\\" ) )
        aName.remove_prefix( 2 );
    char aOwn[256] = {};
    DWORD dwSize = sizeof( aOwn );
    return aName.empty() || ( GetComputerNameA( aOwn, &dwSize ) && aName.size() == std::strlen( aOwn ) &&
                              strncasecmp( aName.data(), aOwn, aName.size() ) == 0 );
}

LONG DeleteKey( HKEY hKey, std::string_view aSubKey )
{
    const RegKeyUse aUse( hKey, 0 );
    if ( aUse.GetError() != ERROR_SUCCESS )
        return aUse.GetError();
    // Nothing is written, and nobody waited for, when there is nothing to delete.
    if ( !RegistryBatch::IsAbout( hKey ) )
    {
        const RegKeyReader aReader( hKey, 0 );
        RegKeyView aView;
        if ( aReader.GetError() != ERROR_SUCCESS )
            return aReader.GetError();
        if ( const LONG lError = aReader.GetView().FindPath( aSubKey, aView ) )
            return lError;
    }
    RegChange aChange;
    if ( const LONG lError = aChange.Begin( aUse ) )
        return lError;
    RegTree& rTree = aChange.GetTree();
    RegTreePath& rPath = aChange.GetPath();
    if ( const LONG lError = rTree.GoDown( rPath, aSubKey ) )
        return lError;
    RegTreeKey* const pGone = rPath.back();
    if ( rPath.size() == 1 || pGone->HasChildren() )
        return ERROR_ACCESS_DENIED;
    rPath.pop_back();
    rTree.RemoveChild( *rPath.back(), *pGone );
    return aChange.Commit( REG_NOTIFY_CHANGE_NAME );
}

// What was renamed is on the disk when the folder is.
LONG FlushFolder( const RegStorePaths& rPaths ) noexcept
{
    const int nFolder = open( rPaths.strFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC );
    if ( nFolder < 0 )
        return errno == ENOENT || errno == ENOTDIR ? ERROR_SUCCESS : ERROR_REGISTRY_IO_FAILED;
    const bool fDone = fsync( nFolder ) == 0;
    close( nFolder );
    return fDone ? ERROR_SUCCESS : ERROR_REGISTRY_IO_FAILED;
}
} // namespace

LONG RegConnectRegistryA( LPCSTR pComputer, HKEY hRoot, PHKEY pResult )
{
    return RunRegCall(
        [&]() -> LONG
        {
            if ( pResult == nullptr )
                return ERROR_INVALID_PARAMETER;
            if ( !IsOwnComputer( RegTextOf( pComputer ) ) )
                return ERROR_BAD_NETPATH;
            if ( FindRegRoot( hRoot ) == nullptr )
                return ERROR_INVALID_HANDLE;
            return OpenThere( hRoot, {}, KEY_ALL_ACCESS, pResult );
        } );
}

LONG RegCreateKeyExA( HKEY hKey, LPCSTR pSubKey, DWORD dwReserved, LPSTR pClass, DWORD dwOptions,
                      REGSAM dwAccess, LPSECURITY_ATTRIBUTES pSecurity, PHKEY pResult, LPDWORD pDisposition )
{
    return RunRegCall(
        [&]() -> LONG
        {
            if ( dwReserved != 0 || pResult == nullptr || pSubKey == nullptr )
                return ERROR_INVALID_PARAMETER;
            const std::string_view aSubKey = RegTextOf( pSubKey );
            if ( const LONG lError = CheckRegPath( aSubKey ) )
                return lError;
            NewKey aNew{ RegTextOf( pClass ),
                         {},
                         ( dwOptions & REG_OPTION_VOLATILE ) != 0 ? DWORD{ KEY_IS_VOLATILE } : 0 };
            if ( pSecurity != nullptr && pSecurity->lpSecurityDescriptor != nullptr )
            {
                if ( const LONG lError = MeasureSecurity( pSecurity->lpSecurityDescriptor, aNew.aSecurity ) )
                    return lError;
            }
            DWORD dwDisposition = REG_OPENED_EXISTING_KEY;
            LONG lResult = OpenThere( hKey, aSubKey, dwAccess, pResult );
            if ( lResult == ERROR_FILE_NOT_FOUND )
                lResult = MakeKey( hKey, aSubKey, aNew, dwAccess, pResult, dwDisposition );
            if ( lResult == ERROR_SUCCESS )
                Give( pDisposition, dwDisposition );
            return lResult;
        } );
}

LONG RegOpenKeyExA( HKEY hKey, LPCSTR pSubKey, DWORD, REGSAM dwAccess, PHKEY pResult )
{
    return RunRegCall(
        [&]() -> LONG
        {
            if ( pResult == nullptr )
                return ERROR_INVALID_PARAMETER;
            const std::string_view aSubKey = RegTextOf( pSubKey );
            if ( const LONG lError = CheckRegPath( aSubKey ) )
                return lError;
            return OpenThere( hKey, aSubKey, dwAccess, pResult );
        } );
}

LONG RegCloseKey( HKEY hKey )
{
    return RunRegCall(
        [&]() -> LONG
        {
            if ( FindRegRoot( hKey ) != nullptr )
                return ERROR_SUCCESS;
            return CloseHandleOfKind( reinterpret_cast<HANDLE>( hKey ), KIND_REGISTRY_KEY )
                       ? ERROR_SUCCESS
                       : ERROR_INVALID_HANDLE;
        } );
}

LONG RegDeleteKeyA( HKEY hKey, LPCSTR pSubKey )
{
    return RunRegCall(
        [&]() -> LONG
        {
            if ( pSubKey == nullptr )
                return ERROR_INVALID_PARAMETER;
            const std::string_view aSubKey = RegTextOf( pSubKey );
            const LONG lError = CheckRegPath( aSubKey );
            return lError != ERROR_SUCCESS ? lError : DeleteKey( hKey, aSubKey );
        } );
}

LONG RegEnumKeyA( HKEY hKey, DWORD dwIndex, LPSTR pName, DWORD dwName )
{
    return RegEnumKeyExA( hKey, dwIndex, pName, &dwName, nullptr, nullptr, nullptr, nullptr );
}

LONG RegEnumKeyExA( HKEY hKey, DWORD dwIndex, LPSTR pName, LPDWORD pdwName, LPDWORD pdwReserved, LPSTR pClass,
                    LPDWORD pdwClass, PFILETIME pLastWriteTime )
{
    return RunRegCall(
        [&]() -> LONG
        {
            if ( pName == nullptr || pdwName == nullptr || pdwReserved != nullptr ||
                 ( pClass != nullptr && pdwClass == nullptr ) )
                return ERROR_INVALID_PARAMETER;
            return EnumKey( hKey, dwIndex, pName, pdwName, pClass, pdwClass, pLastWriteTime );
        } );
}

LONG RegFlushKey( HKEY hKey )
{
    return RunRegCall(
        [&]() -> LONG
        {
            const RegKeyUse aUse( hKey, 0 );
            if ( aUse.GetError() != ERROR_SUCCESS )
                return aUse.GetError();
            const RegStorePaths* const pPaths = aUse.GetKey().GetStore().GetPaths();
            return pPaths != nullptr ? FlushFolder( *pPaths ) : ERROR_SUCCESS;
        } );
}

LONG RegQueryInfoKeyA( HKEY hKey, LPSTR pClass, LPDWORD pdwClass, LPDWORD pdwReserved, LPDWORD pdwSubKeys,
                       LPDWORD pdwLongestSubKey, LPDWORD pdwLongestClass, LPDWORD pdwValues,
                       LPDWORD pdwLongestValueName, LPDWORD pdwLongestValue, LPDWORD pdwSecurityDescriptor,
                       PFILETIME pLastWriteTime )
{
    return RunRegCall(
        [&]() -> LONG
        {
            if ( pdwReserved != nullptr || ( pClass != nullptr && pdwClass == nullptr ) )
                return ERROR_INVALID_PARAMETER;
            const RegKeyReader aReader( hKey, KEY_QUERY_VALUE );
            if ( aReader.GetError() != ERROR_SUCCESS )
                return aReader.GetError();
            const RegKeyHead& rHead = aReader.GetHead();
            const LONG lResult = GiveText( aReader.GetView().GetClassName(), pClass, pdwClass );
            if ( lResult != ERROR_SUCCESS )
                return lResult;
            Give( pdwSubKeys, rHead.dwChildren );
            Give( pdwLongestSubKey, rHead.dwLongestChild );
            Give( pdwLongestClass, rHead.dwLongestChildClass );
            Give( pdwValues, rHead.dwValues );
            Give( pdwLongestValueName, rHead.dwLongestValueName );
            Give( pdwLongestValue, rHead.dwLongestValue );
            Give( pdwSecurityDescriptor, static_cast<DWORD>( SecurityOf( aReader.GetView() ).size() ) );
            GiveTime( pLastWriteTime, rHead.ullLastWrite );
            return ERROR_SUCCESS;
        } );
}
