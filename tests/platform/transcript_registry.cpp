// Keys, values, their sizes, rights and errors, and what notifies.

#include "platform/transcript.h"

#include <cstring>
#include <string>

namespace
{
constexpr char ROOT[] = "Software\\BXTranscript";

// Result: a new handle with these rights, or null.
HKEY Make( HKEY hParent, const char* pPath, REGSAM dwAccess = KEY_ALL_ACCESS, DWORD dwOptions = 0,
           const char* pClass = NULL )
{
    HKEY hKey = NULL;
    std::string strClass = pClass != NULL ? pClass : "";
    RegCreateKeyExA( hParent, pPath, 0, pClass != NULL ? strClass.data() : NULL, dwOptions, dwAccess, NULL,
                     &hKey, NULL );
    return hKey;
}

long Open( HKEY hParent, const char* pPath, REGSAM dwAccess = KEY_READ )
{
    HKEY hKey = NULL;
    const LONG lError = RegOpenKeyExA( hParent, pPath, 0, dwAccess, &hKey );
    RegCloseKey( hKey );
    return lError;
}

long Create( HKEY hParent, const char* pPath, DWORD dwOptions = 0 )
{
    HKEY hKey = NULL;
    DWORD dwDisposition = 0;
    const LONG lError =
        RegCreateKeyExA( hParent, pPath, 0, NULL, dwOptions, KEY_READ, NULL, &hKey, &dwDisposition );
    RegCloseKey( hKey );
    return lError == 0 ? 1000000 + static_cast<long>( dwDisposition ) : lError;
}

long Set( HKEY hKey, const char* pName, DWORD dwType, const void* pData, DWORD dwData )
{
    return RegSetValueExA( hKey, pName, 0, dwType, static_cast<const BYTE*>( pData ), dwData );
}

void SayValue( const char* pSay, HKEY hKey, const char* pName, DWORD dwRoom )
{
    BYTE aData[256];
    std::memset( aData, 0xEE, sizeof( aData ) );
    DWORD dwSize = dwRoom;
    DWORD dwType = 99;
    const LONG lError = RegQueryValueExA( hKey, pName, NULL, &dwType, aData, &dwSize );
    std::string strBytes;
    for ( DWORD i = 0; i < dwSize && i < 12 && lError != 2; ++i )
    {
        char aByte[8];
        std::snprintf( aByte, sizeof( aByte ), " %02X", aData[i] );
        strBytes += aByte;
    }
    Say( pSay, "%ld, type %u, size %u:%s", static_cast<long>( lError ), static_cast<unsigned>( dwType ),
         static_cast<unsigned>( dwSize ), strBytes.c_str() );
}

void Remove( HKEY hParent, const char* pPath )
{
    HKEY hKey = NULL;
    if ( RegOpenKeyExA( hParent, pPath, 0, KEY_ALL_ACCESS, &hKey ) != 0 )
        return;
    char aName[300];
    while ( RegEnumKeyA( hKey, 0, aName, sizeof( aName ) ) == 0 )
        Remove( hKey, aName );
    RegCloseKey( hKey );
    RegDeleteKeyA( hParent, pPath );
}

void SayKeys( HKEY hRoot )
{
    SayNumber( "new", Create( hRoot, "Key" ) );
    SayNumber( "existing", Create( hRoot, "kEY" ) );
    SayNumber( "missing parents", Create( hRoot, "A\\b\\C\\" ) );
    Say( "leading backslash", "%ld %ld", Create( hRoot, "\\Key" ), Open( hRoot, "\\Key" ) );
    Say( "open", "%ld %ld %ld", Open( hRoot, "a\\B\\c" ), Open( hRoot, "a\\B\\c\\" ), Open( hRoot, "a\\X" ) );
    Say( "open nothing", "%ld %ld", Open( hRoot, "" ), Open( hRoot, NULL ) );
    Say( "null parent", "%ld %ld", Create( NULL, "Key" ), Open( NULL, "Key" ) );
    SayNumber( "255", Create( hRoot, std::string( 255, 'x' ).c_str() ) );
    SayNumber( "256", Create( hRoot, std::string( 256, 'x' ).c_str() ) );
    SayNumber( "volatile", Create( hRoot, "Passing", REG_OPTION_VOLATILE ) );
    Say( "below a volatile one", "%ld %ld", Create( hRoot, "Passing\\Kept" ),
         Create( hRoot, "Passing\\Too", REG_OPTION_VOLATILE ) );
    Say( "close", "%ld %ld", static_cast<long>( RegCloseKey( NULL ) ),
         static_cast<long>( RegCloseKey( HKEY_CURRENT_USER ) ) );
    const HKEY hKey = Make( hRoot, "Key" );
    SayNumber( "closed", RegCloseKey( hKey ) );
    SayNumber( "closed again", RegCloseKey( hKey ) );
    const HKEY hZero = reinterpret_cast<HKEY>( static_cast<ULONG_PTR>( 0x80000001u ) );
    SayNumber( "root with zeros above", Open( hZero, ROOT ) );
    SayNumber( "no root", Open( reinterpret_cast<HKEY>( static_cast<ULONG_PTR>( 0x80000077u ) ), NULL ) );
}

void SayDeleting( HKEY hRoot )
{
    const HKEY hOld = Make( hRoot, "Gone\\Below" );
    SayNumber( "delete with subkeys", RegDeleteKeyA( hRoot, "Gone" ) );
    SayNumber( "delete missing", RegDeleteKeyA( hRoot, "Never" ) );
    SayNumber( "delete null", RegDeleteKeyA( hRoot, NULL ) );
    Set( hOld, "n", REG_DWORD, "1234", 4 );
    SayNumber( "delete with values", RegDeleteKeyA( hRoot, "Gone\\Below" ) );
    RegCloseKey( Make( hRoot, "Gone\\Below" ) );
    SayNumber( "set in the deleted", Set( hOld, "n", REG_DWORD, "1234", 4 ) );
    SayNumber( "query the deleted", RegQueryValueExA( hOld, "n", NULL, NULL, NULL, NULL ) );
    SayNumber( "open below the deleted", Open( hOld, "x" ) );
    SayNumber( "create below the deleted", Create( hOld, "x" ) );
    RegCloseKey( hOld );
    const HKEY hSelf = Make( hRoot, "Self" );
    SayNumber( "delete itself", RegDeleteKeyA( hSelf, "" ) );
    SayNumber( "is gone", Open( hRoot, "Self" ) );
    RegCloseKey( hSelf );
}

void SayRights( HKEY hRoot )
{
    RegCloseKey( Make( hRoot, "Rights\\Below" ) );
    const HKEY hRead = Make( hRoot, "Rights", KEY_READ );
    const HKEY hWrite = Make( hRoot, "Rights", KEY_SET_VALUE );
    const HKEY hQuery = Make( hRoot, "Rights", KEY_QUERY_VALUE );
    char aName[8];
    DWORD dwSize = 0;
    SayNumber( "create through read", Create( hRead, "New" ) );
    SayNumber( "delete through read", RegDeleteKeyA( hRead, "New" ) );
    SayNumber( "open for more", Open( hRead, "Below", KEY_ALL_ACCESS ) );
    SayNumber( "set through read", Set( hRead, "n", REG_SZ, "", 1 ) );
    SayNumber( "delete value through read", RegDeleteValueA( hRead, "n" ) );
    SayNumber( "set through set", Set( hWrite, "n", REG_SZ, "", 1 ) );
    SayNumber( "query through set", RegQueryValueExA( hWrite, "n", NULL, NULL, NULL, NULL ) );
    SayNumber( "list keys through query", RegEnumKeyA( hQuery, 0, aName, sizeof( aName ) ) );
    SayNumber( "info through set",
               RegQueryInfoKeyA( hWrite, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL ) );
    SayNumber( "security through set",
               RegGetKeySecurity( hWrite, DACL_SECURITY_INFORMATION, NULL, &dwSize ) );
    SayNumber( "notify through set",
               RegNotifyChangeKeyValue( hWrite, FALSE, REG_NOTIFY_CHANGE_NAME, NULL, FALSE ) );
    for ( const HKEY hKey : { hRead, hWrite, hQuery } )
        RegCloseKey( hKey );
}

void SayValues( HKEY hRoot )
{
    const HKEY hKey = Make( hRoot, "Values" );
    SayValue( "missing value", hKey, "missing", 16 );
    SayNumber( "text with its zero", Set( hKey, "text", REG_SZ, "abc", 4 ) );
    SayValue( "that text", hKey, "TEXT", 16 );
    SayNumber( "text without", Set( hKey, "bare", REG_SZ, "abcd", 3 ) );
    SayValue( "that bare text", hKey, "bare", 16 );
    SayNumber( "text with a zero behind", Set( hKey, "behind", REG_SZ, "abc", 3 ) );
    SayValue( "the zero is taken", hKey, "behind", 16 );
    Say( "wrong sizes", "%ld %ld", Set( hKey, "two", REG_DWORD, "12", 2 ),
         Set( hKey, "five", REG_DWORD, "12345", 5 ) );
    SayValue( "two bytes", hKey, "two", 16 );
    SayValue( "five bytes", hKey, "five", 16 );
    SayNumber( "unknown type", Set( hKey, "type", 77, "x", 1 ) );
    SayValue( "type 77", hKey, "type", 16 );
    SayNumber( "empty", Set( hKey, "empty", REG_BINARY, NULL, 0 ) );
    SayValue( "nothing in it", hKey, "empty", 16 );
    SayNumber( "default", Set( hKey, NULL, REG_BINARY, "default", 7 ) );
    SayValue( "default by no name", hKey, "", 16 );
    SayNumber( "backslash", Set( hKey, "a\\b", REG_BINARY, "x", 1 ) );
    SayValue( "name with backslash", hKey, "A\\B", 16 );
    SayValue( "exact room", hKey, "five", 5 );
    SayValue( "too small", hKey, "five", 4 );
    SayValue( "no room", hKey, "five", 0 );
    DWORD dwSize = 4711;
    const LONG lAsked = RegQueryValueExA( hKey, "five", NULL, NULL, NULL, &dwSize );
    Say( "only the size", "%ld %u", static_cast<long>( lAsked ), static_cast<unsigned>( dwSize ) );
    BYTE aData[4];
    SayNumber( "no size", RegQueryValueExA( hKey, "five", NULL, NULL, aData, NULL ) );
    SayNumber( "reserved", RegQueryValueExA( hKey, "five", &dwSize, NULL, NULL, NULL ) );
    SayNumber( "delete value", RegDeleteValueA( hKey, "FIVE" ) );
    SayNumber( "delete it again", RegDeleteValueA( hKey, "five" ) );
    RegCloseKey( hKey );
}

void SayLists( HKEY hRoot )
{
    const HKEY hKey = Make( hRoot, "Lists", KEY_ALL_ACCESS, 0, "Kind" );
    for ( const char* pName : { "beta", "ALPHA2", "10", "Alpha", "9", "a_b", "aB" } )
        RegCloseKey( Make( hKey, pName, KEY_READ, 0, pName ) );
    std::string strNames;
    char aName[64];
    char aClass[64];
    for ( DWORD i = 0; RegEnumKeyA( hKey, i, aName, sizeof( aName ) ) == 0; ++i )
        strNames += std::string( aName ) + " ";
    Say( "order of keys", "%s", strNames.c_str() );
    SayNumber( "past the last", RegEnumKeyA( hKey, 7, aName, sizeof( aName ) ) );
    Say( "name too small", "%ld %ld", static_cast<long>( RegEnumKeyA( hKey, 2, aName, 3 ) ),
         static_cast<long>( RegEnumKeyA( hKey, 2, aName, 2 ) ) );
    DWORD dwName = 64;
    DWORD dwClass = 64;
    FILETIME aTime{ 0, 0 };
    const LONG lError = RegEnumKeyExA( hKey, 6, aName, &dwName, NULL, aClass, &dwClass, &aTime );
    Say( "key with class", "%ld %s %u %s %u %d", static_cast<long>( lError ), aName,
         static_cast<unsigned>( dwName ), aClass, static_cast<unsigned>( dwClass ),
         aTime.dwHighDateTime != 0 );
    for ( const DWORD dwRoom : { 4u, 0u } )
    {
        dwName = dwRoom;
        SayNumber( "key with room for " + std::to_string( dwRoom ),
                   RegEnumKeyExA( hKey, 6, aName, &dwName, NULL, NULL, NULL, NULL ) );
    }
    dwName = 64;
    SayNumber( "key past the last", RegEnumKeyExA( hKey, 7, aName, &dwName, NULL, NULL, NULL, NULL ) );
    SayNumber( "key of null", RegEnumKeyExA( NULL, 0, aName, &dwName, NULL, NULL, NULL, NULL ) );
    Set( hKey, "only", REG_DWORD, "1234", 4 );
    BYTE aData[8];
    DWORD dwType = 0;
    for ( const DWORD dwRoom : { 5u, 4u } )
    {
        DWORD dwData = 8;
        dwName = dwRoom;
        const LONG lListed = RegEnumValueA( hKey, 0, aName, &dwName, NULL, &dwType, aData, &dwData );
        Say( dwRoom == 5 ? "value" : "name of value too small", "%ld %u %u", static_cast<long>( lListed ),
             static_cast<unsigned>( dwType ), static_cast<unsigned>( dwData ) );
    }
    DWORD dwData = 3;
    dwName = 64;
    const LONG lSmall = RegEnumValueA( hKey, 0, aName, &dwName, NULL, &dwType, aData, &dwData );
    Say( "data too small", "%ld %u", static_cast<long>( lSmall ), static_cast<unsigned>( dwData ) );
    dwName = 64;
    SayNumber( "past the last value", RegEnumValueA( hKey, 1, aName, &dwName, NULL, NULL, NULL, NULL ) );
    DWORD aNumbers[5] = {};
    dwClass = 64;
    RegQueryInfoKeyA( hKey, aClass, &dwClass, NULL, &aNumbers[0], &aNumbers[1], &aNumbers[2], &aNumbers[3],
                      &aNumbers[4], NULL, NULL, NULL );
    Say( "info", "%s %u, %u %u %u %u %u", aClass, static_cast<unsigned>( dwClass ),
         static_cast<unsigned>( aNumbers[0] ), static_cast<unsigned>( aNumbers[1] ),
         static_cast<unsigned>( aNumbers[2] ), static_cast<unsigned>( aNumbers[3] ),
         static_cast<unsigned>( aNumbers[4] ) );
    dwClass = 4;
    const LONG lInfo =
        RegQueryInfoKeyA( hKey, aClass, &dwClass, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL );
    SayNumber( "class too small", lInfo );
    RegCloseKey( Make( hRoot, "Lists", KEY_ALL_ACCESS, 0, "Other" ) );
    dwClass = 64;
    RegQueryInfoKeyA( hKey, aClass, &dwClass, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL );
    Say( "class of an existing key", "%s", aClass );
    RegCloseKey( hKey );
}

void SayNotices( HKEY hRoot )
{
    HKEY hKey = Make( hRoot, "Watched" );
    const HANDLE hEvent = CreateEventA( NULL, FALSE, FALSE, NULL );
    const auto Arm = [&]( BOOL fSubtree, DWORD dwFilter )
    { return static_cast<long>( RegNotifyChangeKeyValue( hKey, fSubtree, dwFilter, hEvent, TRUE ) ); };
    const auto IsSet = [&] { return WaitForSingleObject( hEvent, 0 ) == WAIT_OBJECT_0; };
    SayNumber( "watch values", Arm( FALSE, REG_NOTIFY_CHANGE_LAST_SET ) );
    SayNumber( "nothing yet", IsSet() );
    RegCloseKey( Make( hKey, "New" ) );
    SayNumber( "a key is no value", IsSet() );
    Set( hKey, "n", REG_SZ, "", 1 );
    SayNumber( "a value", IsSet() );
    Set( hKey, "n", REG_SZ, "", 1 );
    SayNumber( "only once", IsSet() );
    RegCloseKey( hKey );
    hKey = Make( hRoot, "Watched" );
    SayNumber( "watch names", Arm( FALSE, REG_NOTIFY_CHANGE_NAME ) );
    RegCloseKey( Make( hKey, "New\\Below" ) );
    SayNumber( "not below", IsSet() );
    RegCloseKey( hKey );
    SayNumber( "closed is told", IsSet() );
    hKey = Make( hRoot, "Watched" );
    SayNumber( "no event", RegNotifyChangeKeyValue( hKey, FALSE, REG_NOTIFY_CHANGE_NAME, NULL, TRUE ) );
    RegCloseKey( hKey );
    hKey = Make( hRoot, "Watched" );
    SayNumber( "watch all below", Arm( TRUE, REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_LAST_SET ) );
    HKEY hBelow = Make( hKey, "New\\Below" );
    SayNumber( "an open key is no change", IsSet() );
    Set( hBelow, "n", REG_SZ, "", 1 );
    SayNumber( "a value below", IsSet() );
    SayNumber( "watch all below again", Arm( TRUE, REG_NOTIFY_CHANGE_NAME ) );
    RegCloseKey( hBelow );
    RegDeleteKeyA( hKey, "New\\Below" );
    SayNumber( "a key below deleted", IsSet() );
    RegCloseKey( hKey );
    SayNumber( "watch null", RegNotifyChangeKeyValue( NULL, FALSE, REG_NOTIFY_CHANGE_NAME, hEvent, TRUE ) );
    CloseHandle( hEvent );
}

void SayTheRest( HKEY hRoot )
{
    HKEY hKey = NULL;
    SayNumber( "connect", RegConnectRegistryA( NULL, HKEY_LOCAL_MACHINE, &hKey ) );
    RegCloseKey( hKey );
    SayNumber( "connect users", RegConnectRegistryA( NULL, HKEY_USERS, &hKey ) );
    RegCloseKey( hKey );
    SayNumber( "connect without out", RegConnectRegistryA( NULL, HKEY_USERS, NULL ) );
    SayNumber( "connect to nobody",
               RegConnectRegistryA( "\\\\bx-there-is-no-such-computer", HKEY_LOCAL_MACHINE, &hKey ) );
    Say( "flush", "%ld %ld", static_cast<long>( RegFlushKey( hRoot ) ),
         static_cast<long>( RegFlushKey( NULL ) ) );
    DWORD dwSize = 0;
    const LONG lSmall = RegGetKeySecurity( hRoot, DACL_SECURITY_INFORMATION, NULL, &dwSize );
    Say( "security without room", "%ld %d", static_cast<long>( lSmall ), dwSize >= 20 );
    std::string strDescriptor( dwSize, '\0' );
    SayNumber( "security",
               RegGetKeySecurity( hRoot, DACL_SECURITY_INFORMATION, strDescriptor.data(), &dwSize ) );
    SayNumber( "set security", RegSetKeySecurity( hRoot, DACL_SECURITY_INFORMATION, strDescriptor.data() ) );
    SayNumber( "security of null", RegGetKeySecurity( NULL, DACL_SECURITY_INFORMATION, NULL, &dwSize ) );
    SayNumber( "set security of null",
               RegSetKeySecurity( NULL, DACL_SECURITY_INFORMATION, strDescriptor.data() ) );
    SayNumber( "set of null", Set( NULL, "n", REG_SZ, "", 1 ) );
    SayNumber( "delete value of null", RegDeleteValueA( NULL, "n" ) );
    SayNumber( "delete key of null", RegDeleteKeyA( NULL, "n" ) );
    SayNumber( "query null", RegQueryValueExA( NULL, "n", NULL, NULL, NULL, &dwSize ) );
    SayNumber( "load a missing file", RegLoadKeyA( HKEY_LOCAL_MACHINE, "BXLoaded", "missing.file" ) );
    SayNumber( "unload what is not loaded", RegUnLoadKeyA( HKEY_LOCAL_MACHINE, "BXLoaded" ) );
    SayNumber( "restore a missing file", RegRestoreKeyA( hRoot, "missing.file", 0 ) );
    SayNumber( "replace by a missing file", RegReplaceKeyA( hRoot, NULL, "missing.file", "old.file" ) );
    SayNumber( "save null", RegSaveKeyA( NULL, "saved.file", NULL ) );
    SetLastError( UNTOUCHED );
    Open( hRoot, "Missing" );
    SayNumber( "last error", GetLastError() );
}
} // namespace

int main()
{
    Remove( HKEY_CURRENT_USER, ROOT );
    const HKEY hRoot = Make( HKEY_CURRENT_USER, ROOT );
    SayKeys( hRoot );
    SayDeleting( hRoot );
    SayRights( hRoot );
    SayValues( hRoot );
    SayLists( hRoot );
    SayNotices( hRoot );
    SayTheRest( hRoot );
    RegCloseKey( hRoot );
    Remove( HKEY_CURRENT_USER, ROOT );
    return 0;
}
