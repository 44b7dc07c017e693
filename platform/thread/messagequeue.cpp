#include "platform/thread/messagequeue.h"

#include "platform/forkhandlers.h"
#include "platform/futex.h"
#include "platform/locked.h"
#include "platform/threadend.h"
#include "platform/threadstate.h"

#include <bxtools/platform.h>

#include <array>
#include <memory>
#include <new>
#include <utility>

namespace
{
constexpr size_t MOST_MESSAGES = 10000;
constexpr DWORD INPUT_OF_POSTS = QS_POSTMESSAGE | QS_ALLPOSTMESSAGE;

constinit CRITICAL_SECTION g_aLock{};
} // namespace

// All queues, by their threads' numbers. With the lock.
class QueueRegister
{
public:
    static void Add( MessageQueue& rQueue ) noexcept
    {
        rQueue.m_pNext = std::exchange( First( rQueue.m_dwThreadId ), &rQueue );
    }

    static void Remove( const MessageQueue& rQueue ) noexcept
    {
        MessageQueue** ppLink = &First( rQueue.m_dwThreadId );
        while ( *ppLink != &rQueue )
            ppLink = &( *ppLink )->m_pNext;
        *ppLink = rQueue.m_pNext;
    }

    static MessageQueue* Find( DWORD dwThreadId ) noexcept
    {
        MessageQueue* pQueue = First( dwThreadId );
        while ( pQueue != nullptr && pQueue->m_dwThreadId != dwThreadId )
            pQueue = pQueue->m_pNext;
        return pQueue;
    }

    static void DestroyAll() noexcept
    {
        for ( MessageQueue*& rpFirst : m_apFirst )
        {
            while ( MessageQueue* const pQueue = rpFirst )
            {
                rpFirst = pQueue->m_pNext;
                pQueue->Release();
            }
        }
    }

private:
    static MessageQueue*& First( DWORD dwThreadId ) noexcept
    {
        return m_apFirst[dwThreadId % m_apFirst.size()];
    }

    static inline constinit std::array<MessageQueue*, 64> m_apFirst{};
};

MessageQueue* MessageQueue::OfThread() noexcept
{
    MessageQueue*& rpQueue = t_aThreadState.pQueue;
    if ( rpQueue != nullptr )
        return rpQueue;
    const StopGate aGate;
    InstallForkHandlers();
    MessageQueue* const pQueue = new ( std::nothrow ) MessageQueue( GetCurrentThreadId() );
    if ( pQueue == nullptr || !RequestThreadEnd() )
    {
        if ( pQueue != nullptr )
            pQueue->Release();
        SetLastError( ERROR_NOT_ENOUGH_MEMORY );
        return nullptr;
    }
    const LockedScope aLocked( g_aLock );
    QueueRegister::Add( *pQueue );
    rpQueue = pQueue;
    return pQueue;
}

MessageQueue::~MessageQueue()
{
    while ( m_pFirst != nullptr )
        delete std::exchange( m_pFirst, m_pFirst->pNext );
}

DWORD MessageQueue::Append( Item* pItem ) noexcept
{
    if ( m_nItems == MOST_MESSAGES )
        return ERROR_NOT_ENOUGH_QUOTA;
    ( m_pLast != nullptr ? m_pLast->pNext : m_pFirst ) = pItem;
    m_pLast = pItem;
    ++m_nItems;
    m_dwNewInput |= INPUT_OF_POSTS;
    ++m_uPosts;
    FutexWakeAll( m_uPosts, false );
    m_aBells.RingAll();
    return ERROR_SUCCESS;
}

DWORD MessageQueue::Post( DWORD dwThreadId, UINT uMessage, WPARAM wParam, LPARAM lParam ) noexcept
{
    const StopGate aGate;
    const MSG aMessage{ nullptr, uMessage, wParam, lParam, GetTickCount(), {} };
    std::unique_ptr<Item> pItem( new ( std::nothrow ) Item{ aMessage, nullptr } );
    if ( pItem == nullptr )
        return ERROR_NOT_ENOUGH_MEMORY;
    const LockedScope aLocked( g_aLock );
    MessageQueue* const pQueue = QueueRegister::Find( dwThreadId );
    const DWORD dwError =
        pQueue != nullptr ? pQueue->Append( pItem.get() ) : DWORD{ ERROR_INVALID_THREAD_ID };
    if ( dwError == ERROR_SUCCESS )
        pItem.release();
    return dwError;
}

bool MessageQueue::Find( MSG& rMessage, UINT uFirst, UINT uLast, bool fRemove ) noexcept
{
    const bool fAll = uFirst == 0 && uLast == 0;
    const StopGate aGate;
    std::unique_ptr<Item> pRemoved;
    const LockedScope aLocked( g_aLock );
    m_dwNewInput &= ~( fAll ? INPUT_OF_POSTS : QS_POSTMESSAGE );
    Item* pBefore = nullptr;
    Item* pItem = m_pFirst;
    while ( pItem != nullptr && !fAll &&
            ( pItem->aMessage.message < uFirst || pItem->aMessage.message > uLast ) )
        pItem = ( pBefore = pItem )->pNext;
    if ( pItem == nullptr )
        return false;
    rMessage = pItem->aMessage;
    if ( !fRemove )
        return true;
    pRemoved.reset( pItem );
    ( pBefore != nullptr ? pBefore->pNext : m_pFirst ) = pItem->pNext;
    if ( m_pLast == pItem )
        m_pLast = pBefore;
    --m_nItems;
    return true;
}

void MessageQueue::AwaitPost( uint32_t uPosts, const WaitLimit& rLimit ) noexcept
{
    const SleepWindow aWindow;
    FutexWaitUntil( m_uPosts, uPosts, rLimit.IsInfinite() ? nullptr : &rLimit.GetPoint(), false );
}

Taking MessageQueue::TryTake() noexcept
{
    return ( m_dwNewInput & m_dwWakeMask ) != 0 ? Taking::Taken : Taking::NotReady;
}

Taking MessageQueue::WaitAndTake( const WaitLimit& rLimit ) noexcept
{
    for ( ;; )
    {
        const uint32_t uPosts = GetPosts();
        const Taking eTaking = TryTake();
        if ( eTaking != Taking::NotReady || rLimit.IsOver() )
            return eTaking;
        AwaitPost( uPosts, rLimit );
    }
}

void CloseQueueOf( MessageQueue* pQueue ) noexcept
{
    if ( pQueue == nullptr )
        return;
    {
        const LockedScope aLocked( g_aLock );
        QueueRegister::Remove( *pQueue );
    }
    pQueue->Release();
}

void CloseQueueOfThread() noexcept
{
    CloseQueueOf( std::exchange( t_aThreadState.pQueue, nullptr ) );
}

void LockQueues()
{
    EnterCriticalSection( &g_aLock );
}

void UnlockQueues()
{
    LeaveCriticalSection( &g_aLock );
}

void ResetQueuesInChild()
{
    QueueRegister::DestroyAll();
    t_aThreadState.pQueue = nullptr;
    UnlockQueues();
}
