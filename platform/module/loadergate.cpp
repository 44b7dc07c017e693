#include "platform/module/loadergate.h"

#include "platform/futex.h"
#include "platform/locked.h"
#include "platform/stopgate.h"
#include "platform/threadstate.h"

#include <bxtools/platform.h>

#include <pthread.h>

namespace
{
constexpr DWORD LONGEST_WAIT_OF_FORK = 1000; // milliseconds

// Held to go in, and by a fork.
constinit CRITICAL_SECTION g_aDoor{};
// Threads inside; a fork sleeps on it.
constinit uint32_t g_uInside = 0;

// The forking thread itself may be inside: a constructor that forks.
uint32_t CountOwn() noexcept
{
    return t_aThreadState.dwLoaderDepth > 0 ? 1 : 0;
}

void WaitUntilOthersAreOut() noexcept
{
    const ULONGLONG ullEnd = GetMonotonicMilliseconds() + LONGEST_WAIT_OF_FORK;
    for ( ;; )
    {
        const uint32_t uInside = __atomic_load_n( &g_uInside, __ATOMIC_ACQUIRE );
        const ULONGLONG ullNow = GetMonotonicMilliseconds();
        if ( uInside <= CountOwn() || ullNow >= ullEnd )
            return;
        FutexWait( &g_uInside, uInside, static_cast<DWORD>( ullEnd - ullNow ) );
    }
}
} // namespace

LoaderCall::LoaderCall() noexcept : m_nCancelStateBefore( PTHREAD_CANCEL_ENABLE )
{
    RaiseStopGate();
    pthread_setcancelstate( PTHREAD_CANCEL_DISABLE, &m_nCancelStateBefore );
    if ( t_aThreadState.dwLoaderDepth++ > 0 )
        return;
    const LockedScope aLocked( g_aDoor );
    __atomic_fetch_add( &g_uInside, 1, __ATOMIC_RELAXED );
}

LoaderCall::~LoaderCall()
{
    if ( --t_aThreadState.dwLoaderDepth == 0 )
    {
        __atomic_fetch_sub( &g_uInside, 1, __ATOMIC_RELEASE );
        FutexWake( &g_uInside, 1 );
    }
    pthread_setcancelstate( m_nCancelStateBefore, nullptr );
    LowerStopGate();
}

void CloseLoaderGate()
{
    EnterCriticalSection( &g_aDoor );
    WaitUntilOthersAreOut();
}

void OpenLoaderGate()
{
    LeaveCriticalSection( &g_aDoor );
}

void OpenLoaderGateInChild()
{
    g_uInside = CountOwn();
    OpenLoaderGate();
}
