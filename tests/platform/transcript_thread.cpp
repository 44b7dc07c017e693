// Threads and processes as objects: started, waited for, asked for their end.

#include "platform/transcript.h"

#include <atomic>

namespace
{
std::atomic<bool> g_fObjectGone{ false };

struct GoneSlowly
{
    bool fUsed = false;
    ~GoneSlowly()
    {
        Sleep( 100 );
        g_fObjectGone = true;
    }
};
thread_local GoneSlowly t_aObject;

DWORD ToNumber( LPVOID pParameter )
{
    return static_cast<DWORD>( reinterpret_cast<ULONG_PTR>( pParameter ) );
}

LPVOID ToParameter( DWORD dwNumber )
{
    return reinterpret_cast<LPVOID>( static_cast<ULONG_PTR>( dwNumber ) );
}

DWORD WINAPI ReturnParameter( LPVOID pParameter )
{
    return ToNumber( pParameter );
}

DWORD WINAPI ExitWithParameter( LPVOID pParameter )
{
    ExitThread( ToNumber( pParameter ) );
    return 1;
}

DWORD WINAPI UseObject( LPVOID pParameter )
{
    t_aObject.fUsed = true;
    return ToNumber( pParameter );
}

DWORD WINAPI UseObjectAndExit( LPVOID pParameter )
{
    ExitThread( UseObject( pParameter ) );
    return 1;
}

DWORD WINAPI AwaitEvent( LPVOID pParameter )
{
    return WaitForSingleObject( pParameter, INFINITE );
}

DWORD WINAPI SetLater( LPVOID pParameter )
{
    Sleep( 50 );
    SetEvent( pParameter );
    return 0;
}

DWORD WINAPI OwnNumber( LPVOID )
{
    return GetCurrentThreadId();
}

void SayCode( const char* pName, HANDLE hThread )
{
    DWORD dwCode = UNTOUCHED;
    SetLastError( UNTOUCHED );
    const BOOL fDone = GetExitCodeThread( hThread, &dwCode );
    Say( pName, "%d, code %u, last error %u", fDone, static_cast<unsigned>( dwCode ),
         static_cast<unsigned>( GetLastError() ) );
}

void SayEnd( const char* pName, LPTHREAD_START_ROUTINE pFunction, DWORD dwParameter, SIZE_T nStackSize = 0 )
{
    g_fObjectGone = false;
    const HANDLE hThread = CreateThread( NULL, nStackSize, pFunction, ToParameter( dwParameter ), 0, NULL );
    const DWORD dwResult = WaitForSingleObject( hThread, INFINITE );
    const bool fObjectGone = g_fObjectGone;
    DWORD dwCode = UNTOUCHED;
    const BOOL fDone = GetExitCodeThread( hThread, &dwCode );
    Say( pName, "wait %u, %d, code %u, object gone %d", static_cast<unsigned>( dwResult ), fDone,
         static_cast<unsigned>( dwCode ), fObjectGone );
    CloseHandle( hThread );
}

void SayThreads()
{
    SayEnd( "returns 0", ReturnParameter, 0 );
    SayEnd( "returns 259", ReturnParameter, STILL_ACTIVE );
    SayEnd( "returns all ones", ReturnParameter, 0xFFFFFFFFu );
    SayEnd( "exits with 7", ExitWithParameter, 7 );
    SayEnd( "small stack", ReturnParameter, 8, 1 );
    SayEnd( "large stack", ReturnParameter, 9, 16 * 1024 * 1024 );
    SayEnd( "object of the thread", UseObject, 10 );
    SayEnd( "object of the thread, exit", UseObjectAndExit, 11 );

    const HANDLE hEvent = CreateEventA( NULL, FALSE, FALSE, NULL );
    DWORD dwThreadId = 0;
    SetLastError( UNTOUCHED );
    const HANDLE hThread = CreateThread( NULL, 0, AwaitEvent, hEvent, 0, &dwThreadId );
    SayNumber( "last error after the start", GetLastError() );
    SayNumber( "number, not the caller's", dwThreadId != 0 && dwThreadId != GetCurrentThreadId() );
    SayCode( "while it runs", hThread );
    SayNumber( "wait while it runs", WaitForSingleObject( hThread, 10 ) );
    SetEvent( hEvent );
    SayNumber( "wait", WaitForSingleObject( hThread, INFINITE ) );
    SayNumber( "wait again", WaitForSingleObject( hThread, 0 ) );
    SayCode( "after its end", hThread );
    SayOutcome( "set a thread", SetEvent( hThread ) );
    SayOutcome( "release a thread", ReleaseMutex( hThread ) );
    SayOutcome( "close", CloseHandle( hThread ) );
    SayCode( "closed handle", hThread );
    SayCode( "null handle", NULL );
    SayCode( "an event", hEvent );

    // Closing the handle does not stop it.
    CloseHandle( CreateThread( NULL, 0, SetLater, hEvent, 0, NULL ) );
    SayNumber( "goes on without a handle", WaitForSingleObject( hEvent, 10000 ) );
    CloseHandle( hEvent );

    const HANDLE hNumbered = CreateThread( NULL, 0, OwnNumber, NULL, 0, &dwThreadId );
    WaitForSingleObject( hNumbered, INFINITE );
    DWORD dwCode = 0;
    GetExitCodeThread( hNumbered, &dwCode );
    SayNumber( "its number is the one that it sees", dwCode == dwThreadId );
    CloseHandle( hNumbered );
}

void SayCount( const char* pName, DWORD( WINAPI* pCall )( HANDLE ), HANDLE hThread )
{
    SetLastError( UNTOUCHED );
    SayWithError( pName, static_cast<int>( pCall( hThread ) ) );
}

HANDLE g_hSelf;

DWORD WINAPI SuspendSelf( LPVOID )
{
    return SuspendThread( g_hSelf );
}

DWORD WINAPI EndSelf( LPVOID pParameter )
{
    TerminateThread( g_hSelf, ToNumber( pParameter ) );
    return 1;
}

void SaySuspensions()
{
    g_hSelf = CreateThread( NULL, 0, SuspendSelf, NULL, CREATE_SUSPENDED, NULL );
    SayNumber( "created suspended", WaitForSingleObject( g_hSelf, 20 ) );
    SayCount( "suspended once more", SuspendThread, g_hSelf );
    SayCount( "resumed once", ResumeThread, g_hSelf );
    SayCount( "resumed", ResumeThread, g_hSelf );
    DWORD dwBefore = 0;
    while ( ( dwBefore = ResumeThread( g_hSelf ) ) == 0 )
        Sleep( 1 );
    SayNumber( "suspends itself, resumed", dwBefore );
    WaitForSingleObject( g_hSelf, INFINITE );
    SayCode( "the count that it saw", g_hSelf );
    SayCount( "suspended after its end", SuspendThread, g_hSelf );
    SayCount( "null suspended", SuspendThread, NULL );
    CloseHandle( g_hSelf );

    const HANDLE hThread = CreateThread( NULL, 0, ReturnParameter, NULL, CREATE_SUSPENDED, NULL );
    while ( SuspendThread( hThread ) < MAXIMUM_SUSPEND_COUNT )
    {
    }
    SayCount( "suspended too often", SuspendThread, hThread );
    SayCount( "resumed after that", ResumeThread, hThread );
    SayOutcome( "suspended one ended", TerminateThread( hThread, 21 ) );
    SayNumber( "its wait", WaitForSingleObject( hThread, 10000 ) );
    SayCode( "its code", hThread );
    TerminateThread( hThread, 22 );
    SayCode( "its code after it is ended again", hThread );
    CloseHandle( hThread );

    g_hSelf = CreateThread( NULL, 0, EndSelf, ToParameter( 23 ), CREATE_SUSPENDED, NULL );
    ResumeThread( g_hSelf );
    WaitForSingleObject( g_hSelf, 10000 );
    SayCode( "ends itself by force", g_hSelf );
    CloseHandle( g_hSelf );
}

void SayProcess( const std::string& rName, DWORD dwAccess, DWORD dwProcessId )
{
    SetLastError( UNTOUCHED );
    const HANDLE hProcess = OpenProcess( dwAccess, FALSE, dwProcessId );
    const DWORD dwError = GetLastError();
    Say( rName, "%s, last error %u", hProcess != NULL ? "opened" : "null", static_cast<unsigned>( dwError ) );
    if ( hProcess == NULL )
        return;
    SayWait( rName + ", wait", hProcess );
    CloseHandle( hProcess );
}

void SayProcesses()
{
    SayProcess( "process 0", SYNCHRONIZE, 0 );
    SayProcess( "process of all ones", SYNCHRONIZE, 0xFFFFFFFFu );
    SayProcess( "process that is not", SYNCHRONIZE, 0x7FFFFFF0u );
    SayProcess( "own process", SYNCHRONIZE, GetCurrentProcessId() );
    SayProcess( "own process to end", SYNCHRONIZE | PROCESS_TERMINATE, GetCurrentProcessId() );
    SayProcess( "own process to ask", PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, GetCurrentProcessId() );

    const HANDLE hOwn = OpenProcess( PROCESS_QUERY_INFORMATION, FALSE, GetCurrentProcessId() );
    DWORD dwCode = UNTOUCHED;
    const BOOL fTold = GetExitCodeProcess( hOwn, &dwCode );
    Say( "code of the own process", "%d, %u", fTold, static_cast<unsigned>( dwCode ) );
    SayOutcome( "own process ended without the right", TerminateProcess( hOwn, 1 ) );
    CloseHandle( hOwn );
    SayOutcome( "no process ended", TerminateProcess( NULL, 1 ) );
    SayOutcome( "code of no process", GetExitCodeProcess( NULL, &dwCode ) );
    SayOutcome( "no thread ended", TerminateThread( NULL, 1 ) );
}
} // namespace

int main()
{
    SayThreads();
    SaySuspensions();
    SayProcesses();
    return 0;
}
