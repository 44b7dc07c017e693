#include "config/platformid.h"
#include "support/importedcall.h"

#include <gtest/gtest.h>

static DWORD g_dwPlatformId = VER_PLATFORM_WIN32_NT;

static BOOL WINAPI GetPretendedVersion( OSVERSIONINFOA* pVersion )
{
    pVersion->dwPlatformId = g_dwPlatformId;
    return TRUE;
}

void PretendPlatformId( DWORD dwPlatformId )
{
    g_dwPlatformId = dwPlatformId;
    static const bool fStandsIn = StandInForCall( "BXTOOLS_INSPECT.DLL", "GetVersionExA",
                                                  reinterpret_cast<void*>( &GetPretendedVersion ) );
    ASSERT_TRUE( fStandsIn );
}

void SetTemporaryFolder( const std::string& strFolder )
{
    SetEnvironmentVariableA( "TMP", strFolder.empty() ? NULL : strFolder.c_str() );
}
