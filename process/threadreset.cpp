// How a worker thread is cleared away: its flags, its handles, and the thread itself where it does not end by itself.
#include "core/callreport.h"
#include "error/syserrtext.h"
#include "process/threadlocks.h"
#include "process/threadreport.h"

#include <atomic>
#include <new>

namespace
{

// Errors of threads that were ended by force, shared for ever: their memory came from the thread, and to free it could need a lock
// of malloc that the thread took along.
struct LeftErrors
{
    const MString aErrStream;
    LeftErrors* pNext;
};

constinit std::atomic<LeftErrors*> g_pLeftErrors{ nullptr };

void KeepForGood( const MString& aErrStream ) noexcept
{
    LeftErrors* const pLeft = new ( std::nothrow ) LeftErrors{ aErrStream, g_pLeftErrors };
    while ( pLeft != NULL && !g_pLeftErrors.compare_exchange_weak( pLeft->pNext, pLeft ) )
    {
    }
}

} // namespace

void SingleThread::Reset( ResetType aType, bool fForceTermination )
{
    CallReport aReport( "From void SingleThread::Reset( ResetType aType, bool fForceTermination )" );
    if ( aType == RESET_ENDED || ( aType == RESET_WAITED && fForceTermination ) )
        EndActiveThread( aReport );
    const StateGuard aState( *this );
    switch ( aType )
    {
    case RESET_CREATION:
        m_aThreadHDL = NULL;
        m_aThreadID = 0;
        m_pThreadAttributes = NULL;
        m_dwCreationFlags = CREATE_SUSPENDED;
        m_dwStackSize = 0;
        m_fHandleNotOwned = false;
        break;
    case RESET_ROUTINE: m_fLeftThreadRoutine = false; break;
    case RESET_LEAVING:
    case RESET_WAITED: CloseThreadHandle( aReport ); break;
    case RESET_ENDED:
        CloseThreadHandle( aReport );
        m_fLeftThreadRoutine = false;
        break;
    case RESET_ERRORS:
        m_aThreadsErrStream = MString();
        m_ulErrorCount = 0;
        return;
    default: aReport.Fail( " Error: unknown ResetType -> default case" );
    }
    ClearFlags();
}

void SingleThread::ClearFlags()
{
    DropEvents();
    m_fRunning = false;
    m_fStopRequested = false;
    m_fICanRun = true;
    m_fSuspended = false;
    m_fWaiting = false;
}

// Whoever still waits for the thread to stop is woken.
void SingleThread::DropEvents()
{
    if ( m_aSuspendEvent != NULL )
    {
        SetEvent( m_aSuspendEvent );
        MyCloseHandle( m_aSuspendEvent, false );
        m_aSuspendEvent = NULL;
    }
    if ( m_aResumeEvent != NULL )
    {
        MyCloseHandle( m_aResumeEvent, false );
        m_aResumeEvent = NULL;
    }
}

void SingleThread::CloseThreadHandle( CallReport& rReport )
{
    if ( m_aThreadHDL != NULL && !m_fHandleNotOwned && !MyCloseHandle( m_aThreadHDL, true ) )
        rReport.Fail( " Error: !MyCloseHandle( m_aThreadHDL, true )" );
    m_aThreadHDL = NULL;
    m_aThreadID = 0;
}

// ---- handles ----------------------------------------------------------------------------------------------

// Under the state lock, as what follows.
bool SingleThread::MyCloseHandle( HANDLE hHandle, bool fThreadHDL )
{
    CallReport aReport( "From bool SingleThread::MyCloseHandle( HANDLE hHandle, bool fThreadHDL )" );
    if ( hHandle == NULL )
        return aReport.Fail( " Error: hHandle == NULL", false );
    if ( !LeaveToBorrower( hHandle ) && !CloseHandle( hHandle ) )
    {
        const DWORD dwLastErr = GetLastError();
        aReport.Fail( " Error: !CloseHandle( hHandle )" );
        return TailLastErrMsg( aReport, dwLastErr ) != FALSE;
    }
    if ( fThreadHDL && m_fReport )
    {
        aReport.Warn( " Info: Thread with m_aThreadID = " );
        TailThreadId( aReport, m_aThreadID, true ).Tail( " closed properly" );
    }
    return true;
}

bool SingleThread::LeaveToBorrower( HANDLE aHandle )
{
    for ( BorrowedHandle* pBorrowed = m_pBorrowedHandles; pBorrowed != NULL; pBorrowed = pBorrowed->m_pOuter )
    {
        if ( pBorrowed->m_aHandle != aHandle )
            continue;
        pBorrowed->m_fClose = true;
        return true;
    }
    return false;
}

// ---- the end by force -------------------------------------------------------------------------------------

// Without the state lock: the thread may be about to take it.
void SingleThread::EndActiveThread( CallReport& rReport )
{
    {
        const StateGuard aState( *this );
        if ( m_aThreadHDL == NULL || m_fLeftThreadRoutine )
            return;
        // It leaves its handle here when it ends meanwhile.
        m_fWaiting = true;
    }
    bool fActive = false;
    CheckForExitCode( fActive );
    if ( fActive && !Terminate() )
        rReport.Fail( " Error: !Terminate()" );
}

void SingleThread::CheckForExitCode( bool& fActive )
{
    CallReport aReport( "From void SingleThread::CheckForExitCode( bool& fActive )" );
    constexpr int TRIES = 3;
    constexpr DWORD PAUSE_MILLISECONDS = 1000;
    for ( int nTry = 1; nTry <= TRIES; ++nTry )
    {
        DWORD dwStopThread = STILL_ACTIVE;
        fActive = m_aThreadHDL != NULL;
        if ( !fActive )
            return;
        if ( !GetExitCodeThread( m_aThreadHDL, &dwStopThread ) )
            aReport.Fail( " Error: !GetExitCodeThread( m_aThreadHDL, &dwStopThread )" );
        fActive = dwStopThread == STILL_ACTIVE;
        if ( !fActive )
            return;
        // A pause that its end cuts short.
        if ( nTry < TRIES )
            WaitForSingleObject( m_aThreadHDL, PAUSE_MILLISECONDS );
    }
}

bool SingleThread::Terminate()
{
    CallReport aReport( "From bool SingleThread::Terminate()" );
    aReport.Warn( " Warning: going to terminate thread with ID = " );
    TailThreadId( aReport, m_aThreadID );
    aReport.ReportNow();
    // It must not end with the state lock in its hands.
    const bool fHeldStill = HoldStill( m_aThreadHDL );
    const BOOL fDone = TerminateThread( m_aThreadHDL, static_cast<DWORD>( E_FAIL ) );
    if ( fHeldStill )
    {
        LeaveCriticalSection( &m_aStateLock );
        AllowThreadStop();
    }
    if ( fHeldStill && !fDone )
        ResumeThread( m_aThreadHDL );
    if ( !fDone )
        return aReport.Fail( " Error: !TerminateThread( m_aThreadHDL, E_FAIL )", false );
    {
        const StateGuard aState( *this );
        KeepForGood( m_aThreadsErrStream );
    }
    aReport.Warn( " Info: Thread with ID = " );
    TailThreadId( aReport, m_aThreadID ).Tail( " terminated" );
    return true;
}
