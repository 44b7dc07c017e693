// When others may stop a thread, that is suspend it or end it by force.
//
// SuspendThread and TerminateThread send a signal, whose handler stops the thread where it is (see thread/threadstop.h). Not
// while the thread is inside this library and holds a lock, or has something half changed: a gate is raised then, the handler
// only leaves a note, and the thread stops when it lowers its last gate. The depth is the thread's own, no atomic: the only
// other reader is its own signal handler.
//
// A call that sleeps would keep others waiting for long. It opens a window around the one system call in which it sleeps, where the
// handler may stop the thread although gates are raised. What the call holds while it sleeps is chained up, so that it can be given
// back from outside when the thread is ended there.
#pragma once

#include "platform/threadstate.h"

#include <atomic>
#include <pthread.h>

// Stops the calling thread if it was asked to. At its last gate, and where a window opens.
void StopAtGate() noexcept;
void StopAtWindow() noexcept;

inline void RaiseStopGate() noexcept
{
    ++t_aThreadState.dwGateDepth;
    std::atomic_signal_fence( std::memory_order_seq_cst );
}

inline void LowerStopGate() noexcept
{
    std::atomic_signal_fence( std::memory_order_seq_cst );
    const DWORD dwDepth = --t_aThreadState.dwGateDepth;
    std::atomic_signal_fence( std::memory_order_seq_cst );
    if ( dwDepth == 0 && t_aThreadState.fStopNoted ) [[unlikely]]
        StopAtGate();
}

// A raised gate for a scope. Stands before what it protects.
class StopGate
{
public:
    StopGate() noexcept { RaiseStopGate(); }
    ~StopGate() { LowerStopGate(); }
    StopGate( const StopGate& ) = delete;
    StopGate& operator=( const StopGate& ) = delete;
};

// Something on the stack of a call that may sleep. Destroyed in the opposite order, as locals are.
class Holding
{
public:
    Holding( const Holding& ) = delete;
    Holding& operator=( const Holding& ) = delete;

    // For a thread that was ended: on another thread, while the stack of the ended one is still there. Does what the
    // destructor would have done.
    virtual void GiveBack() noexcept = 0;
    Holding* GetNext() const noexcept { return m_pNext; }

protected:
    Holding() noexcept
    {
        m_pNext = t_aThreadState.pHoldings;
        t_aThreadState.pHoldings = this;
    }
    ~Holding() { t_aThreadState.pHoldings = m_pNext; }

private:
    const StopGate m_aGate;
    Holding* m_pNext;
};

// Stands first in a call that may sleep. Its windows open only if the caller has no gate raised, that is, holds no lock
// of this library.
class SleepingCall
{
public:
    SleepingCall() noexcept : m_fOutermost( t_aThreadState.dwGateDepth == 0 )
    {
        if ( m_fOutermost )
            t_aThreadState.fMayStopAsleep = TRUE;
    }
    ~SleepingCall()
    {
        if ( m_fOutermost )
            t_aThreadState.fMayStopAsleep = FALSE;
    }
    SleepingCall( const SleepingCall& ) = delete;
    SleepingCall& operator=( const SleepingCall& ) = delete;

private:
    const bool m_fOutermost;
};

// Around the one call of the system that sleeps, with nothing held but Holdings.
class SleepWindow
{
public:
    // pLock  the lock that is slept for: the thread is not ended when it has got it just now.
    explicit SleepWindow( const pthread_mutex_t* pLock = nullptr ) noexcept
        : m_fOpen( t_aThreadState.fMayStopAsleep != FALSE && t_aThreadState.pThread != nullptr )
    {
        if ( !m_fOpen )
            return;
        t_aThreadState.pAwaitedLock = pLock;
        std::atomic_signal_fence( std::memory_order_seq_cst );
        t_aThreadState.fAsleep = TRUE;
        std::atomic_signal_fence( std::memory_order_seq_cst );
        StopAtWindow();
    }
    ~SleepWindow()
    {
        if ( !m_fOpen )
            return;
        std::atomic_signal_fence( std::memory_order_seq_cst );
        t_aThreadState.fAsleep = FALSE;
        std::atomic_signal_fence( std::memory_order_seq_cst );
        t_aThreadState.pAwaitedLock = nullptr;
    }
    SleepWindow( const SleepWindow& ) = delete;
    SleepWindow& operator=( const SleepWindow& ) = delete;

private:
    const bool m_fOpen;
};
