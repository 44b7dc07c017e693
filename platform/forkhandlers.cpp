#include "platform/forkhandlers.h"

#include "platform/file/fileobject.h"
#include "platform/module/loadergate.h"
#include "platform/module/module.h"
#include "platform/object/bell.h"
#include "platform/object/handletable.h"
#include "platform/object/mutex.h"
#include "platform/object/namedobjects.h"
#include "platform/object/processslots.h"
#include "platform/object/viewtable.h"
#include "platform/profile/inicache.h"
#include "platform/profile/inisave.h"
#include "platform/registry/regkey.h"
#include "platform/stopgate.h"
#include "platform/thread/deadthreads.h"
#include "platform/thread/messagequeue.h"
#include "platform/thread/threadobject.h"
#include "platform/threadstate.h"
#include "platform/tls.h"
#include "platform/window/windowsystem.h"

#include <atomic>
#include <iterator>
#include <pthread.h>

namespace
{
struct ForkHandlers
{
    ForkFunc pPrepare;
    ForkFunc pParent;
    ForkFunc pChild;
};

// Outermost lock first.
constexpr ForkHandlers g_aFamilies[] = {
    { CloseLoaderGate, OpenLoaderGate, OpenLoaderGateInChild },
    { LockModules, UnlockModules, UnlockModules },
    { HoldFileOpenings, ResumeFileOpenings, ResumeFileOpeningsInChild },
    { LockHandleTable, UnlockHandleTable, ResetHandleTableInChild },
    { LockNamedObjects, UnlockNamedObjects, ResetNamedObjectsInChild },
    { LockProcessSlots, UnlockProcessSlots, ResetProcessSlotsInChild },
    { LockViews, UnlockViews, UnlockViews },
    { LockTls, UnlockTls, ResetTlsInChild },
    { LockQueues, UnlockQueues, ResetQueuesInChild },
    { LockBells, UnlockBells, ResetBellsInChild },
    { LockRegStores, UnlockRegStores, ResetRegistryInChild },
    { LockIniSaves, UnlockIniSaves, ResetIniSavesInChild },
    { LockIniCache, UnlockIniCache, UnlockIniCache },
};

constinit std::atomic<ForkFunc> g_pLibraryPrepare{ nullptr };
constinit std::atomic<ForkFunc> g_pLibraryParent{ nullptr };
constinit std::atomic<ForkFunc> g_pLibraryChild{ nullptr };

constinit pthread_once_t g_aInstalled = PTHREAD_ONCE_INIT;

void Call( const std::atomic<ForkFunc>& rFunc )
{
    if ( const ForkFunc pFunc = rFunc.load( std::memory_order_acquire ) )
        pFunc();
}

void OnPrepare()
{
    RaiseStopGate();
    Call( g_pLibraryPrepare );
    for ( const ForkHandlers& rFamily : g_aFamilies )
        rFamily.pPrepare();
}

void OnParent()
{
    for ( auto pFamily = std::rbegin( g_aFamilies ); pFamily != std::rend( g_aFamilies ); ++pFamily )
        pFamily->pParent();
    Call( g_pLibraryParent );
    LowerStopGate();
}

void OnChild()
{
    ResetThreadStateInChild();
    ForgetMutexesInChild();
    LeaveWindowsToParent();
    for ( auto pFamily = std::rbegin( g_aFamilies ); pFamily != std::rend( g_aFamilies ); ++pFamily )
        pFamily->pChild();
    Call( g_pLibraryChild );
    DeadThreads::ForgetInChild();
    if ( ThreadObject* const pThread = ThreadObject::OfThread() )
        pThread->ForgetStops();
    LowerStopGate();
}

void Install()
{
    pthread_atfork( OnPrepare, OnParent, OnChild );
}
} // namespace

void InstallForkHandlers() noexcept
{
    const StopGate aGate;
    pthread_once( &g_aInstalled, Install );
}

void SetLibraryForkHandlers( ForkFunc pPrepare, ForkFunc pParent, ForkFunc pChild ) noexcept
{
    InstallForkHandlers();
    g_pLibraryPrepare.store( pPrepare, std::memory_order_release );
    g_pLibraryParent.store( pParent, std::memory_order_release );
    g_pLibraryChild.store( pChild, std::memory_order_release );
}
