#include "core/dllglobals.h"
#include "core/servedobjects.h"
#include "support/leftovers.h"
#include "support/recorder.h"
#include "support/secondprocess.h"
#include "support/threads.h"

#include <bxtools/lifecycle.h>

#include <gtest/gtest.h>

#include <atomic>

namespace
{

constexpr int ROLE_DONE = 7;

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
        { NO_SLOT,
          NO_CONTAINER,
          { "From LPVOID GetThreadSpecialObject( CreateThreadElemFuc pCreateFunc, DeleteThreadElemFuc pDeleteFunc )",
            " Error: ( lValue = aGlobalDllObject.GetThreadSpecialObject( pCreateFunc, pDeleteFunc ) ) == 0" } } ) );
    // Threads that come and go now get nothing, and their end is no failure.
    OnOtherThread( [] { EXPECT_EQ( nullptr, GetThreadSpecialObject( &CreateA, &DeleteA ) ); } );
    aDebug.Take();
    OnOtherThread( [] {} );
    EXPECT_TRUE( aDebug.Silent() );
    return ::testing::Test::HasFailure() ? 1 : ROLE_DONE;
}

std::atomic<int> g_nLastCalls{ 0 };

BOOL DLL_EXPORT DeleteAndEnd( LPVOID pObject )
{
    g_nLastCalls += LastFuntionCall();
    return DeleteA( pObject );
}

BX_ROLE( last_calls_at_once )
{
    AllowLeftovers();
    GetThreadSpecialObject( &CreateA, &DeleteAndEnd );
    const auto UseAndEnd = []
    {
        GetThreadSpecialObject( &CreateA, &DeleteAndEnd );
        g_nLastCalls += LastFuntionCall();
    };
    OnThreads( 4, UseAndEnd );
    // One of them did the work, and its deleter asked once more.
    return g_nLastCalls == 5 ? ROLE_DONE : g_nLastCalls.load();
}

TEST( Lifecycle, OneLastCallDoesTheWorkAndLaterRequestsFailCleanly )
{
    for ( const char* pRole : { "last_function_call", "last_calls_at_once" } )
        EXPECT_EQ( ROLE_DONE, RunInRole( pRole ) ) << pRole;
}

} // namespace
