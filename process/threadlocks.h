// The two locks of a worker thread, and how its owners use its handles without them.
#pragma once

#include "core/guards.h"
#include "core/threadstop.h"

#include <bxtools/platform.h>
#include <bxtools/thread.h>

// Holds the state lock: for moments, so that a thread that is stopped at once does not keep it.
class SingleThread::StateGuard
{
public:
    explicit StateGuard( const SingleThread& rThread ) noexcept : m_rLock( rThread.m_aStateLock )
    {
        DeferThreadStop();
        EnterCriticalSection( &m_rLock );
    }
    ~StateGuard()
    {
        LeaveCriticalSection( &m_rLock );
        AllowThreadStop();
    }
    StateGuard( const StateGuard& ) = delete;
    StateGuard& operator=( const StateGuard& ) = delete;

private:
    CRITICAL_SECTION& m_rLock;
};

// Holds the call lock, through waits as well.
class SingleThread::CallGuard
{
public:
    explicit CallGuard( const SingleThread& rThread ) noexcept : m_rLock( rThread.m_aCallLock )
    {
        EnterCriticalSection( &m_rLock );
    }
    ~CallGuard() { LeaveCriticalSection( &m_rLock ); }
    CallGuard( const CallGuard& ) = delete;
    CallGuard& operator=( const CallGuard& ) = delete;

private:
    CRITICAL_SECTION& m_rLock;
};

// One of the object's handles, in use without the state lock. Whoever closes it meanwhile (the thread at its end, a message
// handler that calls End) leaves that to the borrower. On the stack, under the call lock: the last one goes first.
class SingleThread::BorrowedHandle
{
public:
    explicit BorrowedHandle( SingleThread& rThread ) noexcept : m_rThread( rThread ) {}
    ~BorrowedHandle()
    {
        if ( m_aHandle == NULL )
            return;
        const StateGuard aState( m_rThread );
        m_rThread.m_pBorrowedHandles = m_pOuter;
        if ( !m_fClose || m_rThread.LeaveToBorrower( m_aHandle ) )
            return;
        const LastErrorGuard aLastError;
        CloseHandle( m_aHandle );
    }
    BorrowedHandle( const BorrowedHandle& ) = delete;
    BorrowedHandle& operator=( const BorrowedHandle& ) = delete;

    // Once, under the state lock; another one may be taken before.
    void Take( HANDLE aHandle ) noexcept
    {
        m_aHandle = aHandle;
        m_pOuter = m_rThread.m_pBorrowedHandles;
        m_rThread.m_pBorrowedHandles = this;
    }
    HANDLE Get() const noexcept { return m_aHandle; }

private:
    friend bool SingleThread::LeaveToBorrower( HANDLE aHandle );

    SingleThread& m_rThread;
    HANDLE m_aHandle = NULL;
    bool m_fClose = false;
    BorrowedHandle* m_pOuter = NULL;
};
