#include "platform/version.h"

#include <bxtools/platform.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <sys/utsname.h>

namespace
{
constinit std::atomic<DWORD> g_dwPlatformId{ VER_PLATFORM_WIN32_NT };

// The next number in a text such as "6.1.0-18-amd64", 0 when there is none.
DWORD ReadNumber( const char*& rpText ) noexcept
{
    rpText += strcspn( rpText, "0123456789" );
    char* pEnd = nullptr;
    const DWORD dwNumber = static_cast<DWORD>( strtoul( rpText, &pEnd, 10 ) );
    rpText = pEnd;
    return dwNumber;
}

// Without the domain.
size_t LengthOfName( const char* pName ) noexcept
{
    return strcspn( pName, "." );
}
} // namespace

BOOL GetVersionExA( LPOSVERSIONINFOA pVersion )
{
    if ( pVersion == nullptr || pVersion->dwOSVersionInfoSize != sizeof( OSVERSIONINFOA ) )
    {
        SetLastError( ERROR_INSUFFICIENT_BUFFER );
        return FALSE;
    }
    utsname aSystem{};
    uname( &aSystem );
    const char* pRelease = aSystem.release;
    pVersion->dwMajorVersion = ReadNumber( pRelease );
    pVersion->dwMinorVersion = ReadNumber( pRelease );
    pVersion->dwBuildNumber = ReadNumber( pRelease );
    pVersion->dwPlatformId = g_dwPlatformId.load( std::memory_order_relaxed );
    pVersion->szCSDVersion[0] = '\0';
    return TRUE;
}

BOOL GetComputerNameA( LPSTR pBuffer, LPDWORD pSize )
{
    if ( pSize == nullptr )
    {
        SetLastError( ERROR_INVALID_PARAMETER );
        return FALSE;
    }
    utsname aSystem{};
    uname( &aSystem );
    const size_t nLength = LengthOfName( aSystem.nodename );
    if ( pBuffer == nullptr || *pSize <= nLength )
    {
        *pSize = static_cast<DWORD>( nLength + 1 );
        SetLastError( ERROR_BUFFER_OVERFLOW );
        return FALSE;
    }
    memcpy( pBuffer, aSystem.nodename, nLength );
    pBuffer[nLength] = '\0';
    *pSize = static_cast<DWORD>( nLength );
    return TRUE;
}

void SetPlatformIdForTest( DWORD dwPlatformId ) noexcept
{
    g_dwPlatformId.store( dwPlatformId, std::memory_order_relaxed );
}
