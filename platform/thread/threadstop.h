// What others ask of a thread: to stop for a while, or for ever. One word says everything, so that nothing can overtake
// anything else; a signal only makes a running thread look at it.
#pragma once

#include <bxtools/wintypes.h>

#include <atomic>
#include <csignal>
#include <cstdint>

constexpr DWORD SUSPEND_FAILED = 0xFFFFFFFFu;

class ThreadStop
{
public:
    explicit ThreadStop( DWORD dwSuspensions ) noexcept : m_uWord( dwSuspensions ) {}

    // By any thread. The count before, or SUSPEND_FAILED and the last error (156 too many, 5 it has ended).
    DWORD AddSuspension() noexcept;
    DWORD TakeSuspension() noexcept;
    // False: it has ended.
    bool AskToEnd() noexcept;
    // Whether it must be told to look: it runs, as far as is known.
    bool IsToBeTold() const noexcept;

    // Sleep, where the calling thread may be stopped itself: until it stands still (false: it has ended), or has ended.
    bool AwaitStandstill() noexcept;
    void AwaitEnd() noexcept;

    // By the thread itself.
    bool IsAsked() const noexcept;
    // Stands still while it is suspended and nobody wants its end. True: it is to end.
    bool StandStill() noexcept;
    // Its end: from now on nothing can be asked. False: first something is to be done that was asked before.
    bool Close() noexcept;
    void CloseByForce() noexcept;
    // In the child of a fork: what was asked was meant for the parent's.
    void Forget() noexcept { m_uWord = 0; }

private:
    bool Replace( uint32_t& ruOld, uint32_t uNew ) noexcept
    {
        return m_uWord.compare_exchange_weak( ruOld, uNew );
    }
    void Sleep( uint32_t uWord ) noexcept;

    std::atomic<uint32_t> m_uWord; // slept on
};

// The signal, for the whole process and once.
void InstallStopSignal() noexcept;
// In a new thread, which may have got the mask of who started it.
void LetStopSignalIn() noexcept;
// Makes a thread of this process look at what it was asked.
void TellThread( DWORD dwThreadId ) noexcept;

// No signals at all, but for those of the C library, for a scope.
class SignalsBlocked
{
public:
    SignalsBlocked() noexcept;
    ~SignalsBlocked();
    SignalsBlocked( const SignalsBlocked& ) = delete;
    SignalsBlocked& operator=( const SignalsBlocked& ) = delete;

private:
    sigset_t m_aBefore;
};
