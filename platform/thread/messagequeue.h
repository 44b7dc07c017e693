// The messages that were posted to a thread.
//
// A queue is its thread's own: it alone looks into it and waits for it. Others find it by the thread's number, and touch it
// only with the lock that guards all queues.
#pragma once

#include "platform/object/bell.h"
#include "platform/object/waitable.h"

#include <atomic>
#include <cstdint>

class MessageQueue final : public WaitableObject
{
public:
    // The calling thread's, made now if there is none. Null: the last error says why.
    static MessageQueue* OfThread() noexcept;

    // By any thread. 0 or the error: 1444 the thread has no queue, 1816 it is full, 8.
    static DWORD Post( DWORD dwThreadId, UINT uMessage, WPARAM wParam, LPARAM lParam ) noexcept;

    // What follows is the thread's own.
    //
    // The oldest message of a range, 0 and 0 for all. What stays in the queue is no longer new.
    bool Find( MSG& rMessage, UINT uFirst, UINT uLast, bool fRemove ) noexcept;
    // Sleeps until a message is posted after uPosts were.
    uint32_t GetPosts() const noexcept { return m_uPosts; }
    void AwaitPost( uint32_t uPosts, const WaitLimit& rLimit ) noexcept;

    // What the next waits count as input; a queue is ready while there is new input.
    void SetWakeMask( DWORD dwMask ) noexcept { m_dwWakeMask = dwMask; }
    Taking TryTake() noexcept override;
    void PutBack( Taking ) noexcept override {}
    Taking WaitAndTake( const WaitLimit& rLimit ) noexcept override;
    bool AddBell( Bell& rBell ) noexcept override { return m_aBells.Add( rBell ); }
    void RemoveBell( Bell& rBell ) noexcept override { m_aBells.Remove( rBell ); }
    void AbandonInChild() noexcept override {}

private:
    friend class QueueRegister;

    struct Item
    {
        MSG aMessage;
        Item* pNext;
    };

    explicit MessageQueue( DWORD dwThreadId ) noexcept
        : WaitableObject( KIND_MESSAGE_QUEUE ),
          m_dwThreadId( dwThreadId )
    {
    }
    ~MessageQueue() override;
    DWORD Append( Item* pItem ) noexcept;

    const DWORD m_dwThreadId;
    MessageQueue* m_pNext = nullptr;
    Item* m_pFirst = nullptr;
    Item* m_pLast = nullptr;
    size_t m_nItems = 0;
    DWORD m_dwWakeMask = 0;
    std::atomic<DWORD> m_dwNewInput{ 0 };
    std::atomic<uint32_t> m_uPosts{ 0 }; // slept on
    LocalBells m_aBells;
};

// At the end of each thread.
void CloseQueueOfThread() noexcept;
// Of a thread that was ended by force; null is fine.
void CloseQueueOf( MessageQueue* pQueue ) noexcept;

// Fork handlers. In the child no thread has a queue.
void LockQueues();
void UnlockQueues();
void ResetQueuesInChild();
