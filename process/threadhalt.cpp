// How a worker thread is stopped, at its safe point or at once, and goes on.
#include "core/callreport.h"
#include "error/syserrtext.h"
#include "process/threadlocks.h"
#include "process/threadsystem.h"
#include "process/waithandle.h"

bool SingleThread::CanBeStopped( CallReport& rReport ) const
{
    if ( !IsValidThread() )
        return rReport.Fail( " Error: !IsValidThread()", false );
    return !IsSuspended() || rReport.Fail( " Error: IsSuspended()", false );
}

bool SingleThread::Stop( bool fImmediately, bool fWithMsgLoop )
{
    CallReport aReport( "From bool SingleThread::Stop( bool fImmediately, bool fWithMsgLoop )" );
    if ( !IsCalledByOther( aReport ) )
        return false;
    const CallGuard aCall( *this );
    return fImmediately ? StopAtOnce( aReport ) : StopAtSafePoint( aReport, fWithMsgLoop );
}

// Suspends a thread where it neither holds the state lock nor waits for it, so that its owner is not kept out of its own
// object, and takes that lock. Result: false, without the lock, when it cannot be suspended.
bool SingleThread::HoldStill( HANDLE aThread )
{
    while ( SuspendAndSettle( aThread ) != SUSPENSION_FAILED )
    {
        DeferThreadStop();
        if ( TryEnterCriticalSection( &m_aStateLock ) )
            return true;
        AllowThreadStop();
        ResumeThread( aThread );
        const StateGuard aTurn( *this );
    }
    return false;
}

// From the suspension on nothing may allocate or report: the thread may stand inside malloc.
bool SingleThread::StopAtOnce( CallReport& rReport )
{
    BorrowedHandle aThread( *this );
    {
        const StateGuard aState( *this );
        if ( !CanBeStopped( rReport ) )
            return false;
        aThread.Take( m_aThreadHDL );
    }
    if ( aThread.Get() == NULL )
        return rReport.Fail( " Error: m_aThreadHDL == NULL", false );
    if ( !HoldStill( aThread.Get() ) )
        return rReport.Fail( " Error: SuspendThread( m_aThreadHDL ) == 0xFFFFFFFF", false );
    const bool fLeft = m_fLeftThreadRoutine;
    m_fSuspended = !fLeft;
    // A message handler may do this while its caller waits for the safe point, which the thread does not come to now.
    if ( m_aSuspendEvent != NULL )
        SetEvent( m_aSuspendEvent );
    LeaveCriticalSection( &m_aStateLock );
    AllowThreadStop();
    if ( !fLeft )
        return true;
    ResumeThread( aThread.Get() );
    return rReport.Fail( " Error: !IsValidThread()", false );
}

bool SingleThread::StopAtSafePoint( CallReport& rReport, bool fWithMsgLoop )
{
    BorrowedHandle aEvent( *this );
    BorrowedHandle aThread( *this );
    const ULONG ulThread = m_ulThreadsStarted;
    {
        const StateGuard aState( *this );
        // The event is there before the thread can see the request.
        if ( !CanBeStopped( rReport ) || !SetSuspended( true, false ) )
            return false;
        aEvent.Take( m_aSuspendEvent );
        aThread.Take( m_aThreadHDL );
        m_fStopRequested = true;
    }
    Notify( rReport, true );
    const HANDLE aHandles[] = { aEvent.Get(), aThread.Get() };
    DWORD dwResult = 0;
    const BOOL fWaited = WaitForHandles( rReport, aHandles, 2, INFINITE, fWithMsgLoop, dwResult );
    const StateGuard aState( *this );
    if ( ulThread != m_ulThreadsStarted )
        return fWaited != FALSE;
    if ( !fWaited )
        m_fStopRequested = IsSuspended();
    // The work has ended its thread, which therefore could not say that it leaves.
    if ( dwResult == WAIT_OBJECT_0 + 1 && m_aThreadHDL == aThread.Get() )
        OnLeavingThreadRoutine();
    return fWaited != FALSE;
}

bool SingleThread::Continue()
{
    CallReport aReport( "From bool SingleThread::Continue()" );
    if ( !IsCalledByOther( aReport ) )
        return false;
    const CallGuard aCall( *this );
    if ( !IsValidThread() )
        return aReport.Fail( " Error: !IsValidThread()", false );
    if ( !IsSuspended() )
        return aReport.Fail( " Error: !IsSuspended()", false );
    Notify( aReport, false );
    return SetSuspended( false, false ) || aReport.Fail( " Error: !( fRet = SetSuspended( false ) )", false );
}

// ---- the hand-shake ---------------------------------------------------------------------------------------

bool SingleThread::SetSuspended( bool fSuspend, bool fFromThread )
{
    CallReport aReport( "From bool SingleThread::SetSuspended( bool fSuspend, bool fFromThread )" );
    if ( fSuspend && fFromThread )
        return SuspendMyself( aReport ) && StayStopped( aReport );
    const StateGuard aState( *this );
    return fSuspend ? PrepareStop( aReport ) : Resume( aReport );
}

// The owner's part. A message handler may ask for a stop while another one waits: that one is woken, since from now on the
// thread tells of its stop through the new event alone.
bool SingleThread::PrepareStop( CallReport& rReport )
{
    if ( m_aSuspendEvent != NULL )
    {
        SetEvent( m_aSuspendEvent );
        if ( !MyCloseHandle( m_aSuspendEvent, false ) )
            rReport.Fail( " Error: !MyCloseHandle( m_aSuspendEvent )" );
    }
    m_aSuspendEvent = CreateEventA( NULL, TRUE, FALSE, NULL );
    if ( m_aResumeEvent == NULL )
        m_aResumeEvent = CreateEventA( NULL, FALSE, FALSE, NULL );
    if ( m_aSuspendEvent == NULL || m_aResumeEvent == NULL )
        rReport.Fail( " Error: ( m_aSuspendEvent = CreateEvent( NULL, TRUE, FALSE, NULL ) ) == NULL" );
    return !rReport.Failed();
}

// The thread's part. Afterwards the owner counts it as stopped.
bool SingleThread::SuspendMyself( CallReport& rReport )
{
    const StateGuard aState( *this );
    if ( !m_fStopRequested )
        return true;
    if ( m_aSuspendEvent == NULL )
        return rReport.Fail( " Error: m_aSuspendEvent == NULL", false );
    if ( !MySetEvent( m_aSuspendEvent ) )
        return rReport.Fail( " Error: !MySetEvent( m_aSuspendEvent )", false );
    m_fSuspended = true;
    return true;
}

// The owner may continue the thread before it gets here. The system would not remember that for a thread which then
// suspends itself, so it looks at the flag, and sleeps on an event.
bool SingleThread::StayStopped( CallReport& rReport )
{
    for ( ;; )
    {
        HANDLE aResumeEvent = NULL;
        {
            const StateGuard aState( *this );
            if ( !m_fSuspended )
                return true;
            aResumeEvent = m_aResumeEvent;
        }
        if ( WaitForSingleObject( aResumeEvent, INFINITE ) != WAIT_FAILED )
            continue;
        const StateGuard aState( *this );
        m_fSuspended = false;
        return rReport.Fail( " Error: SuspendThread( m_aThreadHDL ) == 0xFFFFFFFF", false );
    }
}

// The owner's part: for a thread that was just created, that stands at its safe point, or that was stopped at once. That one
// goes on before anything else is done, since it may stand inside malloc; what it does waits for the state lock.
bool SingleThread::Resume( CallReport& rReport )
{
    m_fSuspended = false;
    m_fStopRequested = false;
    const DWORD dwBefore = ResumeThread( m_aThreadHDL );
    bool fDone = true;
    if ( m_aSuspendEvent != NULL )
    {
        if ( !MySetEvent( m_aSuspendEvent ) )
            fDone = rReport.Fail( " Error: !MySetEvent( m_aSuspendEvent )", false );
        if ( !MyCloseHandle( m_aSuspendEvent, false ) )
            fDone = rReport.Fail( " Error: !MyCloseHandle( m_aSuspendEvent )", false );
        m_aSuspendEvent = NULL;
    }
    if ( m_aResumeEvent != NULL )
        SetEvent( m_aResumeEvent );
    if ( dwBefore == SUSPENSION_FAILED )
        rReport.Warn( " Error: ResumeThread( m_aThreadHDL ) == 0xFFFFFFFF" );
    return fDone;
}

bool SingleThread::MySetEvent( HANDLE aHandle )
{
    CallReport aReport( "From bool SingleThread::MySetEvent( HANDLE aHandle )" );
    if ( aHandle == NULL )
        return false;
    if ( !SetEvent( aHandle ) )
    {
        const DWORD dwLastErr = GetLastError();
        aReport.Fail( " Error: !SetEvent( aHandle )" );
        return TailLastErrMsg( aReport, dwLastErr ) != FALSE;
    }
    if ( m_aThreadHDL == NULL || PostThreadMessageA( m_aThreadID, WM_PAINT, 0, 0 ) )
        return true;
    // A thread without a queue does not sleep on it, and one with a full queue is awake.
    const DWORD dwLastErr = GetLastError();
    if ( dwLastErr != ERROR_INVALID_THREAD_ID && dwLastErr != ERROR_NOT_ENOUGH_QUOTA )
        aReport.Warn( " Error: !PostThreadMessage( m_aThreadID, WM_PAINT, 0, 0 )" );
    return true;
}
