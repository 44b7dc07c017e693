#include "config/platformid.h"
#include "platform/version.h"

#include <cstdlib>

void PretendPlatformId( DWORD dwPlatformId )
{
    SetPlatformIdForTest( dwPlatformId );
}

void SetTemporaryFolder( const std::string& strFolder )
{
    strFolder.empty() ? unsetenv( "TMPDIR" ) : setenv( "TMPDIR", strFolder.c_str(), 1 );
}
