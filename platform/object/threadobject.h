// A thread that CreateThread started.
//
// The thread itself holds a reference until its end, each handle another one. It detaches itself when it ends in the
// usual way, so that its stack goes with it whether or not somebody still holds a handle; only then, after the last
// destructor of the thread has run, the object is ready.
#pragma once

#include "platform/object/bell.h"
#include "platform/object/waitable.h"

#include <csetjmp>
#include <cstdint>
#include <pthread.h>

class ThreadObject final : public WaitableObject
{
public:
    ThreadObject( LPTHREAD_START_ROUTINE pStart, LPVOID pParameter ) noexcept;

    // The calling thread's, null in threads that were not started here.
    static ThreadObject* OfThread() noexcept;

    // Starts the thread, which holds a reference of its own. False: the system has no room for it.
    bool Start( SIZE_T nStackSize ) noexcept;
    // The kernel's number; waits until the new thread has told it.
    DWORD GetThreadId() const noexcept;
    DWORD GetExitCode() const noexcept;
    // In the thread itself: leaves its function without running the destructors of what is on the stack.
    void LeaveFunction( DWORD dwExitCode ) noexcept;

    Taking TryTake() noexcept override;
    void PutBack( Taking ) noexcept override {}
    Taking WaitAndTake( const WaitLimit& rLimit ) noexcept override;
    bool AddBell( Bell& rBell ) noexcept override { return m_aBells.Add( rBell ); }
    void RemoveBell( Bell& rBell ) noexcept override { m_aBells.Remove( rBell ); }
    void AbandonInChild() noexcept override;

private:
    static void* Run( void* pObject );
    static void OnThreadEnd( void* pObject ) noexcept;
    static void MakeEndKey() noexcept;

    void RunFunction();
    void End() noexcept;
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
};
