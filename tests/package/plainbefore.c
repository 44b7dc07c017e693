/* The order is what this is about. */
/* clang-format off */
#include <windows.h>

#include <bxtools/cerror.h>

#include "plainparts.h"
/* clang-format on */

int RecordError( void )
{
    const DWORD dwAttributes = GetFileAttributesA( "missing.txt" );
    return dwAttributes == INVALID_FILE_ATTRIBUTES &&
           C_SetLastErr( "PACKAGE.USER", 7, GetLastError(), "GetFileAttributes failed", "", "missing.txt" );
}
