#include "core/dllglobals.h"
#include "core/servedobjects.h"
#include "support/leftovers.h"
#include "support/recorder.h"
#include "support/secondprocess.h"

#include <bxtools/lifecycle.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <thread>
#include <vector>

namespace
{

constexpr int ROLE_DONE = 7;

// Threads that make and destroy their objects until the process ends under them.
void StartEndlessCallers( int nThreads )
{
    AllowLeftovers();
    static std::atomic<int> nInside{ 0 };
    for ( int nThread = 0; nThread < nThreads; ++nThread )
    {
        std::thread(
            []()
            {
                GetThreadSpecialObject( &CreatePlain, &DeletePlain );
                ++nInside;
                for ( ;; )
                {
                    GetThreadSpecialObject( &CreatePlain, &DeletePlain );
                    GetThreadSpecialObject( &CreateOtherPlain, &DeletePlain );
                    aGlobalDllObject.OnThreadDETACH();
                }
            } )
            .detach();
    }
    while ( nInside < nThreads )
        std::this_thread::yield();
}

} // namespace

BX_ROLE( exit_while_threads_call )
{
    StartEndlessCallers( 4 );
    std::exit( ROLE_DONE );
}

TEST( Lifecycle, ProcessEndsWhileThreadsCallIn )
{
    for ( int nRound = 0; nRound < 10; ++nRound )
        EXPECT_EQ( ROLE_DONE, RunInRole( "exit_while_threads_call" ) );
}

BX_ROLE( thread_ends_the_process )
{
    StartEndlessCallers( 2 );
    std::thread(
        []()
        {
            GetThreadSpecialObject( &CreatePlain, &DeletePlain );
            std::exit( ROLE_DONE );
        } )
        .join();
    return 0;
}

TEST( Lifecycle, AnyThreadMayEndTheProcess )
{
    EXPECT_EQ( ROLE_DONE, RunInRole( "thread_ends_the_process" ) );
}

BX_ROLE( last_function_call )
{
    DebugRecorder aDebug;
    GetThreadSpecialObject( &CreateA, &DeleteA );
    GetThreadSpecialObject( &CreateB, &DeleteB );
    TakeServed();
    EXPECT_TRUE( LastFuntionCall() );
    EXPECT_EQ( ( std::vector<std::string>{ "-a", "-b" } ), TakeServed() );
    EXPECT_TRUE( LastFuntionCall() );
    EXPECT_TRUE( aDebug.Silent() );
    EXPECT_EQ( nullptr, GetThreadSpecialObject( &CreateA, &DeleteA ) );
    EXPECT_TRUE( aDebug.OnlyReports(
        { { "From CThreadGlobalObjectInterface* DLLMainGlobalThreadData::internalGetThreadGlobalObject()",
            " Error: !CheckTLS( m_dwTlsGlobalOffset )" },
          { "From LPVOID DLLMainGlobalThreadData::GetThreadSpecialObject( CreateThreadElemFuc pCreateFunc, DeleteThreadElemFuc pDeleteFunc )",
            " Error: ( pThreadGlobalObject = internalGetThreadGlobalObject() ) == NULL" },
          { "From LPVOID GetThreadSpecialObject( CreateThreadElemFuc pCreateFunc, DeleteThreadElemFuc pDeleteFunc )",
            " Error: ( lValue = aGlobalDllObject.GetThreadSpecialObject( pCreateFunc, pDeleteFunc ) ) == 0" } } ) );
    // Threads that come and go now get nothing, and their end is no failure.
    std::thread( []() { EXPECT_EQ( nullptr, GetThreadSpecialObject( &CreateA, &DeleteA ) ); } ).join();
    aDebug.Take();
    std::thread( []() {} ).join();
    EXPECT_TRUE( aDebug.Silent() );
    return ::testing::Test::HasFailure() ? 1 : ROLE_DONE;
}

TEST( Lifecycle, AfterTheLastCallRequestsFailCleanly )
{
    EXPECT_EQ( ROLE_DONE, RunInRole( "last_function_call" ) );
}

namespace
{

std::atomic<int> g_nLastCalls{ 0 };

BOOL DLL_EXPORT DeleteAndEnd( LPVOID pObject )
{
    g_nLastCalls += LastFuntionCall();
    return DeleteA( pObject );
}

} // namespace

BX_ROLE( last_calls_at_once )
{
    AllowLeftovers();
    GetThreadSpecialObject( &CreateA, &DeleteAndEnd );
    std::vector<std::thread> aThreads;
    for ( int nThread = 0; nThread < 4; ++nThread )
    {
        aThreads.emplace_back(
            []()
            {
                GetThreadSpecialObject( &CreateA, &DeleteAndEnd );
                g_nLastCalls += LastFuntionCall();
            } );
    }
    for ( std::thread& rThread : aThreads )
        rThread.join();
    // One of them did the work, and its deleter asked once more.
    return g_nLastCalls == 5 ? ROLE_DONE : g_nLastCalls.load();
}

TEST( Lifecycle, OneOfSeveralLastCallsDoesTheWork )
{
    EXPECT_EQ( ROLE_DONE, RunInRole( "last_calls_at_once" ) );
}
