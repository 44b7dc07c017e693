#include "platform/processtable.h"

#include <bxtools/platform.h>
#include <bxtools/process.h>

BOOL DLL_EXPORT EnumProcs( ENUMPROCSFUNC lpProc, LPARAM lParam )
{
    if ( lpProc == NULL )
    {
        SetLastError( ERROR_INVALID_PARAMETER );
        return FALSE;
    }
    ProcessTable aTable;
    while ( aTable.GoOn() )
        if ( !lpProc( aTable.GetProcessId(), 0, aTable.GetPath(), lParam ) )
            return TRUE;
    return !aTable.HasFailed();
}
