// Worker threads: begun, stopped, continued and ended in every order, whatever the work does.
#include "support/failnew.h"
#include "support/recorder.h"
#include "support/sanitizer.h"
#include "support/threads.h"

#include <bxtools/debug.h>
#include <bxtools/error.h>
#include <bxtools/platform.h>
#include <bxtools/thread.h>

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <regex>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

class Work : public WorkerThreadBase
{
public:
    explicit Work( std::function<bool( SingleThread* )> aExecute ) : m_aExecute( std::move( aExecute ) ) {}
    bool Execute( SingleThread* pThread ) override
    {
        ++m_nCalls;
        return m_aExecute( pThread );
    }
    void OnNotify( bool fStop ) override
    {
        m_fStop = fStop;
        m_strNotified += fStop ? 's' : 'r';
        if ( m_aOnNotify )
            m_aOnNotify( fStop );
    }
    // Until it was called so many times more.
    void AwaitCalls( int nMore )
    {
        for ( const int nFrom = m_nCalls; m_nCalls - nFrom < nMore; )
            Sleep( 1 );
    }

    std::atomic<int> m_nCalls = 0;
    std::atomic<bool> m_fStop = false;
    std::string m_strNotified;
    std::function<void( bool )> m_aOnNotify;

private:
    const std::function<bool( SingleThread* )> m_aExecute;
};

bool GoOn( SingleThread* )
{
    return true;
}

std::string IdText( DWORD dwId, const char* pFormat = "%#lx (%lu)" )
{
    char szText[40];
    const unsigned long ulId = dwId;
    snprintf( szText, sizeof( szText ), pFormat, ulId, ulId );
    return szText;
}

constexpr char BEGIN[] = "From bool SingleThread::Begin()";
constexpr char INIT[] = "From bool SingleThread::InitThread()";
constexpr char ROUTINE[] = "From DWORD WINAPI SingleThread::MainThreadRoutine( LPVOID pData )";
constexpr char TERMINATE[] = "From bool SingleThread::Terminate()";
constexpr char STOP[] = "From bool SingleThread::Stop( bool fImmediately, bool fWithMsgLoop )";
constexpr char END[] = "From void SingleThread::End( DWORD dwMilliseconds, bool fWithMsgLoop )";
constexpr char CLOSE[] = "From bool SingleThread::MyCloseHandle( HANDLE hHandle, bool fThreadHDL )";
constexpr char WAIT[] =
    "From DLL_EXPORT_MOD BOOL DLL_EXPORT WaitForHandleSignaled( HANDLE aThreadHDL, DWORD dwMilliseconds, BOOL fWithMessageLoop, DWORD* pdwRetValueOnSuccess )";

Report Created( const SingleThread& rThread )
{
    return { INIT, "Thread with ID = " + IdText( rThread.m_aThreadID ) + " created" };
}

void AwaitWaiting( SingleThread* pThread )
{
    while ( !pThread->IsWaiting() )
        Sleep( 1 );
}

// The exit code of a thread that ends by itself while it is waited for, and what was reported after its creation.
DWORD ExitCodeOf( const std::function<bool( SingleThread* )>& aEnd, const std::vector<Report>& aReports )
{
    Work aWork( [&]( SingleThread* pThread ) { return AwaitWaiting( pThread ), aEnd( pThread ); } );
    DebugRecorder aRecorder;
    SingleThread aThread( &aWork );
    EXPECT_TRUE( aThread.Begin() );
    EXPECT_TRUE( aRecorder.OnlyReports( { Created( aThread ) } ) );
    EXPECT_TRUE( aThread.Wait( 20000, false, false ) );
    EXPECT_TRUE( aRecorder.OnlyReports( aReports ) );
    EXPECT_TRUE( aThread.IsGoingToDie() );
    EXPECT_FALSE( aThread.IsRunning() || aThread.IsWaiting() || aThread.IsValidThread() );
    DWORD dwExitCode = 0;
    EXPECT_TRUE( GetExitCodeThread( aThread.m_aThreadHDL, &dwExitCode ) );
    EXPECT_TRUE( aThread.Wait( INFINITE, false, false ) );
    EXPECT_EQ( NULL, aThread.m_aThreadHDL );
    EXPECT_TRUE( aThread.IsGoingToDie() );
    return dwExitCode;
}

} // namespace

TEST( SingleThread, StandsStillAtItsSafePointUntilItIsContinued )
{
    for ( const bool fWithMsgLoop : { false, true } )
    {
        std::atomic<WPARAM> wReceived = 0;
        Work aWork(
            [&]( SingleThread* )
            {
                MSG aMessage;
                if ( PeekMessageA( &aMessage, NULL, WM_APP, WM_APP, PM_REMOVE ) )
                    wReceived = aMessage.wParam;
                return true;
            } );
        SingleThread aThread( &aWork );
        ASSERT_TRUE( aThread.Begin() );
        DebugRecorder aRecorder;
        for ( int nRound = 0; nRound < 300; ++nRound )
        {
            ASSERT_TRUE( aThread.Stop( false, fWithMsgLoop ) && aThread.IsSuspended() );
            const int nCalls = aWork.m_nCalls;
            Sleep( 0 );
            ASSERT_TRUE( nCalls == aWork.m_nCalls && aThread.IsStopRequested() && aThread.Continue() );
            ASSERT_FALSE( aThread.IsSuspended() || aThread.IsStopRequested() );
        }
        aWork.AwaitCalls( 2 );
        EXPECT_TRUE( aThread.PostMessage( WM_APP, 77, 0 ) );
        aWork.AwaitCalls( 2 );
        EXPECT_EQ( 77u, wReceived );
        ASSERT_TRUE( aThread.Stop( false, fWithMsgLoop ) );
        EXPECT_TRUE( aRecorder.Silent() );
        EXPECT_FALSE( aThread.Stop( false, fWithMsgLoop ) );
        EXPECT_TRUE( aRecorder.OnlyReport( STOP, " Error: IsSuspended()" ) );
        aWork.m_strNotified.clear();
        EXPECT_TRUE( aThread.End( INFINITE, fWithMsgLoop ) );
        EXPECT_EQ( "rs", aWork.m_strNotified );
        EXPECT_TRUE( aRecorder.Silent() );
        EXPECT_EQ( NULL, aThread.m_aThreadHDL );
    }
}

// All that an owner can do in four steps, against what it should come to.
TEST( SingleThread, EveryOrderOfOperationsIsDoneOrRefused )
{
    for ( int nOrder = 0; nOrder < 6 * 6 * 6 * 6; ++nOrder )
    {
        Work aWork( GoOn );
        SingleThread aThread( &aWork );
        bool fThread = false;
        bool fStopped = false;
        const std::function<bool()> aOperations[] = { [&] { return aThread.Begin(); },
                                                      [&] { return aThread.Stop( false, false ); },
                                                      [&] { return aThread.Stop( true, false ); },
                                                      [&] { return aThread.Continue(); },
                                                      [&] { return aThread.Wait( 0, false, true ); },
                                                      [&] { return aThread.End( 20000, false ); } };
        for ( int nStep = 0, nLeft = nOrder; nStep < 4; ++nStep, nLeft /= 6 )
        {
            const int nOperation = nLeft % 6;
            const bool fRuns = fThread && !fStopped;
            const bool aExpected[] = { !fThread, fRuns, fRuns, fStopped, fThread, fThread };
            // Where it is stopped at once it allocates no more, as this test does meanwhile.
            if ( fRuns )
                aWork.AwaitCalls( 2 );
            ASSERT_EQ( aExpected[nOperation], aOperations[nOperation]() ) << nOrder;
            fThread = nOperation == 0 || ( fThread && nOperation != 5 );
            fStopped = fThread && ( nOperation == 1 || nOperation == 2 || ( fStopped && nOperation != 3 ) );
            ASSERT_EQ( fThread, aThread.IsValidThread() ) << nOrder;
            ASSERT_EQ( fStopped, aThread.IsSuspended() ) << nOrder;
        }
    }
}

TEST( SingleThread, StoppedAtOnceItNeverKeepsItsOwnerOut )
{
    std::atomic<int> nSteps = 0;
    Work aWork(
        [&]( SingleThread* pThread )
        {
            SetLastErr( "BXTOOLS.TEST", 1, 0, "a text that takes memory of its own, always", "", "" );
            CloseHandle( CreateEventA( NULL, FALSE, FALSE, "stopped at once" ) );
            DebugMessage( "TEST", "stopped", "at once" );
            for ( int nStep = 0; nStep < 50; ++nStep, ++nSteps )
            {
                MString aStream;
                pThread->AllErrors2Stream( aStream );
            }
            return true;
        } );
    SingleThread aThread( &aWork );
    ASSERT_TRUE( aThread.Begin() );
    for ( int nRound = 0; nRound < 1000; ++nRound )
    {
        for ( const int nFrom = nSteps; nSteps - nFrom < nRound % 2; )
            Sleep( 0 );
        // Looked at when it goes on: stopped it may hold what a report takes.
        const bool fStopped = aThread.Stop( true, false ) && aThread.IsSuspended() &&
                              aThread.IsValidThread() && !aThread.IsStopRequested();
        ASSERT_TRUE( aThread.Continue() && fStopped );
        if ( nRound % 10 == 0 )
            aThread.ClearErrors();
    }
    EXPECT_TRUE( aThread.Stop( false, false ) && aThread.End( INFINITE, false ) );
}

TEST( SingleThread, ErrorsOfAllCallsAreCollected )
{
    ERR lError = 0;
    Work aWork(
        [&lError]( SingleThread* )
        {
            for ( const ERR lLast = lError + lError % 2 + 1; lError <= lLast; ++lError )
                SetLastErr( "BXTOOLS.TEST", lError, 0, "origin", "", "" );
            return lError < 10;
        } );
    SingleThread aThread( &aWork );
    ASSERT_TRUE( aThread.Begin() );
    ASSERT_TRUE( aThread.Wait( INFINITE, false, false ) );
    const ULONG ulErrors = static_cast<ULONG>( lError );
    ULONG ulCount = 0;
    MString aStream;
    EXPECT_TRUE( aThread.GetAvailableErrorCount( ulCount ) && aThread.AllErrors2Stream( aStream ) );
    EXPECT_EQ( ulErrors, ulCount );
    EXPECT_GT( aWork.m_nCalls, 2 );
    std::string strExpected = "##HDRMSG0";
    for ( ERR lNumber = 0; lNumber < lError; ++lNumber )
        strExpected += "$\xB0"
                       "1.0.0+?+BXTOOLS.TEST+?+" +
                       std::to_string( lNumber ) + "+?+0+?+origin+?++?+";
    EXPECT_EQ( strExpected, aStream.data() );
    const SingleThread aCopy( aThread );
    EXPECT_TRUE( aThread.Begin() && aThread.Wait( INFINITE, false, false ) );
    EXPECT_TRUE( aThread.GetAvailableErrorCount( ulCount ) );
    EXPECT_EQ( 2u, ulCount ) << "a start forgets them";
    EXPECT_TRUE( aThread.End( INFINITE, false ) && aThread.AllErrors2Stream( aStream ) );
    EXPECT_EQ( "", aStream ) << "so does an end";
    EXPECT_TRUE( aCopy.GetAvailableErrorCount( ulCount ) );
    EXPECT_EQ( ulErrors, ulCount );
}

TEST( SingleThread, EndsAsItsWorkDoes )
{
    const auto Exit = []( SingleThread* ) { return ExitThread( 7 ), true; };
    const auto Throw = []( SingleThread* ) -> bool { throw std::runtime_error( "x" ); };
    const Report aThrown = {
        ROUTINE,
        " Error: fRet = pSingleThread->m_pWorkerThreadBase->Execute( pSingleThread ) caused severe exception"
    };
    EXPECT_EQ( 42u, ExitCodeOf( []( SingleThread* ) { return false; }, { { ROUTINE, "Nothing" } } ) );
    EXPECT_EQ( 0u, ExitCodeOf( []( SingleThread* p ) { return p->SetICanRun( false ), true; }, {} ) );
    EXPECT_EQ( 42u, ExitCodeOf( Throw, { aThrown } ) );
    EXPECT_EQ( 7u, ExitCodeOf( Exit, {} ) );

    Work aExits( Exit );
    SingleThread aThread( &aExits );
    aThread.SetICanRun( false );
    EXPECT_TRUE( aThread.Begin() && aThread.Wait( 20000, false, false ) && aThread.CanIRun() );
    EXPECT_EQ( 0, aExits.m_nCalls ) << "it was told before it began";
    for ( int nCalls = 1; nCalls <= 2; ++nCalls )
    {
        EXPECT_TRUE( aThread.Begin() );
        EXPECT_EQ( WAIT_OBJECT_0, WaitForSingleObject( aThread.m_aThreadHDL, 20000 ) );
        EXPECT_EQ( nCalls, aExits.m_nCalls );
    }
}

TEST( SingleThread, ItsOwnThreadIsRefusedWhatItWouldWaitForItselfIn )
{
    int nDone = 0;
    Work aWork(
        [&]( SingleThread* pThread )
        {
            AwaitWaiting( pThread );
            nDone = pThread->Begin() + pThread->Stop( true, false ) + pThread->Stop( false, false ) +
                    pThread->Continue() + pThread->Wait( 0, true, false ) + pThread->End( 0, false );
            return false;
        } );
    SingleThread aThread( &aWork );
    EXPECT_TRUE( aThread.Begin() );
    DebugRecorder aRecorder;
    EXPECT_TRUE( aThread.Wait( INFINITE, false, false ) );
    const std::string strReports = aRecorder.Take();
    const std::regex aRefused( " the thread itself" );
    EXPECT_EQ( 6,
               std::distance( std::sregex_iterator( strReports.begin(), strReports.end(), aRefused ), {} ) )
        << strReports;
    EXPECT_EQ( 0, nDone );
}

TEST( SingleThread, AnEndInsteadOfTheStopIsNoticed )
{
    for ( const bool fExits : { false, true } )
    {
        Work aEnds(
            [&]( SingleThread* )
            {
                if ( fExits && aEnds.m_fStop )
                    ExitThread( 1 );
                return !aEnds.m_fStop;
            } );
        SingleThread aThread( &aEnds );
        for ( int nRound = 0; nRound < 100; ++nRound )
        {
            ASSERT_TRUE( aThread.Begin() );
            ASSERT_TRUE( aThread.Stop( false, nRound % 2 != 0 ) );
            // Or it stood at the safe point before the notification came.
            ASSERT_NE( aThread.IsSuspended(), aThread.IsGoingToDie() );
            ASSERT_EQ( aThread.IsSuspended(), aThread.IsRunning() );
            ASSERT_TRUE( aThread.End( INFINITE, false ) );
        }
    }
}

TEST( SingleThread, AWorkThatNeverReturnsIsEndedByForce )
{
    SKIP_WHERE_FORCED_ENDS_ARE_NOT_FOLLOWED();
    std::atomic<bool> fInside = false;
    Work aWork( [&]( SingleThread* ) { return fInside = true, Sleep( INFINITE ), true; } );
    SingleThread aThread( &aWork, true );
    for ( const bool fEnd : { false, true } )
    {
        fInside = false;
        EXPECT_TRUE( aThread.Begin() );
        while ( !fInside )
            Sleep( 1 );
        EXPECT_TRUE( aThread.Wait( 1, false, false ) && aThread.IsRunning() && !aThread.IsWaiting() );
        const DWORD dwId = aThread.m_aThreadID;
        DebugRecorder aRecorder;
        EXPECT_TRUE( fEnd ? aThread.End( 1, false ) : aThread.Wait( 1, true, true ) );
        EXPECT_TRUE( aRecorder.OnlyReports(
            { { TERMINATE, " Warning: going to terminate thread with ID = " + IdText( dwId ) },
              { TERMINATE, " Info: Thread with ID = " + IdText( dwId ) + " terminated" },
              { CLOSE,
                " Info: Thread with m_aThreadID = " + IdText( dwId, "%#lx" ) + " closed properly" } } ) );
        EXPECT_FALSE( aThread.IsRunning() );
    }
}

TEST( SingleThread, AnOperationWithinAnotherIsLetIn )
{
    Work aWork( GoOn );
    SingleThread aThread( &aWork );
    for ( int nRound = 0; nRound < 100; ++nRound )
    {
        ASSERT_TRUE( aThread.Begin() );
        aWork.m_aOnNotify = [&]( bool )
        {
            aWork.m_aOnNotify = nullptr;
            EXPECT_TRUE( aThread.End( INFINITE, false ) && aThread.Begin() );
        };
        ASSERT_TRUE( aThread.Stop( false, false ) );
        ASSERT_TRUE( aThread.IsRunning() && !aThread.IsSuspended() );
        // Stopped at once on its way to the safe point, or there already.
        aWork.AwaitCalls( 2 );
        aWork.m_aOnNotify = [&]( bool )
        {
            aWork.m_aOnNotify = nullptr;
            aThread.Stop( true, false );
        };
        ASSERT_TRUE( aThread.Stop( false, false ) && aThread.IsSuspended() && aThread.Continue() );
        ASSERT_TRUE( aThread.End( INFINITE, false ) );
    }
}

TEST( SingleThread, WhatCannotBeginIsReported )
{
    Work aWork( GoOn );
    SingleThread aThread( NULL );
    DebugRecorder aRecorder;
    EXPECT_FALSE( aThread.Begin() );
    EXPECT_TRUE( aRecorder.OnlyReport( BEGIN, " Error: m_pWorkerThreadBase == NULL" ) );
    EXPECT_TRUE( aThread.SetContextBase( &aWork ) );
    EXPECT_FALSE( aThread.Wait( 0, false, false ) );
    EXPECT_TRUE( aRecorder.Silent() );
    EXPECT_FALSE( aThread.End( 0, false ) );
    EXPECT_TRUE(
        aRecorder.OnlyReport( END, " Error: !internalWait( dwMilliseconds, fTimeout, fWithMsgLoop )" ) );
    EXPECT_TRUE( aThread.SetThreadCreateFunc( []( SingleThread* ) -> bool { throw 1; } ) );
    EXPECT_FALSE( aThread.Begin() );
    EXPECT_TRUE(
        aRecorder.OnlyReports( { { INIT, " Error: m_aThreadHDL == NULL -> CreateThread(...) failed" },
                                 { BEGIN, " Error: !InitThread()" } } ) );
    const auto ThrowWithThread = []( SingleThread* pThread ) -> bool
    { throw SingleThread::SDKThreadCreateFunc( pThread ); };
    EXPECT_TRUE( aThread.SetThreadCreateFunc( ThrowWithThread ) );
    EXPECT_TRUE( aThread.Begin() );
    EXPECT_TRUE( aRecorder.OnlyReports( { Created( aThread ) } ) );
    EXPECT_TRUE( aThread.End( INFINITE, false ) && aThread.SetThreadCreateFunc( NULL ) );
    aWork.m_aOnNotify = []( bool ) { throw 1; };
    EXPECT_TRUE( aThread.Begin() );
    EXPECT_NE( std::string::npos, aRecorder.Take().find( "Severe error" ) );
    EXPECT_FALSE( aThread.Begin() );
    EXPECT_TRUE( aRecorder.OnlyReports( { { INIT, " Error: IsValidThread() -> a thread is already running" },
                                          { BEGIN, " Error: !InitThread()" } } ) );
    SingleThread aOther( NULL );
    aThread = aOther;
    EXPECT_FALSE( aThread.SetContextBase( NULL ) || aThread.SetThreadCreateFunc( NULL ) );
    EXPECT_FALSE( SingleThread( aThread ).PostMessage( WM_APP, 0, 0 ) );
    EXPECT_TRUE( aOther.SetContextBase( &aWork ) && aThread.IsRunning() );
    aRecorder.Take();
}

TEST( SingleThread, ThousandsLeaveNothingBehind )
{
    // The handle of a new object shows how many there are.
    const auto aPlace = []
    {
        const HANDLE aEvent = CreateEventA( NULL, FALSE, FALSE, NULL );
        CloseHandle( aEvent );
        return reinterpret_cast<ULONG_PTR>( aEvent ) % 0x100000;
    };
    Work aGoesOn( GoOn );
    Work aEnds( []( SingleThread* ) { return false; } );
    const ULONG_PTR uBefore = aPlace();
    for ( int nRound = 0; nRound < 1000; ++nRound )
    {
        SingleThread aThread( &aGoesOn );
        SingleThread aOther( &aEnds );
        ASSERT_TRUE( aThread.Begin() );
        // Stopped at once while it still starts, it could hold the lock of the system's loader, which others need to end.
        if ( nRound % 2 != 0 )
            aGoesOn.AwaitCalls( 1 );
        ASSERT_TRUE( aOther.Begin() && aThread.Stop( nRound % 2 != 0, false ) );
        ASSERT_TRUE( aOther.Wait( nRound % 3 == 0 ? INFINITE : 20000, false, false ) );
        ASSERT_TRUE( nRound % 5 != 0 || aOther.Begin() );
    }
    EXPECT_LT( aPlace(), uBefore + 3000 );
}

TEST( OutOfMemory, WorkersBeginAndStopOrSaySo )
{
    unsigned long nFailing = 1;
    Work aWork( GoOn );
    SingleThread aThread( &aWork );
    const auto aBeginOrStop = [&]( NewFault& rFault )
    {
        const bool fBegun = rFault.During( [&] { return aThread.Begin(); } );
        ASSERT_EQ( fBegun, aThread.IsRunning() );
        ASSERT_EQ( fBegun || aThread.Begin(), true );
        NewFault aStopFault( nFailing++ );
        const bool fStopped = aStopFault.During( [&] { return aThread.Stop( false, true ); } );
        // It may have come to its safe point before the wait for that failed.
        EXPECT_TRUE( aThread.IsSuspended() == aThread.IsStopRequested() &&
                     aThread.IsSuspended() >= fStopped );
        EXPECT_TRUE( aThread.End( INFINITE, true ) );
    };
    EXPECT_GT( ForEachFailingNew( aBeginOrStop ), 0u );
}

TEST( WaitForHandle, LetsMessagesFlowAndEndsAtItsLimit )
{
    const HANDLE aEvent = CreateEventA( NULL, FALSE, FALSE, NULL );
    const HANDLE aMutex = CreateMutexA( NULL, FALSE, NULL );
    DebugRecorder aRecorder;
    DWORD dwResult = 0;
    MSG aMessage;
    PeekMessageA( &aMessage, NULL, 0, 0, PM_NOREMOVE ); // makes the queue
    for ( const BOOL fWithMessageLoop : { FALSE, TRUE } )
    {
        PostThreadMessageA( GetCurrentThreadId(), WM_APP, 0, 0 );
        PostThreadMessageA( GetCurrentThreadId(), WM_QUIT, 0, 0 );
        const DWORD dwStart = GetTickCount();
        EXPECT_TRUE( WaitForHandleSignaled( aEvent, 100, fWithMessageLoop, &dwResult ) );
        EXPECT_EQ( static_cast<DWORD>( WAIT_TIMEOUT ), dwResult );
        EXPECT_GE( GetTickCount() - dwStart, 99u );
        EXPECT_EQ( !fWithMessageLoop, PeekMessageA( &aMessage, NULL, 0, 0, PM_REMOVE ) );
        SetEvent( aEvent );
        EXPECT_TRUE( WaitForHandleSignaled( aEvent, INFINITE, fWithMessageLoop, &dwResult ) );
        EXPECT_EQ( WAIT_OBJECT_0, dwResult );
        EXPECT_TRUE( aRecorder.Silent() );
        EXPECT_FALSE( WaitForHandleSignaled( NULL, 0, fWithMessageLoop, &dwResult ) );
        EXPECT_TRUE( aRecorder.OnlyReport(
            WAIT, " Error: aThreadHDL == NULL || pdwRetValueOnSuccess == NULL -> invalid handle" ) );
        OnOtherThread( [&] { WaitForSingleObject( aMutex, INFINITE ); } );
        EXPECT_EQ( !fWithMessageLoop,
                   WaitForHandleSignaled( aMutex, INFINITE, fWithMessageLoop, &dwResult ) );
        EXPECT_EQ( static_cast<DWORD>( WAIT_ABANDONED ), dwResult );
        ReleaseMutex( aMutex );
    }
    EXPECT_TRUE( aRecorder.OnlyReport(
        WAIT, " Error: dwRet != WAIT_OBJECT_0 + 1 && dwRet != WAIT_TIMEOUT -> Something else happened" ) );
    CloseHandle( aMutex );
    CloseHandle( aEvent );
}
