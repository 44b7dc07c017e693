// Reads on the Windows 95 family, which keeps profiles in a cache that other programs' changes do not reach: they go to a
// copy of the file under a name of its own.
#include <bxtools/config.h>
#include <bxtools/platform.h>

DWORD MConfig::InternalGetPrivateProfileString( LPCTSTR pGroup, LPCTSTR pKey, LPCTSTR pDefault,
                                                LPTSTR pBuffer, DWORD dwSize, LPCTSTR pFileName )
{
    return GetPrivateProfileStringA( pGroup, pKey, pDefault, pBuffer, dwSize, pFileName );
}
