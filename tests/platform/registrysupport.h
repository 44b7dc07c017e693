// Short forms of the registry's calls, for tests.
#pragma once

#include <bxtools/platform.h>

#include <cstdlib>
#include <string>

// A file of the machine's store.
inline std::string StoreFile( const std::string& strEnding )
{
    return std::string( std::getenv( "BXTOOLS_STATE_DIR" ) ) + "/local_machine" + strEnding;
}

// Closes the key at the end of a scope.
class TestKey
{
public:
    TestKey() = default;
    explicit TestKey( const std::string& strPath, DWORD dwOptions = 0, HKEY hRoot = HKEY_LOCAL_MACHINE )
    {
        lError = RegCreateKeyExA( hRoot, strPath.c_str(), 0, NULL, dwOptions, KEY_ALL_ACCESS, NULL, &hKey,
                                  &dwDisposition );
    }
    ~TestKey() { RegCloseKey( hKey ); }
    TestKey( const TestKey& ) = delete;
    TestKey& operator=( const TestKey& ) = delete;
    operator HKEY() const { return hKey; }

    HKEY hKey = NULL;
    LONG lError = 0;
    DWORD dwDisposition = 0;
};

inline LONG SetBytes( HKEY hKey, const char* pName, const std::string& strBytes, DWORD dwType = REG_BINARY )
{
    return RegSetValueExA( hKey, pName, 0, dwType, reinterpret_cast<const BYTE*>( strBytes.data() ),
                           static_cast<DWORD>( strBytes.size() ) );
}

// The bytes of a value, or "error N".
inline std::string GetBytes( HKEY hKey, const char* pName )
{
    DWORD dwSize = 0;
    LONG lError = RegQueryValueExA( hKey, pName, NULL, NULL, NULL, &dwSize );
    std::string strBytes( dwSize, '\0' );
    if ( lError == 0 )
        lError =
            RegQueryValueExA( hKey, pName, NULL, NULL, reinterpret_cast<BYTE*>( strBytes.data() ), &dwSize );
    return lError == 0 ? strBytes : "error " + std::to_string( lError );
}

inline LONG OpenError( const std::string& strPath )
{
    TestKey aKey;
    return RegOpenKeyExA( HKEY_LOCAL_MACHINE, strPath.c_str(), 0, KEY_READ, &aKey.hKey );
}

inline DWORD CountKeys( HKEY hKey )
{
    DWORD dwKeys = 0;
    RegQueryInfoKeyA( hKey, NULL, NULL, NULL, &dwKeys, NULL, NULL, NULL, NULL, NULL, NULL, NULL );
    return dwKeys;
}
