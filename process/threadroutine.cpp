// The thread's side of a worker thread: the routine that calls the work, and the errors it takes over.
#include "core/callreport.h"
#include "error/errstream.h"
#include "process/threadlocks.h"
#include "process/threadsystem.h"

#include <bxtools/error.h>

namespace
{

constexpr DWORD EXIT_AS_TOLD = 0;
constexpr DWORD EXIT_BY_WORK = 42;

constexpr LPCTSTR ROUTINE_HEADER = "From DWORD WINAPI SingleThread::MainThreadRoutine( LPVOID pData )";

} // namespace

// From the routine's start to its end, by whatever way: the thread may be cancelled in its work.
class SingleThread::RoutineScope
{
public:
    explicit RoutineScope( SingleThread& rThread ) noexcept
        : m_rThread( rThread ),
          m_fCom( rThread.m_fCom && InitializeCom() )
    {
    }
    ~RoutineScope()
    {
        if ( m_fCom )
            UninitializeCom();
        m_rThread.OnLeavingThreadRoutine();
    }
    RoutineScope( const RoutineScope& ) = delete;
    RoutineScope& operator=( const RoutineScope& ) = delete;

private:
    SingleThread& m_rThread;
    const bool m_fCom;
};

DWORD WINAPI SingleThread::MainThreadRoutine( LPVOID pData )
{
    SingleThread* const pSingleThread = static_cast<SingleThread*>( pData );
    if ( pSingleThread == NULL || pSingleThread->m_pWorkerThreadBase == NULL )
        return EXIT_BY_WORK;
    return pSingleThread->RunWork() ? EXIT_AS_TOLD : EXIT_BY_WORK;
}

UINT SingleThread::MFCMainThreadRoutine( LPVOID pData )
{
    return MainThreadRoutine( pData );
}

// Result: that of the last call of the work. The object may be gone when this returns.
bool SingleThread::RunWork()
{
    const RoutineScope aScope( *this );
    CallReport aReport( ROUTINE_HEADER );
    bool fRet = true;
    while ( fRet && aReport.Guard( false, SEVERE_ERROR, [&] { return CanIRun(); } ) )
        fRet = ExecuteOnce( aReport );
    fRet = fRet && !aReport.Failed();
    // Reported whatever the reason; a work that simply asked to end has none.
    if ( !fRet )
        aReport.Fail( "Nothing" );
    return fRet;
}

bool SingleThread::ExecuteOnce( CallReport& rReport )
{
    const bool fRet = rReport.Guard(
        false,
        " Error: fRet = pSingleThread->m_pWorkerThreadBase->Execute( pSingleThread ) caused severe exception",
        [&] { return m_pWorkerThreadBase->Execute( this ); } );
    CollectErrors();
    if ( !fRet || !IsStopRequested() )
        return fRet;
    return SetSuspended( true, true ) ||
           rReport.Fail( " Error: !fRet = pSingleThread->SetSuspended( true, true )", false );
}

// What cannot be taken over is reported, and the work goes on.
void SingleThread::CollectErrors()
{
    CallReport aReport( ROUTINE_HEADER );
    ULONG ulErrorCount = 0;
    MString aStream;
    if ( !::GetAvailableErrorCount( ulErrorCount ) )
        aReport.Fail( " Error: !::GetAvailableErrorCount( ulErrorCount )" );
    else if ( ulErrorCount != 0 && !::AllErrors2Stream( aStream ) )
        aReport.Fail( " Error: !::AllErrors2Stream( aStream )" );
    if ( ulErrorCount == 0 || aReport.Failed() )
        return;
    constexpr LPCTSTR FAILURE = " Error: !::Append2Stream( m_aThreadsErrStream, aErrStream )";
    const StateGuard aState( *this );
    if ( aReport.Guard( false, FAILURE, [&] { return KeepErrors( aStream ); } ) )
        m_ulErrorCount += ulErrorCount;
    else
        aReport.Fail( FAILURE );
}

// Record by record: a whole stream would take the place of what has been kept so far.
bool SingleThread::KeepErrors( const MString& aErrStream )
{
    if ( m_aThreadsErrStream.length() == 0 )
    {
        m_aThreadsErrStream = aErrStream;
        return true;
    }
    ErrStreamReader aReader( ViewOf( aErrStream ) );
    for ( std::string_view aRecord; aReader.Next( aRecord ); )
    {
        MString aText;
        aText.RWCString::assign( aRecord.data(), aRecord.size() );
        if ( !::Append2Stream( m_aThreadsErrStream, aText ) )
            return false;
    }
    return true;
}

// The owner may wait for the thread, or for it to stop; otherwise it takes its handle along.
void SingleThread::OnLeavingThreadRoutine()
{
    const StateGuard aState( *this );
    if ( m_aSuspendEvent != NULL )
        SetEvent( m_aSuspendEvent );
    if ( !m_fWaiting )
        Reset( RESET_LEAVING, false );
    m_fLeftThreadRoutine = true;
}
