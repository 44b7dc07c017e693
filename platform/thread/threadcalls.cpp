// The calls on threads.

#include "platform/object/exitcode.h"
#include "platform/object/handletable.h"
#include "platform/stopgate.h"
#include "platform/thread/deadthreads.h"
#include "platform/thread/threadobject.h"

#include <bxtools/platform.h>

#include <cerrno>
#include <new>
#include <pthread.h>

namespace
{
// The handle comes first, since a thread that runs cannot be taken back.
HANDLE StartWithHandle( ThreadObject& rThread, SIZE_T nStackSize ) noexcept
{
    rThread.AddReference();
    const HANDLE hThread = MakeHandle( &rThread, THREAD_ALL_ACCESS );
    if ( hThread == nullptr || rThread.Start( nStackSize ) )
        return hThread;
    CloseHandle( hThread );
    return nullptr;
}
} // namespace

HANDLE CreateThread( LPSECURITY_ATTRIBUTES, SIZE_T nStackSize, LPTHREAD_START_ROUTINE pStart,
                     LPVOID pParameter, DWORD dwFlags, LPDWORD pThreadId )
{
    if ( pStart == nullptr || ( dwFlags & ~CREATE_SUSPENDED ) != 0 )
    {
        SetLastError( ERROR_INVALID_PARAMETER );
        return nullptr;
    }
    const int nSavedErrno = errno;
    const StopGate aGate;
    DeadThreads::Bury();
    ThreadObject* const pThread =
        new ( std::nothrow ) ThreadObject( pStart, pParameter, ( dwFlags & CREATE_SUSPENDED ) != 0 );
    const HANDLE hThread = pThread != nullptr ? StartWithHandle( *pThread, nStackSize ) : nullptr;
    if ( hThread != nullptr && pThreadId != nullptr )
        *pThreadId = pThread->GetThreadId();
    if ( pThread != nullptr )
        pThread->Release();
    if ( hThread == nullptr )
        SetLastError( ERROR_NOT_ENOUGH_MEMORY );
    errno = nSavedErrno;
    return hThread;
}

void ExitThread( DWORD dwExitCode )
{
    if ( ThreadObject* const pThread = ThreadObject::OfThread() )
        pThread->LeaveFunction( dwExitCode );
    else
        pthread_exit( nullptr );
}

BOOL GetExitCodeThread( HANDLE hThread, LPDWORD pExitCode )
{
    return GetExitCodeOf<ThreadObject>( hThread, KIND_THREAD, THREAD_QUERY_INFORMATION, pExitCode );
}

DWORD SuspendThread( HANDLE hThread )
{
    const SleepingCall aCall;
    const HandleUse aUse( hThread, KIND_THREAD, THREAD_SUSPEND_RESUME );
    return aUse.IsGood() ? aUse.GetObject<ThreadObject>()->Suspend() : SUSPEND_FAILED;
}

DWORD ResumeThread( HANDLE hThread )
{
    const HandleUse aUse( hThread, KIND_THREAD, THREAD_SUSPEND_RESUME );
    return aUse.IsGood() ? aUse.GetObject<ThreadObject>()->Resume() : SUSPEND_FAILED;
}

BOOL TerminateThread( HANDLE hThread, DWORD dwExitCode )
{
    const SleepingCall aCall;
    const HandleUse aUse( hThread, KIND_THREAD, THREAD_TERMINATE );
    if ( !aUse.IsGood() )
        return FALSE;
    aUse.GetObject<ThreadObject>()->Terminate( dwExitCode );
    return TRUE;
}
