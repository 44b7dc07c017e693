// The object, its root, and what concerns files and security; cregistrykeys.cpp has the keys, cregistryvalues.cpp the
// values.
#include "config/registrycall.h"

#include <bxtools/platform.h>
#include <bxtools/registry.h>

#include <iterator>
#include <utility>

namespace
{

constexpr DWORD COMPUTER_NAME_BUFFER = 260;

struct Root
{
    HKEY hKey;
    const char* pName;
};

// In the order of their values.
constexpr const char* ROOT_NAMES[] = {
    "HKEY_CLASSES_ROOT",     "HKEY_CURRENT_USER",   "HKEY_LOCAL_MACHINE", "HKEY_USERS",
    "HKEY_PERFORMANCE_DATA", "HKEY_CURRENT_CONFIG", "HKEY_DYN_DATA",
};

// A predefined root has 32 bits, which a 64-bit caller may have extended in either way; the system's own way is with
// their sign. Any other handle is what it is.
Root Recognised( HKEY hRoot )
{
    const LONG_PTR lWide = reinterpret_cast<LONG_PTR>( hRoot );
    const LONG lValue = static_cast<LONG>( lWide );
    const DWORD dwIndex = static_cast<DWORD>( lValue ) - static_cast<DWORD>( CRegistry::keyClassesRoot );
    const bool fExtended = lWide == lValue || static_cast<ULONG_PTR>( lWide ) ==
                                                  static_cast<ULONG_PTR>( static_cast<DWORD>( lValue ) );
    if ( !fExtended || dwIndex >= std::size( ROOT_NAMES ) )
        return { hRoot, "Unknown" };
    return { reinterpret_cast<HKEY>( static_cast<LONG_PTR>( lValue ) ), ROOT_NAMES[dwIndex] };
}

bool IsLocalOnly( HKEY hRoot )
{
    return hRoot == HKEY_CLASSES_ROOT || hRoot == HKEY_CURRENT_USER;
}

MString LocalComputerName()
{
    TCHAR szName[COMPUTER_NAME_BUFFER] = {};
    DWORD dwSize = COMPUTER_NAME_BUFFER;
    return GetComputerNameA( szName, &dwSize ) ? CopyOf( szName ) : MString();
}

} // namespace

CRegistry::CRegistry()
{
    m_Initialize();
}

CRegistry::~CRegistry()
{
    if ( m_hRegistryKey != NULL )
        CRegistry::Close();
    m_Initialize();
}

void CRegistry::m_Initialize()
{
    m_aClassName.Empty();
    m_aComputerName.Empty();
    m_aKeyName.Empty();
    m_aRegistryName.Empty();
    m_hKey = NULL;
    m_lErrorCode = ERROR_SUCCESS;
    m_dwNumberOfSubkeys = 0;
    m_dwNumberOfValues = 0;
    m_dwLongestSubkeyName = 0;
    m_dwLongestClassName = 0;
    m_dwLongestValueName = 0;
    m_dwLongestValueData = 0;
    m_dwSecurityDescriptorLength = 0;
    m_aLastWriteTime = FILETIME();
    m_hRegistryKey = NULL;
}

// Keeps an operation's status. Result: whether it succeeded.
BOOL CRegistry::Finish( LONG lCode )
{
    m_lErrorCode = lCode;
    return lCode == ERROR_SUCCESS;
}

BOOL CRegistry::Close()
{
    if ( m_hRegistryKey == NULL )
        return TRUE;
    CloseKey();
    if ( !Finish( RegCloseKey( m_hRegistryKey ) ) )
        return FALSE;
    m_Initialize();
    return TRUE;
}

BOOL CRegistry::Connect( HKEY hRoot, LPCTSTR pComputerName )
{
    return Guarded( m_lErrorCode,
                    [&]() -> BOOL
                    {
                        // Texts first: what can throw stands before what would have to be undone.
                        const Root aRoot = Recognised( hRoot );
                        MString aComputerName =
                            pComputerName != NULL ? CopyOf( pComputerName ) : LocalComputerName();
                        MString aRegistryName = CopyOf( aRoot.pName );
                        HKEY hConnected = aRoot.hKey;
                        LONG lCode = ERROR_SUCCESS;
                        if ( !IsLocalOnly( aRoot.hKey ) )
                            lCode = RegConnectRegistryA( pComputerName, aRoot.hKey, &hConnected );
                        else if ( pComputerName != NULL )
                            lCode = ERROR_INVALID_HANDLE;
                        if ( !Finish( lCode ) )
                            return FALSE;
                        m_hRegistryKey = hConnected;
                        m_aComputerName = std::move( aComputerName );
                        m_aRegistryName = std::move( aRegistryName );
                        return TRUE;
                    } );
}

BOOL CRegistry::GetSecurity( DWORD dwSecurityInformation, void* pDescriptor, DWORD& dwSize )
{
    return Finish( pDescriptor == NULL
                       ? ERROR_INVALID_PARAMETER
                       : RegGetKeySecurity( m_hKey, dwSecurityInformation, pDescriptor, &dwSize ) );
}

BOOL CRegistry::SetSecurity( const DWORD& dwSecurityInformation, void* pDescriptor )
{
    return Finish( pDescriptor == NULL ? ERROR_INVALID_PARAMETER
                                       : RegSetKeySecurity( m_hKey, dwSecurityInformation, pDescriptor ) );
}

// The connected root, where UnLoad takes the open key.
BOOL CRegistry::Load( LPCTSTR pSubKey, LPCTSTR pFile )
{
    return Finish( pSubKey == NULL || pFile == NULL ? ERROR_INVALID_PARAMETER
                                                    : RegLoadKeyA( m_hRegistryKey, pSubKey, pFile ) );
}

BOOL CRegistry::UnLoad( LPCTSTR pSubKey )
{
    return Finish( pSubKey == NULL ? ERROR_INVALID_PARAMETER : RegUnLoadKeyA( m_hKey, pSubKey ) );
}

BOOL CRegistry::Replace( LPCTSTR pSubKey, LPCTSTR pNewFile, LPCTSTR pOldFile )
{
    return Finish( pSubKey == NULL || pNewFile == NULL || pOldFile == NULL
                       ? ERROR_INVALID_PARAMETER
                       : RegReplaceKeyA( m_hKey, pSubKey, pNewFile, pOldFile ) );
}

BOOL CRegistry::Restore( LPCTSTR pFile, DWORD dwFlags )
{
    return Finish( pFile == NULL ? ERROR_INVALID_PARAMETER : RegRestoreKeyA( m_hKey, pFile, dwFlags ) );
}

BOOL CRegistry::Save( LPCTSTR pFile, SECURITY_ATTRIBUTES* pSecurity )
{
    return Finish( pFile == NULL ? ERROR_INVALID_PARAMETER : RegSaveKeyA( m_hKey, pFile, pSecurity ) );
}

void CRegistry::GetClassName( MString& aClassName ) const
{
    aClassName = m_aClassName;
}

void CRegistry::GetComputerName( MString& aComputerName ) const
{
    aComputerName = m_aComputerName;
}

int CRegistry::GetErrorCode() const
{
    return static_cast<int>( m_lErrorCode );
}

void CRegistry::GetKeyName( MString& aKeyName ) const
{
    aKeyName = m_aKeyName;
}

DWORD CRegistry::GetNumberOfSubkeys() const
{
    return m_dwNumberOfSubkeys;
}

DWORD CRegistry::GetNumberOfValues() const
{
    return m_dwNumberOfValues;
}

void CRegistry::GetRegistryName( MString& aRegistryName ) const
{
    aRegistryName = m_aRegistryName;
}
