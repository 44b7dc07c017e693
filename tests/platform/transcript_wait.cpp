// Waits on events, mutexes and threads.

#include "platform/transcript.h"

#include <vector>

namespace
{
constexpr DWORD LONG_TIME = 20000;

// The result of a wait, and the last error: untouched unless it failed.
void SayResult( const char* pName, DWORD dwResult )
{
    const DWORD dwError = GetLastError();
    const char* const pKind = dwResult == WAIT_FAILED        ? "failed"
                              : dwResult == WAIT_TIMEOUT     ? "timeout"
                              : dwResult >= WAIT_ABANDONED_0 ? "abandoned"
                                                             : "object";
    const DWORD dwIndex = dwResult < WAIT_TIMEOUT ? dwResult % WAIT_ABANDONED_0 : 0;
    Say( pName, "%s %u, last error %u", pKind, static_cast<unsigned>( dwIndex ),
         static_cast<unsigned>( dwError ) );
}

void SaySingle( const char* pName, HANDLE hObject, DWORD dwMilliseconds = 0 )
{
    SetLastError( UNTOUCHED );
    SayResult( pName, WaitForSingleObject( hObject, dwMilliseconds ) );
}

void SayAny( const char* pName, const std::vector<HANDLE>& rHandles, DWORD dwMilliseconds = 0,
             BOOL fAll = FALSE )
{
    SetLastError( UNTOUCHED );
    SayResult( pName, WaitForMultipleObjects( static_cast<DWORD>( rHandles.size() ), rHandles.data(), fAll,
                                              dwMilliseconds ) );
}

void SayAll( const char* pName, const std::vector<HANDLE>& rHandles, DWORD dwMilliseconds = 0 )
{
    SayAny( pName, rHandles, dwMilliseconds, TRUE );
}

HANDLE NewEvent( bool fManualReset, bool fSet )
{
    return CreateEventA( NULL, fManualReset, fSet, NULL );
}

void SayRefusals()
{
    const HANDLE hSet = NewEvent( true, true );
    const HANDLE hClosed = NewEvent( true, true );
    CloseHandle( hClosed );
    SaySingle( "null handle", NULL );
    SaySingle( "closed handle", hClosed );
    SayAny( "any, closed behind a set one", { hSet, hClosed } );
    SayAny( "any, null behind a set one", { hSet, NULL } );
    SayAll( "all, closed one", { hSet, hClosed } );
    SayAny( "no handles", {} );
    SayAny( "65 handles", std::vector<HANDLE>( 65, hSet ) );
    SayAny( "64 handles", std::vector<HANDLE>( 64, hSet ) );
    SayAll( "all of 65 handles", std::vector<HANDLE>( 65, hSet ) );
    SayAny( "any, the same handle twice", { hSet, hSet } );
    SayAll( "all, the same handle twice", { hSet, hSet } );

    const HANDLE hMapping = CreateFileMappingA( INVALID_HANDLE_VALUE, NULL, PAGE_READWRITE, 0, 4096, NULL );
    SaySingle( "wait for a mapping", hMapping );
    CloseHandle( hMapping );
    const HANDLE hNamed = CreateEventA( NULL, TRUE, TRUE, "bxtools transcript wait" );
    const HANDLE hModify = OpenEventA( EVENT_MODIFY_STATE, FALSE, "bxtools transcript wait" );
    const HANDLE hWait = OpenEventA( SYNCHRONIZE, FALSE, "bxtools transcript wait" );
    SaySingle( "without the right to wait", hModify );
    SayAny( "any, one without the right", { hWait, hModify } );
    SaySingle( "with the right to wait alone", hWait );
    for ( const HANDLE hObject : { hSet, hNamed, hModify, hWait } )
        CloseHandle( hObject );
}

void SayWaitAny()
{
    const HANDLE hManual = NewEvent( true, false );
    const HANDLE hAuto = NewEvent( false, true );
    const HANDLE hSecondAuto = NewEvent( false, true );
    SayAny( "lowest ready one", { hManual, hAuto, hSecondAuto } );
    SayAny( "next ready one", { hManual, hAuto, hSecondAuto } );
    SayAny( "none ready", { hManual, hAuto, hSecondAuto } );
    SayAny( "none ready for a while", { hManual, hAuto, hSecondAuto }, 20 );
    SetEvent( hSecondAuto );
    SetEvent( hManual );
    SayAny( "a manual one stays", { hManual, hSecondAuto } );
    SayAny( "a manual one stays again", { hManual, hSecondAuto } );
    SaySingle( "the other one was not taken", hSecondAuto );
    SetEvent( hAuto );
    SetEvent( hAuto );
    SayAny( "set twice, taken once", { hAuto, hSecondAuto } );
    SayAny( "set twice, no second time", { hAuto, hSecondAuto } );
    for ( const HANDLE hObject : { hManual, hAuto, hSecondAuto } )
        CloseHandle( hObject );
}

void SayWaitAll()
{
    const HANDLE hFirst = NewEvent( false, true );
    const HANDLE hSecond = NewEvent( false, false );
    const HANDLE hMutex = CreateMutexA( NULL, FALSE, NULL );
    SayAll( "all, one missing", { hFirst, hSecond } );
    SayAll( "all, one missing for a while", { hMutex, hFirst, hSecond }, 20 );
    SaySingle( "nothing was taken", hFirst );
    OnOtherThread(
        [=]
        {
            SaySingle( "the mutex was not taken", hMutex );
            ReleaseMutex( hMutex );
        } );
    SetEvent( hFirst );
    SetEvent( hSecond );
    SayAll( "all", { hMutex, hFirst, hSecond } );
    SayAny( "all were taken", { hFirst, hSecond } );
    OnOtherThread( [=] { SaySingle( "the mutex was taken, too", hMutex ); } );
    SayOutcome( "release", ReleaseMutex( hMutex ) );
    SayOutcome( "release again", ReleaseMutex( hMutex ) );

    // A thread that waits for both holds neither while it waits.
    SetEvent( hFirst );
    std::thread aWaiter( [=] { SayAll( "all, woken by the last one", { hFirst, hSecond }, LONG_TIME ); } );
    Sleep( 100 );
    SaySingle( "the first one can still be taken", hFirst );
    SetEvent( hSecond );
    Sleep( 100 );
    SetEvent( hFirst );
    aWaiter.join();
    for ( const HANDLE hObject : { hFirst, hSecond, hMutex } )
        CloseHandle( hObject );
}

void SayAbandoned()
{
    const HANDLE hMutex = CreateMutexA( NULL, FALSE, NULL );
    const HANDLE hEvent = NewEvent( false, false );
    const auto TakeTwice = [=]
    {
        WaitForSingleObject( hMutex, INFINITE );
        WaitForSingleObject( hMutex, INFINITE );
    };
    OnOtherThread( TakeTwice );
    SaySingle( "abandoned", hMutex );
    SaySingle( "not abandoned again", hMutex );
    for ( const char* pName : { "first release", "second release", "no third, whatever the old depth" } )
        SayOutcome( pName, ReleaseMutex( hMutex ) );
    OnOtherThread( TakeTwice );
    SayAny( "any, abandoned at its index", { hEvent, hMutex } );
    ReleaseMutex( hMutex );
    OnOtherThread( TakeTwice );
    SayAll( "all, the mutex is abandoned, one missing", { hMutex, hEvent } );
    SetEvent( hEvent );
    SayAll( "all, still abandoned", { hEvent, hMutex } );
    ReleaseMutex( hMutex );

    // Blocked waiters hear of it.
    for ( const bool fAny : { false, true } )
    {
        const HANDLE hTaken = NewEvent( true, false );
        std::thread aOwner(
            [=]
            {
                WaitForSingleObject( hMutex, INFINITE );
                SetEvent( hTaken );
                Sleep( 100 );
            } );
        WaitForSingleObject( hTaken, INFINITE );
        if ( fAny )
            SayAny( "any, owner ends meanwhile", { hEvent, hMutex }, LONG_TIME );
        else
            SaySingle( "owner ends meanwhile", hMutex, LONG_TIME );
        ReleaseMutex( hMutex );
        aOwner.join();
        CloseHandle( hTaken );
    }
    CloseHandle( hMutex );
    CloseHandle( hEvent );
}

DWORD WINAPI ReturnParameter( LPVOID pParameter )
{
    return static_cast<DWORD>( reinterpret_cast<ULONG_PTR>( pParameter ) );
}

void SayMixture()
{
    const HANDLE hThread = CreateThread( NULL, 0, ReturnParameter, NULL, 0, NULL );
    const HANDLE hEvent = NewEvent( false, true );
    const HANDLE hMutex = CreateMutexA( NULL, TRUE, NULL );
    SayAll( "all, thread, event and own mutex", { hThread, hEvent, hMutex }, LONG_TIME );
    SayAny( "any, an ended thread stays ready", { hEvent, hThread, hMutex } );
    for ( const HANDLE hObject : { hThread, hEvent, hMutex } )
        CloseHandle( hObject );
}

void SayTimes()
{
    const HANDLE hEvent = NewEvent( false, false );
    const DWORD dwBefore = GetTickCount();
    for ( int i = 0; i < 3; ++i )
        WaitForSingleObject( hEvent, 30 );
    const DWORD dwWaited = GetTickCount() - dwBefore;
    SayNumber( "three waits of 30 ms are no shorter", dwWaited >= 70 );
    SetLastError( UNTOUCHED );
    Sleep( 0 );
    Sleep( 1 );
    SayNumber( "last error after sleep", GetLastError() );
    CloseHandle( hEvent );
}
} // namespace

int main()
{
    SayRefusals();
    SayWaitAny();
    SayWaitAll();
    SayAbandoned();
    SayMixture();
    SayTimes();
    return 0;
}
