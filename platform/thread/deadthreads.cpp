#include "platform/thread/deadthreads.h"

#include "platform/nocancellation.h"
#include "platform/object/bell.h"
#include "platform/object/mutex.h"
#include "platform/stopgate.h"
#include "platform/thread/messagequeue.h"
#include "platform/thread/threadobject.h"
#include "platform/tls.h"

#include <bxtools/platform.h>

#include <atomic>
#include <pthread.h>
#include <utility>

namespace
{
constinit std::atomic<ThreadObject*> g_pFirst{ nullptr };
} // namespace

void DeadThreads::Add( ThreadObject& rThread ) noexcept
{
    rThread.m_pNextDead = g_pFirst;
    while ( !g_pFirst.compare_exchange_weak( rThread.m_pNextDead, &rThread ) )
    {
    }
}

// The stack is there until the thread is joined, and with it what its last call holds. Its memory for thread-local slots goes to
// later threads, what the slots pointed to stays: nobody may destroy that but the thread itself.
void DeadThreads::Bury( ThreadObject& rThread ) noexcept
{
    const ThreadState& rLeft = rThread.m_aLeft;
    for ( Holding* pHolding = rLeft.pHoldings; pHolding != nullptr; )
        std::exchange( pHolding, pHolding->GetNext() )->GiveBack();
    CloseBellOf( rLeft.pBell );
    CloseQueueOf( rLeft.pQueue );
    KeepTlsBlock( rLeft.pTlsBlock );
    pthread_join( rThread.m_aThread, nullptr );
    DestroyMutexes( rThread.m_pLastMutexes );
    rThread.Release();
}

void DeadThreads::Bury() noexcept
{
    if ( g_pFirst.load( std::memory_order_relaxed ) == nullptr )
        return;
    const StopGate aGate;
    const NoCancellation aNoCancellation;
    const DWORD dwSavedError = GetLastError();
    for ( ThreadObject* pThread = g_pFirst.exchange( nullptr ); pThread != nullptr; )
        Bury( *std::exchange( pThread, pThread->m_pNextDead ) );
    SetLastError( dwSavedError );
}

void DeadThreads::ForgetInChild() noexcept
{
    for ( ThreadObject* pThread = g_pFirst.exchange( nullptr ); pThread != nullptr; )
        std::exchange( pThread, pThread->m_pNextDead )->Release();
}
