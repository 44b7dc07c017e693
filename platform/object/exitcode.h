// The code that a process or a thread ended with.
#pragma once

#include "platform/object/handletable.h"

#include <bxtools/platform.h>

#include <cerrno>

// Object has a GetExitCode. Keeps errno.
template <class Object>
BOOL GetExitCodeOf( HANDLE hObject, DWORD dwKind, DWORD dwAccess, LPDWORD pExitCode ) noexcept
{
    const HandleUse aUse( hObject, dwKind, dwAccess );
    if ( !aUse.IsGood() )
        return FALSE;
    if ( pExitCode == nullptr )
    {
        SetLastError( ERROR_INVALID_PARAMETER );
        return FALSE;
    }
    const int nSavedErrno = errno;
    *pExitCode = aUse.GetObject<Object>()->GetExitCode();
    errno = nSavedErrno;
    return TRUE;
}
