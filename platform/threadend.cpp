#include "platform/threadend.h"

#include "platform/forkhandlers.h"
#include "platform/locked.h"
#include "platform/module/module.h"
#include "platform/object/bell.h"
#include "platform/object/mutex.h"
#include "platform/stopgate.h"
#include "platform/thread/messagequeue.h"
#include "platform/threadstate.h"
#include "platform/tls.h"

#include <bxtools/platform.h>

#include <atomic>
#include <pthread.h>

namespace
{
enum class KeyState
{
    None,
    Made,
    Closed
};

constinit CRITICAL_SECTION g_aLock{};
constinit std::atomic<KeyState> g_eKey{ KeyState::None };
constinit pthread_key_t g_aKey = 0;
constinit std::atomic<ThreadEndFunc> g_pThreadEnd{ nullptr };
constinit std::atomic<ULONGLONG> g_ullLoadingThread{ 0 };
constinit std::atomic<bool> g_fPinned{ false };

void OnThreadEnd( void* )
{
    // What the function below stores, it stores for the next round.
    t_aThreadState.fEndRequested = FALSE;
    if ( const ThreadEndFunc pThreadEnd = g_pThreadEnd.load( std::memory_order_acquire ) )
        pThreadEnd();
    const StopGate aGate;
    CloseQueueOfThread();
    CloseBellOfThread();
    if ( t_aThreadState.fEndRequested )
        return;
    AbandonMutexesOfThread();
    ReleaseTlsOfThread();
}

bool MakeKey() noexcept
{
    const LockedScope aLocked( g_aLock );
    if ( g_eKey.load( std::memory_order_relaxed ) == KeyState::None &&
         pthread_key_create( &g_aKey, OnThreadEnd ) == 0 )
        g_eKey.store( KeyState::Made, std::memory_order_release );
    return g_eKey.load( std::memory_order_relaxed ) == KeyState::Made;
}

void PinForThread() noexcept
{
    if ( g_fPinned.load( std::memory_order_relaxed ) ||
         GetThreadNumber() == g_ullLoadingThread.load( std::memory_order_relaxed ) )
        return;
    if ( PinCurrentModule() )
        g_fPinned.store( true, std::memory_order_relaxed );
}
} // namespace

BOOL SetThreadEndFunc( ThreadEndFunc pFunc ) noexcept
{
    InstallForkHandlers();
    g_ullLoadingThread.store( GetThreadNumber(), std::memory_order_relaxed );
    if ( !MakeKey() )
    {
        SetLastError( ERROR_NO_SYSTEM_RESOURCES );
        return FALSE;
    }
    g_pThreadEnd.store( pFunc, std::memory_order_release );
    return TRUE;
}

BOOL RequestThreadEnd() noexcept
{
    if ( t_aThreadState.fEndRequested )
        return TRUE;
    if ( g_eKey.load( std::memory_order_acquire ) != KeyState::Made && !MakeKey() )
        return g_eKey.load( std::memory_order_relaxed ) == KeyState::Closed ? TRUE : FALSE;
    PinForThread();
    if ( pthread_setspecific( g_aKey, &t_aThreadState ) != 0 )
        return FALSE;
    t_aThreadState.fEndRequested = TRUE;
    return TRUE;
}

void CloseThreadEnd() noexcept
{
    const LockedScope aLocked( g_aLock );
    if ( g_eKey.exchange( KeyState::Closed, std::memory_order_acq_rel ) == KeyState::Made )
        pthread_key_delete( g_aKey );
    g_pThreadEnd.store( nullptr, std::memory_order_release );
}
