// How the window calls reach the window system.
#pragma once

#include <bxtools/platform.h>
#include <bxtools/window_system.h>

// In the child of a fork: windows that were there before are the parent's, over whose connection to the
// display the child would talk in between. They are none here until a window system is installed anew.
void LeaveWindowsToParent();

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
