#include "platform/threadstate.h"

#include "platform/forkhandlers.h"

#include <bxtools/platform.h>

#include <unistd.h>

constinit thread_local ThreadState t_aThreadState{};

namespace
{
constinit std::atomic<ULONGLONG> g_ullLastNumber{ 0 };

// Set in fork children only: numbers up to this one belong to threads of the parent ...
constinit std::atomic<ULONGLONG> g_ullLostUpTo{ 0 };
// ... but for this one, whose thread called fork.
constinit std::atomic<ULONGLONG> g_ullSurvivor{ 0 };

constinit std::atomic<DWORD> g_dwProcessId{ 0 };
} // namespace

ULONGLONG MakeThreadNumber() noexcept
{
    InstallForkHandlers();
    t_aThreadState.ullNumber = g_ullLastNumber.fetch_add( 1, std::memory_order_relaxed ) + 1;
    return t_aThreadState.ullNumber;
}

bool WasLostInFork( ULONGLONG ullNumber ) noexcept
{
    return ullNumber <= g_ullLostUpTo.load( std::memory_order_relaxed ) &&
           ullNumber != g_ullSurvivor.load( std::memory_order_relaxed );
}

void ResetThreadStateInChild() noexcept
{
    g_ullSurvivor.store( t_aThreadState.ullNumber, std::memory_order_relaxed );
    g_ullLostUpTo.store( g_ullLastNumber.load( std::memory_order_relaxed ), std::memory_order_relaxed );
    g_dwProcessId.store( 0, std::memory_order_relaxed );
    t_aThreadState.dwThreadId = 0;
}

DWORD GetCurrentThreadId()
{
    DWORD dwThreadId = t_aThreadState.dwThreadId;
    if ( dwThreadId == 0 )
    {
        InstallForkHandlers();
        dwThreadId = static_cast<DWORD>( gettid() );
        t_aThreadState.dwThreadId = dwThreadId;
    }
    return dwThreadId;
}

DWORD GetCurrentProcessId()
{
    DWORD dwProcessId = g_dwProcessId.load( std::memory_order_relaxed );
    if ( dwProcessId == 0 )
    {
        InstallForkHandlers();
        dwProcessId = static_cast<DWORD>( getpid() );
        g_dwProcessId.store( dwProcessId, std::memory_order_relaxed );
    }
    return dwProcessId;
}
