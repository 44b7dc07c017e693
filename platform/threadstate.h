// What the platform layer keeps per thread. Plain numbers and pointers only: the record is reached through
// the thread pointer with one instruction, and nothing has to be built or destroyed when a thread comes or
// goes.
#pragma once

#include <bxtools/wintypes.h>

#include <atomic>
#include <cstdint>
#include <pthread.h>

class Bell;
class Holding;
class MessageQueue;
class Mutex;
class ThreadObject;
struct TlsBlock;

struct ThreadState
{
    DWORD dwLastError;
    DWORD dwThreadId;      // the kernel's number, 0 until it is asked for
    ULONGLONG ullNumber;   // 0 until it is asked for; see GetThreadNumber
    TlsBlock* pTlsBlock;   // null until the thread stores a value
    DWORD dwLoaderDepth;   // calls of the system's loader that it is inside of
    BOOL fEndRequested;    // the end of this thread will be noticed
    Bell* pBell;           // null until it waits for several objects
    Mutex* pOwnedMutexes;  // the last one taken, null when it owns none
    MessageQueue* pQueue;  // null until its first message call
    ThreadObject* pThread; // null in threads that CreateThread did not start
    // When others may stop it; see stopgate.h.
    DWORD dwGateDepth;   // not while it is above 0 ...
    BOOL fAsleep;        // ... but for here
    BOOL fMayStopAsleep; // whether a sleep is such a place
    BOOL fStopNoted;     // somebody asked while it could not be
    BOOL fStopping;      // it is just doing so
    Holding* pHoldings;  // what its calls hold while they sleep
    const pthread_mutex_t* pAwaitedLock;
};

// initial-exec: no call to find it. The room for it is small enough for what the loader keeps ready for
// libraries that are loaded late.
[[gnu::tls_model( "initial-exec" )]] extern constinit thread_local ThreadState t_aThreadState;

// Gives the calling thread its number. Never 0; never given to another thread of the process or of its fork
// children, and kept by the thread that survives a fork.
ULONGLONG MakeThreadNumber() noexcept;

inline ULONGLONG GetThreadNumber() noexcept
{
    const ULONGLONG ullNumber = t_aThreadState.ullNumber;
    return ullNumber != 0 ? ullNumber : MakeThreadNumber();
}

// Whether the thread with this number was lost in a fork: it lived in the parent only.
bool WasLostInFork( ULONGLONG ullNumber ) noexcept;

// For the fork handlers: in the child every thread but the calling one is gone.
void ResetThreadStateInChild() noexcept;
