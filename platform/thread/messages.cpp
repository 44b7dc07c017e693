// The calls on messages of threads.

#include "platform/stopgate.h"
#include "platform/thread/messagequeue.h"

#include <bxtools/platform.h>

#include <cstdint>

namespace
{
bool FailWith( DWORD dwError ) noexcept
{
    SetLastError( dwError );
    return false;
}

// The thread's queue, for a call that names a window and takes a message; null with the last error.
MessageQueue* FindQueue( const MSG* pMessage, HWND hWindow ) noexcept
{
    constexpr intptr_t MESSAGES_WITHOUT_WINDOW = -1;
    MessageQueue* const pQueue = MessageQueue::OfThread();
    if ( pQueue == nullptr )
        return nullptr;
    const bool fWindow =
        hWindow != nullptr && reinterpret_cast<intptr_t>( hWindow ) != MESSAGES_WITHOUT_WINDOW;
    if ( !fWindow && pMessage != nullptr )
        return pQueue;
    FailWith( fWindow ? ERROR_INVALID_WINDOW_HANDLE : ERROR_NOACCESS );
    return nullptr;
}

bool Post( DWORD dwThreadId, UINT uMessage, WPARAM wParam, LPARAM lParam ) noexcept
{
    const DWORD dwError = MessageQueue::Post( dwThreadId, uMessage, wParam, lParam );
    return dwError == ERROR_SUCCESS || FailWith( dwError );
}
} // namespace

BOOL PostThreadMessageA( DWORD dwThreadId, UINT uMessage, WPARAM wParam, LPARAM lParam )
{
    return MessageQueue::OfThread() != nullptr && Post( dwThreadId, uMessage, wParam, lParam );
}

BOOL PostMessageA( HWND hWindow, UINT uMessage, WPARAM wParam, LPARAM lParam )
{
    if ( MessageQueue::OfThread() == nullptr )
        return FALSE;
    if ( hWindow != nullptr )
        return FailWith( ERROR_INVALID_WINDOW_HANDLE );
    return Post( GetCurrentThreadId(), uMessage, wParam, lParam );
}

BOOL PeekMessageA( LPMSG pMessage, HWND hWindow, UINT uFirst, UINT uLast, UINT uRemove )
{
    MessageQueue* const pQueue = FindQueue( pMessage, hWindow );
    return pQueue != nullptr && pQueue->Find( *pMessage, uFirst, uLast, ( uRemove & PM_REMOVE ) != 0 );
}

BOOL GetMessageA( LPMSG pMessage, HWND hWindow, UINT uFirst, UINT uLast )
{
    constexpr BOOL FAILED = -1;
    const SleepingCall aCall;
    MessageQueue* const pQueue = FindQueue( pMessage, hWindow );
    if ( pQueue == nullptr )
        return FAILED;
    for ( ;; )
    {
        const uint32_t uPosts = pQueue->GetPosts();
        if ( pQueue->Find( *pMessage, uFirst, uLast, true ) )
            return pMessage->message != WM_QUIT;
        pQueue->AwaitPost( uPosts, WaitLimit( INFINITE ) );
    }
}

BOOL TranslateMessage( const MSG* )
{
    return FALSE;
}

LRESULT DispatchMessageA( const MSG* )
{
    return 0;
}
