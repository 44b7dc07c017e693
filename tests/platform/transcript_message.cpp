// Messages of threads: posted, looked for, waited for.

#include "platform/transcript.h"
#include "support/meeting.h"

#include <vector>

namespace
{
const HWND NO_WINDOW = reinterpret_cast<HWND>( static_cast<LONG_PTR>( 0x7FFF0 ) );

void SayPost( const char* pName, DWORD dwThreadId, UINT uMessage, WPARAM wParam = 0 )
{
    SetLastError( UNTOUCHED );
    SayWithError( pName, PostThreadMessageA( dwThreadId, uMessage, wParam, 0 ) );
}

std::string TextOf( const MSG& rMessage )
{
    return "message " + std::to_string( rMessage.message ) + " (" + std::to_string( rMessage.wParam ) + ", " +
           std::to_string( rMessage.lParam ) + "), window " + ( rMessage.hwnd == NULL ? "null" : "another" );
}

void SayPeek( const char* pName, UINT uFirst, UINT uLast, UINT uRemove, HWND hWindow = NULL )
{
    MSG aMessage = {};
    SetLastError( UNTOUCHED );
    const BOOL fFound = PeekMessageA( &aMessage, hWindow, uFirst, uLast, uRemove );
    const DWORD dwError = GetLastError();
    if ( fFound )
        Say( pName, "%s", TextOf( aMessage ).c_str() );
    else
        Say( pName, "none, last error %u", static_cast<unsigned>( dwError ) );
}

void SayGet( const char* pName, UINT uFirst = 0, UINT uLast = 0 )
{
    MSG aMessage = {};
    const BOOL fResult = GetMessageA( &aMessage, NULL, uFirst, uLast );
    Say( pName, "%d, %s", fResult, TextOf( aMessage ).c_str() );
}

void SayInput( const char* pName, DWORD dwCount, const HANDLE* pHandles, DWORD dwMask = QS_ALLINPUT,
               BOOL fAll = FALSE )
{
    SetLastError( UNTOUCHED );
    SayWithError( pName, MsgWaitForMultipleObjects( dwCount, pHandles, fAll, 20, dwMask ) );
}

void SayQueue()
{
    const DWORD dwOwn = GetCurrentThreadId();
    SayPeek( "empty queue", 0, 0, PM_REMOVE );
    SayPost( "post to oneself", dwOwn, WM_USER + 1, 1 );
    PostThreadMessageA( dwOwn, WM_NULL, 2, 0 );
    PostThreadMessageA( dwOwn, WM_PAINT, 3, 0 );
    PostMessageA( NULL, WM_USER + 2, 4, -5 );
    SayPeek( "a look", 0, 0, PM_NOREMOVE );
    SayPeek( "only a range", WM_USER + 2, WM_USER + 9, PM_REMOVE );
    SayPeek( "an empty range", WM_USER + 2, WM_USER + 9, PM_REMOVE );
    SayPeek( "a range the wrong way round", WM_USER + 9, WM_USER, PM_NOREMOVE );
    SayPeek( "without a window", 0, 0, PM_REMOVE, reinterpret_cast<HWND>( static_cast<LONG_PTR>( -1 ) ) );
    SayPeek( "of no window", 0, 0, PM_REMOVE, NO_WINDOW );
    SayGet( "get" );
    PostThreadMessageA( dwOwn, WM_QUIT, 9, 0 );
    PostThreadMessageA( dwOwn, WM_USER, 10, 0 );
    SayGet( "get a range", WM_PAINT, WM_PAINT );
    SayGet( "get quit" );
    SayGet( "get what is behind it" );
    MSG aMessage = {};
    aMessage.message = WM_USER;
    Say( "translate and dispatch", "%d, %d", TranslateMessage( &aMessage ),
         static_cast<int>( DispatchMessageA( &aMessage ) ) );
    SayNumber( "is a window", IsWindow( NO_WINDOW ) );
    SayOutcome( "post to no window", PostMessageA( NO_WINDOW, WM_CLOSE, 0, 0 ) );
}

void SayWaits()
{
    const DWORD dwOwn = GetCurrentThreadId();
    const HANDLE hEvent = CreateEventA( NULL, FALSE, FALSE, NULL );
    SayInput( "wait for nothing", 0, NULL );
    PostThreadMessageA( dwOwn, WM_USER, 1, 0 );
    PostThreadMessageA( dwOwn, WM_USER, 2, 0 );
    SayInput( "wait for other input", 1, &hEvent, QS_KEY | QS_TIMER );
    SayInput( "new input", 0, NULL );
    SayInput( "new input again, behind an event", 1, &hEvent );
    SayInput( "all of it, unset", 1, &hEvent, QS_ALLINPUT, TRUE );
    SetEvent( hEvent );
    SayInput( "event before input", 1, &hEvent );
    SetEvent( hEvent );
    SayInput( "all of it", 1, &hEvent, QS_ALLINPUT, TRUE );
    SayInput( "event is taken", 1, &hEvent );
    SayPeek( "look at the first", 0, 0, PM_NOREMOVE );
    SayInput( "seen input is old", 1, &hEvent );
    PostThreadMessageA( dwOwn, WM_USER, 3, 0 );
    SayInput( "new again", 1, &hEvent );
    SayGet( "take the first" );
    SayInput( "what is left is old", 1, &hEvent );
    PostThreadMessageA( dwOwn, WM_USER, 4, 0 );
    SayPeek( "look for others", WM_APP, WM_APP, PM_NOREMOVE );
    SayInput( "looked for others", 1, &hEvent );
    SayInput( "counted without ranges", 1, &hEvent, QS_ALLPOSTMESSAGE );
    std::vector<HANDLE> aMany( 64, hEvent );
    SayInput( "63 handles", 63, aMany.data() );
    SayInput( "64 handles", 64, aMany.data() );
    aMany[3] = NULL;
    SayInput( "a bad handle", 5, aMany.data() );
    CloseHandle( hEvent );
}

Meeting g_aMeeting( 2 );

// Once it has no queue, then it has one.
DWORD WINAPI Receive( LPVOID )
{
    MSG aMessage;
    g_aMeeting.ArriveAndWait();
    PeekMessageA( &aMessage, NULL, 0, 0, PM_NOREMOVE );
    g_aMeeting.ArriveAndWait();
    DWORD dwSum = 0;
    while ( GetMessageA( &aMessage, NULL, 0, 0 ) > 0 )
        dwSum = dwSum * 10 + static_cast<DWORD>( aMessage.wParam );
    return dwSum;
}

void SayThreads()
{
    DWORD dwThreadId = 0;
    const HANDLE hThread = CreateThread( NULL, 0, Receive, NULL, 0, &dwThreadId );
    SayPost( "to a thread without a queue", dwThreadId, WM_USER );
    g_aMeeting.ArriveAndWait();
    g_aMeeting.ArriveAndWait();
    SayPost( "to a thread with a queue", dwThreadId, WM_USER, 1 );
    Sleep( 20 );
    SayPost( "while it waits", dwThreadId, WM_USER, 2 );
    SayPost( "its end", dwThreadId, WM_QUIT, 3 );
    WaitForSingleObject( hThread, INFINITE );
    DWORD dwCode = UNTOUCHED;
    GetExitCodeThread( hThread, &dwCode );
    SayNumber( "it received", dwCode );
    SayPost( "to an ended thread", dwThreadId, WM_USER );
    SayPost( "to thread 0", 0, WM_USER );
    SayPost( "to a thread that is not", 0x7FFFFFF0u, WM_USER );
    CloseHandle( hThread );
}
} // namespace

int main()
{
    SayQueue();
    SayWaits();
    SayThreads();
    return 0;
}
