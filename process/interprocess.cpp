// Locks and signals that processes share by name.
#include "core/callreport.h"
#include "core/guards.h"

#include <bxtools/platform.h>
#include <bxtools/sync.h>

namespace
{

// All kinds of input; what the system calls so has grown since.
constexpr DWORD ALL_INPUT = 0xFF;

constexpr char MISSING_EVENT_NAME[] = " Error: pEventName == NULL || STRLEN( pEventName ) <= 0";
constexpr char FAILED_CLOSE[] = " Error: !CloseHandle( aMyEvent )";

bool IsMissing( LPCTSTR pName )
{
    return pName == NULL || *pName == '\0';
}

enum class Signalling
{
    NobodyWaits,
    NotSet,
    Failed, // set all the same
    Done
};

Signalling TrySignal( CallReport& rReport, LPCTSTR pEventName )
{
    KernelHandle aMyEvent( OpenEventA( EVENT_MODIFY_STATE, TRUE, pEventName ) );
    if ( !aMyEvent )
    {
        rReport.Fail( " Error: ( aMyEvent = OpenEvent( EVENT_MODIFY_STATE, TRUE, pEventName ) ) == NULL" );
        return Signalling::NobodyWaits;
    }
    const BOOL fSet = SetEvent( aMyEvent.Get() );
    const BOOL fClosed = CloseHandle( aMyEvent.Detach() );
    if ( !fClosed )
        rReport.Fail( FAILED_CLOSE );
    else if ( !fSet )
        rReport.Fail( " Error: !SetEvent( aMyEvent )" );
    if ( !fSet )
        return Signalling::NotSet;
    return fClosed ? Signalling::Done : Signalling::Failed;
}

// A wait tells of new messages only, so all that have come are taken before the next one.
void DispatchUntilSet( HANDLE hEvent )
{
    MSG aMessage;
    while ( WaitForSingleObject( hEvent, 0 ) == WAIT_TIMEOUT &&
            PeekMessageA( &aMessage, NULL, 0, 0, PM_REMOVE ) )
        DispatchMessageA( &aMessage );
}

// The event and messages are waited for together, always: a limit would only lead back here.
void PumpUntilSet( HANDLE hEvent )
{
    for ( ;; )
    {
        DispatchUntilSet( hEvent );
        const DWORD dwResult = MsgWaitForMultipleObjects( 1, &hEvent, FALSE, INFINITE, ALL_INPUT );
        if ( dwResult == WAIT_OBJECT_0 )
            return;
        if ( dwResult != WAIT_FAILED )
            continue;
        // Where there is no room for a wait for both, the event is what counts.
        if ( WaitForSingleObject( hEvent, INFINITE ) == WAIT_OBJECT_0 )
            return;
        // Somebody else has closed it: nothing will set it, but messages are to flow, and the processor to rest.
        MSG aMessage{};
        GetMessageA( &aMessage, NULL, 0, 0 );
        DispatchMessageA( &aMessage );
    }
}

} // namespace

BOOL DLL_EXPORT EnterInterProcessCriticalSection( LPCTSTR pSectionName, HANDLE* phSectionID )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT EnterInterProcessCriticalSection( LPCTSTR pSectionName, HANDLE* phSectionID )" );
    if ( phSectionID == NULL )
        return aReport.Fail( " Error: phSectionID == NULL" );
    *phSectionID = NULL;
    if ( IsMissing( pSectionName ) )
        return aReport.Fail( " Error: pSectionName == NULL || STRLEN( pSectionName ) <= 0" );
    KernelHandle aMutex( CreateMutexA( NULL, FALSE, pSectionName ) );
    if ( !aMutex )
        return aReport.Fail( " Error: hMutexHandle == NULL" );
    if ( WaitForSingleObject( aMutex.Get(), INFINITE ) == WAIT_FAILED )
        return aReport.Fail( " Error: WaitForSingleObject( hMutexHandle, INFINITE ) == WAIT_FAILED" );
    *phSectionID = aMutex.Detach();
    return TRUE;
}

BOOL DLL_EXPORT ReleaseInterProcessCriticalSection( HANDLE hSectionID )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT ReleaseInterProcessCriticalSection( HANDLE hSectionID )" );
    if ( hSectionID == NULL )
        return aReport.Fail( " Error: hSectionID == NULL" );
    ReleaseMutex( hSectionID );
    CloseHandle( hSectionID );
    return TRUE;
}

BOOL DLL_EXPORT SignalActionFinished( LPCTSTR pEventName )
{
    return SignalActionFinished1( pEventName, 0, 0 );
}

BOOL DLL_EXPORT SignalActionFinished1( LPCTSTR pEventName, ULONG ulCount, DWORD dwMilliseconds )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT SignalActionFinished1( LPCTSTR pEventName, ULONG ulCount, DWORD dwMilliseconds )" );
    if ( IsMissing( pEventName ) )
        return aReport.Fail( MISSING_EVENT_NAME );
    for ( ULONGLONG ullLeft = ulCount;; --ullLeft )
    {
        aReport.Drop();
        const Signalling eSignalling = TrySignal( aReport, pEventName );
        if ( eSignalling == Signalling::Done || eSignalling == Signalling::Failed || ullLeft == 0 )
            return eSignalling == Signalling::Done;
        if ( eSignalling == Signalling::NobodyWaits && dwMilliseconds != 0 )
            Sleep( dwMilliseconds );
    }
}

BOOL DLL_EXPORT WaitForActionFinished( LPCTSTR pEventName, DWORD, DWORD* )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT WaitForActionFinished( LPCTSTR pEventName, DWORD dwMilliseconds, DWORD* dwRetValueOnSuccess )" );
    if ( IsMissing( pEventName ) )
        return aReport.Fail( MISSING_EVENT_NAME );
    return aReport.Guard(
        [&]() -> BOOL
        {
            KernelHandle aMyEvent( CreateEventA( NULL, TRUE, FALSE, pEventName ) );
            if ( !aMyEvent )
                return aReport.Fail(
                    " Error: ( aMyEvent = CreateEvent( NULL, TRUE, FALSE, pEventName ) ) == NULL" );
            PumpUntilSet( aMyEvent.Get() );
            return CloseHandle( aMyEvent.Detach() ) ? TRUE : aReport.Fail( FAILED_CLOSE );
        } );
}
