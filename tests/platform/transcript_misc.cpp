// The system, its country, the process and the thread; handles; debug output.

#include "platform/transcript.h"

#include <cstring>

namespace
{
void SayVersion()
{
    OSVERSIONINFOA aVersion{};
    SayNumber( "size of the record", sizeof( aVersion ) );
    aVersion.dwOSVersionInfoSize = sizeof( aVersion );
    std::memset( aVersion.szCSDVersion, 'x', sizeof( aVersion.szCSDVersion ) );
    SayOutcome( "version", GetVersionExA( &aVersion ) );
    SayNumber( "platform", aVersion.dwPlatformId );
    SayNumber( "major above zero", aVersion.dwMajorVersion > 0 );
    SayNumber( "size stays", aVersion.dwOSVersionInfoSize );
    SayNumber( "service pack terminated", std::memchr( aVersion.szCSDVersion, 0, 128 ) != NULL );
    aVersion.dwOSVersionInfoSize = 147;
    SayOutcome( "wrong size", GetVersionExA( &aVersion ) );
    aVersion.dwOSVersionInfoSize = 0;
    SayOutcome( "no size", GetVersionExA( &aVersion ) );
}

void SayComputerName()
{
    char aName[260];
    DWORD dwSize = sizeof( aName );
    SayOutcome( "computer name", GetComputerNameA( aName, &dwSize ) );
    SayNumber( "its length comes back", dwSize == std::strlen( aName ) && dwSize > 0 );
    const DWORD dwLength = dwSize;
    SayOutcome( "one too small", GetComputerNameA( aName, &dwSize ) );
    SayNumber( "what is needed", dwSize == dwLength + 1 );
    SayOutcome( "just enough", GetComputerNameA( aName, &dwSize ) );
    SayNumber( "length again", dwSize == dwLength );
    dwSize = 0;
    SayOutcome( "null buffer", GetComputerNameA( NULL, &dwSize ) );
    SayNumber( "needed for null", dwSize == dwLength + 1 );
}

// The country itself is the machine's.
void SayLocale()
{
    char szCode[16] = "";
    const int nSize = GetLocaleInfoA( LOCALE_SYSTEM_DEFAULT, LOCALE_ICOUNTRY, szCode, sizeof( szCode ) );
    SayNumber( "size of the country's code",
               nSize == static_cast<int>( std::strlen( szCode ) ) + 1 && nSize > 1 );
    SayNumber( "size that is needed",
               GetLocaleInfoA( LOCALE_SYSTEM_DEFAULT, LOCALE_ICOUNTRY, NULL, 0 ) == nSize );
    SayOutcome( "a country's code", GetLocaleInfoA( LOCALE_SYSTEM_DEFAULT, LOCALE_ICOUNTRY, szCode, nSize ) );
    SayOutcome( "its size one too small",
                GetLocaleInfoA( LOCALE_SYSTEM_DEFAULT, LOCALE_ICOUNTRY, szCode, nSize - 1 ) );
    SayOutcome( "its size negative", GetLocaleInfoA( LOCALE_SYSTEM_DEFAULT, LOCALE_ICOUNTRY, szCode, -1 ) );
    SayOutcome( "no buffer for it", GetLocaleInfoA( LOCALE_SYSTEM_DEFAULT, LOCALE_ICOUNTRY, NULL, nSize ) );
    SayOutcome( "of no kind", GetLocaleInfoA( LOCALE_SYSTEM_DEFAULT, 0x7FFF, szCode, sizeof( szCode ) ) );
}

void SayIds()
{
    const DWORD dwThread = GetCurrentThreadId();
    SayNumber( "thread id stays", dwThread == GetCurrentThreadId() && dwThread != 0 );
    OnOtherThread( [=] { SayNumber( "another thread, another id", GetCurrentThreadId() != dwThread ); } );
    SayNumber( "process id stays",
               GetCurrentProcessId() == GetCurrentProcessId() && GetCurrentProcessId() != 0 );
}

void SayHandles()
{
    SayOutcome( "close null", CloseHandle( NULL ) );
    SayOutcome( "close no handle", CloseHandle( reinterpret_cast<HANDLE>( 0x7654320 ) ) );
    SayOutcome( "close a small number", CloseHandle( reinterpret_cast<HANDLE>( 0x10000 ) ) );
}

void SayDebugOutput()
{
    SetLastError( UNTOUCHED );
    OutputDebugStringA( NULL );
    OutputDebugStringA( "" );
    OutputDebugStringA( "a line for the debug output\r\n" );
    SayNumber( "last error after debug output", GetLastError() );
}
} // namespace

int main()
{
    SayVersion();
    SayComputerName();
    SayLocale();
    SayIds();
    SayHandles();
    SayDebugOutput();
    return 0;
}
