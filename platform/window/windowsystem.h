// How the window calls reach the window system.
#pragma once

#include <bxtools/platform.h>
#include <bxtools/window_system.h>

// Leaves dwError as the last error unless it is 0. Result: whether it is 0.
inline BOOL IsDone( DWORD dwError ) noexcept
{
    if ( dwError == ERROR_SUCCESS )
        return TRUE;
    SetLastError( dwError );
    return FALSE;
}

// Calls one of its operations.
//   pOperation  &WindowSystem::Operation; its arguments follow.
// Result: the operation's, or error 120 where there is no window system.
template <class Operation, class... Arguments>
DWORD CallWindowSystem( Operation pOperation, Arguments... aArguments )
{
    const WindowSystem* const pWindowSystem = GetWindowSystem();
    if ( pWindowSystem == nullptr )
        return ERROR_CALL_NOT_IMPLEMENTED;
    return ( pWindowSystem->*pOperation )( aArguments... );
}
