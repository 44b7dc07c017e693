// The owner's side of a worker thread: its life, its operations, what they ask and collect.
#include "core/callreport.h"
#include "process/threadlocks.h"
#include "process/threadreport.h"

SingleThread::SingleThread( WorkerThreadBase* pWork, bool fReport, ThreadCreateFunc pCreate, bool fCom )
    : m_aThreadHDL( NULL ),
      m_aThreadID( 0 ),
      m_fLeftThreadRoutine( false ),
      m_aSuspendEvent( NULL ),
      m_pWorkerThreadBase( pWork ),
      m_fReport( fReport ),
      m_fCom( fCom ),
      m_fGoingToDie( false ),
      m_pThreadCreateFunc( pCreate ),
      m_ulErrorCount( 0 ),
      m_aResumeEvent( NULL ),
      m_ulThreadsStarted( 0 ),
      m_pBorrowedHandles( NULL )
{
    InitializeCriticalSection( &m_aStateLock );
    InitializeCriticalSection( &m_aCallLock );
    Reset( RESET_CREATION, false );
}

SingleThread::SingleThread( const SingleThread& rOther ) : SingleThread( NULL )
{
    *this = rOther;
}

SingleThread& SingleThread::operator=( const SingleThread& rOther )
{
    CallReport aReport( "From SingleThread& SingleThread::operator=( const SingleThread& rOther )" );
    if ( this == &rOther )
        return *this;
    MString aErrStream;
    ULONG ulErrorCount = 0;
    {
        const StateGuard aTheirs( rOther );
        aErrStream = rOther.m_aThreadsErrStream;
        ulErrorCount = rOther.m_ulErrorCount;
    }
    const CallGuard aCall( *this );
    const StateGuard aState( *this );
    if ( m_fRunning )
        return aReport.Fail<SingleThread&>( " Error: IsRunning()", *this );
    m_pThreadAttributes = rOther.m_pThreadAttributes;
    m_dwCreationFlags = rOther.m_dwCreationFlags;
    m_dwStackSize = rOther.m_dwStackSize;
    m_pWorkerThreadBase = rOther.m_pWorkerThreadBase;
    m_fReport = rOther.m_fReport;
    m_fCom = rOther.m_fCom;
    m_pThreadCreateFunc = rOther.m_pThreadCreateFunc;
    m_aThreadsErrStream = aErrStream;
    m_ulErrorCount = ulErrorCount;
    return *this;
}

SingleThread::~SingleThread()
{
    {
        const StateGuard aState( *this );
        m_fGoingToDie = true;
    }
    // The work may be gone when the thread has ended.
    if ( IsRunning() )
        End( 100, false );
    else
        Reset( RESET_ENDED, true );
    DeleteCriticalSection( &m_aStateLock );
    DeleteCriticalSection( &m_aCallLock );
}

// ---- starting and ending ----------------------------------------------------------------------------------

// The work's thread would wait for itself, or for an owner who waits for it.
bool SingleThread::IsCalledByOther( CallReport& rReport ) const
{
    const StateGuard aState( *this );
    return !m_fRunning || m_fLeftThreadRoutine || m_aThreadID != GetCurrentThreadId() ||
           rReport.Fail( " Error: m_aThreadID == GetCurrentThreadId() -> the thread itself", false );
}

// What the owner's work throws here does not come in the operation's way: it would be left half done.
void SingleThread::Notify( CallReport& rReport, bool fStop )
{
    const bool fNotified = rReport.Guard( false, SEVERE_ERROR,
                                          [&]
                                          {
                                              if ( m_pWorkerThreadBase != NULL )
                                                  m_pWorkerThreadBase->OnNotify( fStop );
                                              return true;
                                          } );
    if ( !fNotified )
        rReport.ReportNow();
}

bool DLL_EXPORT SingleThread::SDKThreadCreateFunc( SingleThread* pSingleThread )
{
    if ( pSingleThread == NULL )
        return false;
    pSingleThread->m_fHandleNotOwned = false;
    pSingleThread->m_aThreadHDL =
        CreateThread( pSingleThread->m_pThreadAttributes, pSingleThread->m_dwStackSize, MainThreadRoutine,
                      pSingleThread, pSingleThread->m_dwCreationFlags, &pSingleThread->m_aThreadID );
    return pSingleThread->m_aThreadHDL != NULL;
}

// The work may have ended its thread, which therefore could not say that it leaves.
void SingleThread::NoteExitOfThread()
{
    const StateGuard aState( *this );
    if ( m_fRunning && WaitForSingleObject( m_aThreadHDL, 0 ) == WAIT_OBJECT_0 )
        OnLeavingThreadRoutine();
}

// It has ended. That the next one may not run, its owner may have said already.
void SingleThread::ForgetLastThread()
{
    const StateGuard aState( *this );
    const bool fICanRun = m_fICanRun || m_fRunning;
    Reset( RESET_WAITED, false );
    m_fLeftThreadRoutine = false;
    m_fICanRun = fICanRun;
}

bool SingleThread::InitThread()
{
    CallReport aReport( "From bool SingleThread::InitThread()" );
    NoteExitOfThread();
    if ( IsValidThread() && !IsGoingToDie() )
        return aReport.Fail( " Error: IsValidThread() -> a thread is already running", false );
    ForgetLastThread();
    ++m_ulThreadsStarted;
    if ( m_pThreadCreateFunc == NULL )
        m_pThreadCreateFunc = SDKThreadCreateFunc;
    constexpr LPCTSTR FAILURE = " Error: m_aThreadHDL == NULL -> CreateThread(...) failed";
    aReport.Guard( false, FAILURE, [&] { return m_pThreadCreateFunc( this ); } );
    const StateGuard aState( *this );
    // Created running, it may have ended by now.
    if ( m_aThreadHDL == NULL && !m_fLeftThreadRoutine )
        return aReport.Fail( FAILURE, false );
    aReport.Drop(); // what was thrown when the thread was there
    TailThreadId( aReport, m_aThreadID ).Tail( " created" );
    return aReport.Warn( "Thread with ID = " ) != FALSE;
}

bool SingleThread::Begin()
{
    CallReport aReport( "From bool SingleThread::Begin()" );
    if ( !IsCalledByOther( aReport ) )
        return false;
    const CallGuard aCall( *this );
    Reset( RESET_ERRORS, false );
    if ( m_pWorkerThreadBase == NULL )
        return aReport.Fail( " Error: m_pWorkerThreadBase == NULL", false );
    if ( !InitThread() )
        return aReport.Fail( " Error: !InitThread()", false );
    Notify( aReport, false );
    // The thread cannot leave its routine before this is done.
    const StateGuard aState( *this );
    m_fRunning = !m_fLeftThreadRoutine;
    if ( m_fRunning && !SetSuspended( false, false ) )
        return aReport.Fail( " Error: !SetSuspended( false )", false );
    return true;
}

bool SingleThread::End( DWORD dwMilliseconds, bool fWithMsgLoop )
{
    CallReport aReport( "From void SingleThread::End( DWORD dwMilliseconds, bool fWithMsgLoop )" );
    if ( !IsCalledByOther( aReport ) )
        return false;
    const CallGuard aCall( *this );
    SetICanRun( false );
    {
        // One that a message handler ends while it was on its way to a stop must not stand still there.
        const StateGuard aState( *this );
        m_fStopRequested = IsSuspended();
    }
    if ( IsSuspended() && !Continue() )
        aReport.Fail( " Error: !Continue()" );
    Notify( aReport, true );
    bool fTimeout = false;
    if ( !IsGoingToDie() && !internalWait( dwMilliseconds, fTimeout, fWithMsgLoop ) )
        aReport.Fail( " Error: !internalWait( dwMilliseconds, fTimeout, fWithMsgLoop )" );
    Reset( RESET_ENDED, true );
    if ( !m_fGoingToDie )
        Reset( RESET_ERRORS, false );
    return !aReport.Failed();
}

bool SingleThread::Wait( DWORD dwMilliseconds, bool fForceTerminationOnTimeout, bool fWithMsgLoop )
{
    CallReport aReport(
        "From void SingleThread::Wait( DWORD dwMilliseconds, bool fForceTerminationOnTimeout, bool fWithMsgLoop )" );
    if ( !IsCalledByOther( aReport ) )
        return false;
    const CallGuard aCall( *this );
    const ULONG ulThread = m_ulThreadsStarted;
    const bool fEnded = IsGoingToDie();
    bool fTimeout = false;
    if ( !fEnded && !internalWait( dwMilliseconds, fTimeout, fWithMsgLoop ) )
    {
        if ( m_fReport )
            aReport.Fail( " Error: !internalWait( dwMilliseconds, fTimeout, fWithMsgLoop )" );
        return false;
    }
    // A message handler may have ended the thread and begun another.
    if ( ulThread != m_ulThreadsStarted )
        return true;
    if ( fEnded || dwMilliseconds == INFINITE )
        Reset( RESET_WAITED, false );
    else if ( fForceTerminationOnTimeout )
        Reset( RESET_WAITED, true );
    else
        OnWaited( !fTimeout );
    return true;
}

// A wait with a limit is over, and the handle stays.
void SingleThread::OnWaited( bool fEnded )
{
    const StateGuard aState( *this );
    // It may have ended just now, and has then left its handle to the wait.
    if ( fEnded || m_fLeftThreadRoutine )
        ClearFlags();
    m_fWaiting = false;
}

bool SingleThread::internalWait( DWORD dwMilliseconds, bool& fTimeout, bool fWithMsgLoop )
{
    CallReport aReport(
        "From bool SingleThread::internalWait( DWORD dwMilliseconds, bool fTimeout, bool fWithMsgLoop )" );
    BorrowedHandle aThread( *this );
    const ULONG ulThread = m_ulThreadsStarted;
    {
        const StateGuard aState( *this );
        if ( m_fLeftThreadRoutine )
            return true;
        if ( !IsValidThread() )
        {
            if ( m_fReport )
                aReport.Fail( " Error: !IsValidThread()" );
            return false;
        }
        m_fWaiting = true;
        aThread.Take( m_aThreadHDL );
    }
    DWORD dwResult = 0;
    if ( !WaitForHandleSignaled( aThread.Get(), dwMilliseconds, fWithMsgLoop, &dwResult ) )
        return aReport.Fail(
            " Error: !WaitUntilHandleIsSignaled( m_aThreadHDL, dwMilliseconds, fWithMsgLoop, fTimeout )",
            false );
    fTimeout = dwResult == WAIT_TIMEOUT;
    const StateGuard aState( *this );
    // Also where the work has ended its thread, without leaving the routine.
    if ( !fTimeout && ulThread == m_ulThreadsStarted && m_aThreadHDL == aThread.Get() )
        m_fLeftThreadRoutine = true;
    return true;
}

// ---- asking and setting -----------------------------------------------------------------------------------

bool SingleThread::CanIRun()
{
    return m_fICanRun;
}

void SingleThread::SetICanRun( bool fICanRun )
{
    const StateGuard aState( *this );
    m_fICanRun = fICanRun;
}

bool SingleThread::IsSuspended() const
{
    return m_fSuspended;
}

bool SingleThread::IsRunning() const
{
    return m_fRunning;
}

bool SingleThread::IsValidThread() const
{
    const StateGuard aState( *this );
    return m_fRunning && m_aThreadHDL != NULL;
}

bool SingleThread::IsStopRequested() const
{
    return m_fStopRequested;
}

bool SingleThread::IsWaiting() const
{
    return m_fWaiting;
}

bool SingleThread::IsGoingToDie() const
{
    return m_fLeftThreadRoutine;
}

bool SingleThread::SetContextBase( WorkerThreadBase* pWork )
{
    CallReport aReport( "From bool SingleThread::SetContextBase( WorkerThreadBase* pWorkerThreadBase )" );
    const CallGuard aCall( *this );
    if ( IsRunning() )
        return aReport.Fail( " Error: IsRunning()", false );
    m_pWorkerThreadBase = pWork;
    return true;
}

bool SingleThread::SetThreadCreateFunc( ThreadCreateFunc pCreate )
{
    CallReport aReport( "From bool SingleThread::SetThreadCreateFunc( ThreadCreateFunc pThreadCreateFunc )" );
    const CallGuard aCall( *this );
    if ( IsRunning() )
        return aReport.Fail( " Error: IsRunning()", false );
    m_pThreadCreateFunc = pCreate;
    return true;
}

bool SingleThread::PostMessage( UINT Msg, WPARAM wParam, LPARAM lParam )
{
    CallReport aReport( "From bool SingleThread::PostMessage( UINT Msg, WPARAM wParam, LPARAM lParam )" );
    const CallGuard aCall( *this );
    DWORD dwThreadID = 0;
    {
        const StateGuard aState( *this );
        if ( !IsValidThread() )
            return aReport.Fail( " Error: !IsValidThread()", false );
        dwThreadID = m_aThreadID;
    }
    return PostThreadMessageA( dwThreadID, Msg, wParam, lParam ) ||
           aReport.Fail( " Error: !::PostThreadMessage( m_aThreadID, Msg, wParam, lParam )", false );
}

bool SingleThread::GetAvailableErrorCount( ULONG& ulCount ) const
{
    const StateGuard aState( *this );
    ulCount = m_ulErrorCount;
    return true;
}

bool SingleThread::AllErrors2Stream( MString& aStream ) const
{
    const StateGuard aState( *this );
    aStream = m_aThreadsErrStream;
    return true;
}

bool SingleThread::ClearErrors()
{
    const CallGuard aCall( *this );
    Reset( RESET_ERRORS, false );
    return true;
}
