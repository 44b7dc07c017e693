#include "platform/threadstate.h"

#include <bxtools/platform.h>

DWORD GetLastError()
{
    return t_aThreadState.dwLastError;
}

void SetLastError( DWORD dwErrCode )
{
    t_aThreadState.dwLastError = dwErrCode;
}
