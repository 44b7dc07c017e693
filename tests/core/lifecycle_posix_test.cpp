// What only POSIX threads and processes do to the registry: fork, thread-end handlers that call in late, threads that
// are unwound by force, memory that runs out.
#include "core/dllglobals.h"
#include "core/servedobjects.h"
#include "support/failnew.h"
#include "support/recorder.h"
#include "support/secondprocess.h"
#include "support/threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

constexpr int CHILD_DONE = 5;

// The child of a fork has the forking thread's objects, makes new ones, and ends in the ordinary way.
int UseLibraryInChild( LPVOID pPlain )
{
    if ( GetThreadSpecialObject( &CreatePlain, &DeletePlain ) != pPlain )
        return 1;
    if ( GetThreadSpecialObject( &CreateOtherPlain, &DeletePlain ) == NULL )
        return 2;
    if ( !aGlobalDllObject.OnThreadDETACH() )
        return 3;
    return GetThreadSpecialObject( &CreateOtherPlain, &DeletePlain ) != NULL ? CHILD_DONE : 4;
}

} // namespace

BX_ROLE( fork_among_threads )
{
    const LPVOID pPlain = GetThreadSpecialObject( &CreatePlain, &DeletePlain );
    StartEndlessCallers( 3 );
    for ( int nRound = 0; nRound < 50; ++nRound )
    {
        const pid_t nChild = fork();
        // Some children end the library, too.
        if ( nChild == 0 )
            ( nRound % 10 == 0 ? std::exit : _exit )( UseLibraryInChild( pPlain ) );
        int nStatus = 0;
        if ( waitpid( nChild, &nStatus, 0 ) != nChild || !WIFEXITED( nStatus ) ||
             WEXITSTATUS( nStatus ) != CHILD_DONE )
            return 1;
    }
    return CHILD_DONE;
}

TEST( ThreadObjects, ForkAmongCallingThreadsLeavesAUsableChild )
{
    EXPECT_EQ( CHILD_DONE, RunInRole( "fork_among_threads" ) );
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
    OnOtherThread(
        []
        {
            thread_local CallsInWhenItEnds aLast;
            EXPECT_NE( nullptr, &aLast );
            pthread_setspecific( g_aLateKey, &g_aLateKey );
            GetThreadSpecialObject( &CreateA, &DeleteA );
        } );
    pthread_key_delete( g_aLateKey );
    EXPECT_EQ( 2, g_nLateCalls );
    EXPECT_EQ( lBefore, ServedCount() );
    EXPECT_TRUE( aDebug.Silent() );
}

LPVOID DLL_EXPORT CreateByLeaving()
{
    pthread_exit( NULL );
}

TEST( ThreadObjects, ThreadUnwoundInACreatorHoldsNoLock )
{
    DebugRecorder aDebug;
    const long lBefore = ServedCount();
    const auto Leave = []
    {
        GetThreadSpecialObject( &CreateA, &DeleteA );
        GetThreadSpecialObject( &CreateByLeaving, &DeleteMaybe );
        ADD_FAILURE() << "the thread was to end";
    };
    OnOtherThread( Leave );
    EXPECT_EQ( lBefore, ServedCount() );
    OnOtherThread( [] { EXPECT_NE( nullptr, GetThreadSpecialObject( &CreateB, &DeleteB ) ); } );
    EXPECT_EQ( lBefore, ServedCount() );
    EXPECT_TRUE( aDebug.Silent() );
}

int g_nObject = 0;

LPVOID DLL_EXPORT CreateWithoutMemory()
{
    return &g_nObject;
}

BOOL DLL_EXPORT DeleteWithoutMemory( LPVOID pObject )
{
    return pObject != NULL;
}

TEST( ThreadObjects, EveryFailingAllocationFailsTheRequestAlone )
{
    DLLMainGlobalThreadData aRegistry;
    HookRecorder aHooks;
    ASSERT_TRUE( aRegistry.OnProcessATTACH( &HookRecorder::Debug, NULL ) );
    const auto Get = [&]
    { return aRegistry.GetThreadSpecialObject( &CreateWithoutMemory, &DeleteWithoutMemory ); };
    int nFailed = 0;
    long lBefore = 0;
    const auto GetOnce = [&]( NewFault& rFault )
    {
        const LPVOID pObject = rFault.During( Get );
        // A container may lack its process's name.
        EXPECT_EQ( pObject == NULL, !aHooks.TakeReports().empty() );
        EXPECT_TRUE( pObject != NULL || rFault.Hit() );
        nFailed += pObject == NULL;
        EXPECT_EQ( &g_nObject, Get() );
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
    ForEachFailingNew(
        [&]( NewFault& rFault )
        {
            HookRecorder aHooks;
            DLLMainGlobalThreadData aRegistry;
            const BOOL fAttached = rFault.During(
                [&] {
                    return aRegistry.OnProcessATTACH( &HookRecorder::Debug, LIB_TO_LOAD1, LIB_TO_LOAD1,
                                                      NULL );
                } );
            EXPECT_EQ( fAttached, aHooks.TakeReports().empty() );
            EXPECT_TRUE( fAttached || rFault.Hit() );
            aRegistry.OnProcessDETACH();
        } );
    EXPECT_EQ( lBefore, NewOutstanding() );
}

} // namespace
