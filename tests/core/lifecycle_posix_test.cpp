// What only POSIX threads and processes do to the registry: fork, thread-end handlers that call in late, threads that
// are unwound by force, memory that runs out.
#include "core/dllglobals.h"
#include "core/servedobjects.h"
#include "support/failnew.h"
#include "support/forked.h"
#include "support/leftovers.h"
#include "support/secondprocess.h"
#include "support/threads.h"

#include <atomic>
#include <cstdlib>
#include <pthread.h>
#include <thread>

namespace
{

// Two pairs without a record, whose lock a lost thread could hold.
template <char cName>
LPVOID CreatePlain()
{
    return new char( cName );
}

BOOL DeletePlain( LPVOID pObject )
{
    delete static_cast<char*>( pObject );
    return TRUE;
}

std::atomic<int> g_nInside{ 0 };

// Makes and destroys objects until the process ends under it.
void CallEndlessly()
{
    for ( ++g_nInside;; aGlobalDllObject.OnThreadDETACH() )
    {
        GetThreadSpecialObject( &CreatePlain<'p'>, &DeletePlain );
        GetThreadSpecialObject( &CreatePlain<'o'>, &DeletePlain );
    }
}

} // namespace

// The children of the fork have the forking thread's objects, make new ones, and end in the ordinary way.
BX_ROLE( fork_among_threads )
{
    const LPVOID pPlain = GetThreadSpecialObject( &CreatePlain<'p'>, &DeletePlain );
    AllowLeftovers();
    for ( int nThread = 0; nThread < 3; ++nThread )
        std::thread( &CallEndlessly ).detach();
    while ( g_nInside < 3 )
        std::this_thread::yield();
    bool fEndLibrary = false;
    const auto UseLibrary = [&]
    {
        const bool fUsable = GetThreadSpecialObject( &CreatePlain<'p'>, &DeletePlain ) == pPlain &&
                             GetThreadSpecialObject( &CreatePlain<'o'>, &DeletePlain ) != NULL &&
                             aGlobalDllObject.OnThreadDETACH() &&
                             GetThreadSpecialObject( &CreatePlain<'o'>, &DeletePlain ) != NULL;
        if ( fEndLibrary )
            std::exit( fUsable ? 0 : 1 );
        return fUsable ? 0 : 1;
    };
    int nFailed = 0;
    for ( int nRound = 0; nRound < 50; ++nRound )
    {
        fEndLibrary = nRound % 10 == 0;
        nFailed += InChild( UseLibrary ) != 0;
    }
    return nFailed;
}

TEST( ThreadObjects, ForkAmongCallingThreadsLeavesAUsableChild )
{
    EXPECT_EQ( 0, RunInRole( "fork_among_threads" ) );
}

namespace
{

pthread_key_t g_aLateKey;
std::atomic<int> g_nLateCalls{ 0 };

void CallInLate( void* )
{
    EXPECT_NE( nullptr, GetThreadSpecialObject( &CreateA, &DeleteA ) );
    EXPECT_NE( nullptr, GetThreadSpecialObject( &CreateB, &DeleteB ) );
    if ( ++g_nLateCalls == 1 )
        pthread_setspecific( g_aLateKey, &g_aLateKey );
}

struct CallsInWhenItEnds
{
    ~CallsInWhenItEnds() { EXPECT_NE( nullptr, GetThreadSpecialObject( &CreateA, &DeleteA ) ); }
};

TEST( ThreadObjects, HandlersThatCallInAtThreadEndFindAFreshStart )
{
    DebugRecorder aDebug;
    // Made after the library's own key, so that its destructor runs behind it.
    ASSERT_EQ( 0, pthread_key_create( &g_aLateKey, &CallInLate ) );
    const long lBefore = ServedCount();
    const auto Use = []
    {
        thread_local CallsInWhenItEnds aLast;
        EXPECT_NE( nullptr, &aLast );
        pthread_setspecific( g_aLateKey, &g_aLateKey );
        GetThreadSpecialObject( &CreateA, &DeleteA );
    };
    OnOtherThread( Use );
    pthread_key_delete( g_aLateKey );
    EXPECT_EQ( 2, g_nLateCalls );
    EXPECT_EQ( lBefore, ServedCount() );
}

TEST( ThreadObjects, ThreadUnwoundInACreatorHoldsNoLock )
{
    DebugRecorder aDebug;
    const long lBefore = ServedCount();
    const auto Leave = []
    {
        GetThreadSpecialObject( &CreateA, &DeleteA );
        GetThreadSpecialObject( []() -> LPVOID { pthread_exit( NULL ); }, &DeleteB );
        ADD_FAILURE() << "the thread was to end";
    };
    OnOtherThread( Leave );
    EXPECT_EQ( lBefore, ServedCount() );
    OnOtherThread( [] { EXPECT_NE( nullptr, GetThreadSpecialObject( &CreateB, &DeleteB ) ); } );
    EXPECT_EQ( lBefore, ServedCount() );
}

TEST( ThreadObjects, EveryFailingAllocationFailsTheRequestAlone )
{
    DLLMainGlobalThreadData aRegistry;
    HookRecorder aHooks;
    ASSERT_TRUE( aRegistry.OnProcessATTACH( &HookRecorder::Debug, NULL ) );
    static int nObject = 0;
    const auto Get = [&]
    {
        return aRegistry.GetThreadSpecialObject( []() -> LPVOID { return &nObject; },
                                                 []( LPVOID ) -> BOOL { return TRUE; } );
    };
    int nFailed = 0;
    long lBefore = 0;
    const auto GetOnce = [&]( NewFault& rFault )
    {
        const LPVOID pObject = rFault.During( Get );
        // A container may lack its process's name.
        EXPECT_EQ( pObject == NULL, !aHooks.TakeReports().empty() );
        EXPECT_TRUE( pObject != NULL || rFault.Hit() );
        nFailed += pObject == NULL;
        EXPECT_EQ( &nObject, Get() );
        EXPECT_TRUE( aRegistry.OnThreadDETACH() );
        EXPECT_EQ( lBefore, NewOutstanding() );
    };
    const auto Run = [&]
    {
        // What the thread itself needs once, it has from here on.
        Get();
        aRegistry.OnThreadDETACH();
        lBefore = NewOutstanding();
        ForEachFailingNew( GetOnce );
    };
    OnOtherThread( Run );
    EXPECT_LE( 4, nFailed );
    EXPECT_TRUE( aRegistry.OnProcessDETACH() );
}

TEST( ThreadObjects, AttachWithoutMemoryFailsAndLosesNothing )
{
    const long lBefore = NewOutstanding();
    const auto AttachOnce = []( NewFault& rFault )
    {
        HookRecorder aHooks;
        DLLMainGlobalThreadData aRegistry;
        const auto Attach = [&]
        { return aRegistry.OnProcessATTACH( &HookRecorder::Debug, LIB_TO_LOAD1, LIB_TO_LOAD1, NULL ); };
        const BOOL fAttached = rFault.During( Attach );
        EXPECT_EQ( fAttached, aHooks.TakeReports().empty() );
        EXPECT_TRUE( fAttached || rFault.Hit() );
        aRegistry.OnProcessDETACH();
        aHooks.TakeReports();
    };
    ForEachFailingNew( AttachOnce );
    EXPECT_EQ( lBefore, NewOutstanding() );
}

} // namespace
