// The keys: opened, made, gone through, watched and deleted.
#include "config/registrycall.h"

#include <bxtools/platform.h>
#include <bxtools/registry.h>

#include <memory>
#include <new>
#include <string_view>
#include <utility>

namespace
{

// Room for the name of a key or value, and for a class, zero included. The system is told of one less, but for the name
// of a value; kept so.
constexpr DWORD NAME_BUFFER = 2048;
// Room for a key's name in the recursive deletion; the system's longest has 255 characters.
constexpr DWORD SUBKEY_BUFFER = 260;

// A key open for a scope.
class OpenKey
{
public:
    OpenKey( HKEY hParent, LPCTSTR pName, REGSAM dwAccess )
        : m_lStatus( RegOpenKeyExA( hParent, pName, 0, dwAccess, &m_hKey ) )
    {
    }
    ~OpenKey()
    {
        if ( m_lStatus == ERROR_SUCCESS )
            RegCloseKey( m_hKey );
    }
    OpenKey( const OpenKey& ) = delete;
    OpenKey& operator=( const OpenKey& ) = delete;

    LONG Status() const { return m_lStatus; }
    HKEY Get() const { return m_hKey; }

private:
    HKEY m_hKey = NULL;
    LONG m_lStatus;
};

LONG DeleteTree( HKEY hParent, LPCTSTR pName );

// Result: 0, or why the subkeys could not be gone through. One that resists ends the walk, which would meet it again and
// again; its parent's deletion then says that there are subkeys. One that another process has deleted meanwhile does
// not, unless its name comes once more: then it is there, and cannot be opened by that name.
LONG DeleteSubkeys( HKEY hParent, LPCTSTR pName )
{
    const OpenKey aKey( hParent, pName, KEY_ALL_ACCESS );
    if ( aKey.Status() != ERROR_SUCCESS )
        return aKey.Status();
    const std::unique_ptr<TCHAR[]> pSubkey( new ( std::nothrow ) TCHAR[SUBKEY_BUFFER] );
    if ( !pSubkey )
        return ERROR_NOT_ENOUGH_MEMORY;
    TCHAR szGone[SUBKEY_BUFFER] = {};
    while ( RegEnumKeyA( aKey.Get(), 0, pSubkey.get(), SUBKEY_BUFFER ) == ERROR_SUCCESS &&
            std::strcmp( pSubkey.get(), szGone ) != 0 )
    {
        const LONG lStatus = DeleteTree( aKey.Get(), pSubkey.get() );
        if ( lStatus == ERROR_FILE_NOT_FOUND || lStatus == ERROR_KEY_DELETED )
            std::strcpy( szGone, pSubkey.get() );
        else if ( lStatus != ERROR_SUCCESS )
            break;
    }
    return ERROR_SUCCESS;
}

LONG DeleteTree( HKEY hParent, LPCTSTR pName )
{
    const LONG lStatus = DeleteSubkeys( hParent, pName );
    return lStatus != ERROR_SUCCESS ? lStatus : RegDeleteKeyA( hParent, pName );
}

} // namespace

void CRegistry::CloseKey()
{
    if ( m_hKey != NULL )
        RegCloseKey( m_hKey );
    m_hKey = NULL;
}

BOOL CRegistry::Create( LPCTSTR pSubKey, LPCTSTR pClassName, CreateOptions aOptions,
                        CreatePermissions aPermissions, SECURITY_ATTRIBUTES* pSecurity,
                        CreationDisposition* pDisposition )
{
    if ( pSubKey == NULL )
        return Finish( ERROR_INVALID_PARAMETER );
    return Guarded(
        m_lErrorCode,
        [&]() -> BOOL
        {
            MString aKeyName = CopyOf( pSubKey );
            CloseKey();
            DWORD dwDisposition = dispositionNone;
            if ( !Finish( RegCreateKeyExA( m_hRegistryKey, pSubKey, 0,
                                           const_cast<LPSTR>( pClassName != NULL ? pClassName : "" ),
                                           aOptions, aPermissions, pSecurity, &m_hKey, &dwDisposition ) ) )
                return FALSE;
            if ( pDisposition != NULL )
                *pDisposition = static_cast<CreationDisposition>( dwDisposition );
            m_aKeyName = std::move( aKeyName );
            return TRUE;
        } );
}

BOOL CRegistry::Open( LPCTSTR pSubKey, CreatePermissions aPermissions )
{
    if ( pSubKey == NULL )
        return Finish( ERROR_INVALID_PARAMETER );
    return Guarded( m_lErrorCode,
                    [&]() -> BOOL
                    {
                        MString aKeyName = CopyOf( pSubKey );
                        CloseKey();
                        if ( !Finish( RegOpenKeyExA( m_hRegistryKey, pSubKey, 0, aPermissions, &m_hKey ) ) )
                            return FALSE;
                        QueryInfo();
                        m_aKeyName = std::move( aKeyName );
                        return TRUE;
                    } );
}

BOOL CRegistry::DeleteKey( LPCTSTR pPath )
{
    if ( pPath == NULL || *pPath == 0 || std::string_view( pPath ).ends_with( '\\' ) )
        return Finish( ERROR_INVALID_PARAMETER );
    return Guarded( m_lErrorCode,
                    [&]() -> BOOL
                    {
                        const char* pLastSeparator = std::strrchr( pPath, '\\' );
                        if ( pLastSeparator == NULL )
                            return Finish( DeleteTree( m_hKey, pPath ) );
                        MString aParent;
                        aParent.assign( pPath, static_cast<size_t>( pLastSeparator - pPath ) );
                        // A copy: the path may be the key name itself, which opening replaces.
                        const MString aChild = CopyOf( pLastSeparator + 1 );
                        MString aSavedName( m_aKeyName );
                        if ( !Open( aParent, permissionAllAccess ) )
                        {
                            m_aKeyName = std::move( aSavedName );
                            return FALSE;
                        }
                        return Finish( DeleteTree( m_hKey, aChild ) );
                    } );
}

BOOL CRegistry::EnumerateKeys( DWORD dwIndex, MString& aName, MString& aClassName )
{
    return Guarded( m_lErrorCode,
                    [&]() -> BOOL
                    {
                        TCHAR szName[NAME_BUFFER] = {};
                        TCHAR szClassName[NAME_BUFFER] = {};
                        DWORD dwName = NAME_BUFFER - 1;
                        DWORD dwClassName = NAME_BUFFER - 1;
                        if ( !Finish( RegEnumKeyExA( m_hKey, dwIndex, szName, &dwName, NULL, szClassName,
                                                     &dwClassName, &m_aLastWriteTime ) ) )
                            return FALSE;
                        MString aNewClassName = CopyOf( szClassName );
                        aName = CopyOf( szName );
                        aClassName = std::move( aNewClassName );
                        return TRUE;
                    } );
}

BOOL CRegistry::EnumerateValues( DWORD dwIndex, MString& aName, KeyValueTypes& aType, BYTE* pData,
                                 DWORD& dwDataSize )
{
    return Guarded( m_lErrorCode,
                    [&]() -> BOOL
                    {
                        TCHAR szName[NAME_BUFFER] = {};
                        DWORD dwName = NAME_BUFFER;
                        DWORD dwType = aType;
                        if ( !Finish( RegEnumValueA( m_hKey, dwIndex, szName, &dwName, NULL, &dwType, pData,
                                                     &dwDataSize ) ) )
                            return FALSE;
                        aName = CopyOf( szName );
                        aType = static_cast<KeyValueTypes>( dwType );
                        return TRUE;
                    } );
}

BOOL CRegistry::QueryInfo()
{
    TCHAR szClassName[NAME_BUFFER] = {};
    DWORD dwClassName = NAME_BUFFER - 1;
    if ( !Finish( RegQueryInfoKeyA( m_hKey, szClassName, &dwClassName, NULL, &m_dwNumberOfSubkeys,
                                    &m_dwLongestSubkeyName, &m_dwLongestClassName, &m_dwNumberOfValues,
                                    &m_dwLongestValueName, &m_dwLongestValueData,
                                    &m_dwSecurityDescriptorLength, &m_aLastWriteTime ) ) )
        return FALSE;
    m_aClassName = szClassName;
    return m_aClassName.GetLength() == std::strlen( szClassName ) ? TRUE : Finish( ERROR_NOT_ENOUGH_MEMORY );
}

BOOL CRegistry::Flush()
{
    return Finish( RegFlushKey( m_hKey ) );
}

BOOL CRegistry::NotifyChange( HANDLE hEvent, NotifyChangeFilter aFilter, BOOL fWatchSubtree,
                              BOOL fAsynchronous )
{
    return Finish( RegNotifyChangeKeyValue( m_hKey, fWatchSubtree, aFilter, hEvent, fAsynchronous ) );
}
