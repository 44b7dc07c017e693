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

} // namespace

BX_ROLE( end_while_threads_call )
{
    StartEndlessCallers( 4 );
    if ( Arguments.at( 0 ) == "other" )
    {
        std::thread(
            []()
            {
                GetThreadSpecialObject( &CreatePlain, &DeletePlain );
                std::exit( ROLE_DONE );
            } )
            .join();
    }
    std::exit( ROLE_DONE );
}

TEST( Lifecycle, AnyThreadMayEndTheProcessWhileOthersCallIn )
{
    for ( int nRound = 0; nRound < 10; ++nRound )
        EXPECT_EQ( ROLE_DONE, RunInRole( "end_while_threads_call", { nRound % 2 ? "other" : "main" } ) );
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
