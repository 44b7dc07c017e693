// A thread that CreateThread started.
//
// The thread itself holds a reference until its end, each handle another one. It detaches itself when it ends in the
// usual way, so that its stack goes with it whether or not somebody still holds a handle; only then, after the last
// destructor of the thread has run, the object is ready. A thread that is ended by force leaves stack and reference to
// others; see deadthreads.h.
#pragma once

#include "platform/object/bell.h"
#include "platform/object/waitable.h"
#include "platform/thread/threadstop.h"
#include "platform/threadstate.h"

#include <atomic>
#include <csetjmp>
#include <cstdint>
#include <pthread.h>

class ThreadObject final : public WaitableObject
{
public:
    ThreadObject( LPTHREAD_START_ROUTINE pStart, LPVOID pParameter, bool fSuspended ) noexcept;

    // The calling thread's, null in threads that were not started here.
    static ThreadObject* OfThread() noexcept;

    // Starts the thread, which holds a reference of its own. False: the system has no room for it.
    bool Start( SIZE_T nStackSize ) noexcept;
    // The kernel's number; waits until the new thread has told it.
    DWORD GetThreadId() const noexcept;
    DWORD GetExitCode() const noexcept;
    // The counts before; SUSPEND_FAILED and the last error.
    DWORD Suspend() noexcept;
    DWORD Resume() noexcept;
    // An ended thread keeps its code.
    void Terminate( DWORD dwExitCode ) noexcept;

    // In the thread itself: stops as long as others want it, or for ever, which needs that no gate is raised or a window
    // is open.
    void StopIfAsked( bool fMayEnd ) noexcept;
    // In the thread itself: leaves its function without running the destructors of what is on the stack.
    void LeaveFunction( DWORD dwExitCode ) noexcept;

    Taking TryTake() noexcept override;
    void PutBack( Taking ) noexcept override {}
    Taking WaitAndTake( const WaitLimit& rLimit ) noexcept override;
    bool AddBell( Bell& rBell ) noexcept override { return m_aBells.Add( rBell ); }
    void RemoveBell( Bell& rBell ) noexcept override { m_aBells.Remove( rBell ); }
    void AbandonInChild() noexcept override;
    // In the child of a fork, for the calling thread.
    void ForgetStops() noexcept { m_aStop.Forget(); }

private:
    friend class DeadThreads;

    static void* Run( void* pObject );
    static void OnThreadEnd( void* pObject ) noexcept;
    static void MakeEndKey() noexcept;

    void RunFunction();
    void TellToLook() const noexcept;
    [[noreturn]] void EndByForce() noexcept;
    void End() noexcept;
    void TellOfEnd() noexcept;
    bool HasEnded() const noexcept;

    const LPTHREAD_START_ROUTINE m_pStart;
    const LPVOID m_pParameter;
    uint32_t m_uThreadId = 0; // 0 until it runs; slept on
    uint32_t m_uEnded = 0;    // slept on
    DWORD m_dwExitCode = 0;
    int m_nEndRounds = 0;
    bool m_fInFunction = false;
    bool m_fLost = false;
    jmp_buf m_aExit;
    LocalBells m_aBells;
    ThreadStop m_aStop;
    // By whoever was the first to end it by force: a mark and the exit code.
    std::atomic<ULONGLONG> m_ullForcedEnd{ 0 };
    pthread_t m_aThread{};
    // What it left, and its place among the dead.
    ThreadState m_aLeft{};
    Mutex* m_pLastMutexes = nullptr;
    ThreadObject* m_pNextDead = nullptr;
};
