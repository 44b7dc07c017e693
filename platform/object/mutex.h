// Mutexes.
#pragma once

#include "platform/object/namedobjects.h"
#include "platform/object/objectbells.h"
#include "platform/object/spinwait.h"
#include "platform/object/waitable.h"

#include <atomic>
#include <memory>
#include <pthread.h>

// The lock itself is a robust one of the C library, so that the kernel hands it on when its owner's thread or process ends
// without a word. How often the owner took it is kept here, in the owner's process.
class Mutex final : public WaitableObject
{
public:
    // Of this process only.
    Mutex() noexcept;
    // One with a name.
    explicit Mutex( std::unique_ptr<NamedObject> pNamed ) noexcept;
    ~Mutex() override;

    // A new one's first state, before anybody else can find it: free, or with fKeep the calling thread's. False:
    // somebody has it all the same, from before.
    bool TakeAtBirth( bool fKeep ) noexcept;
    // False: the calling thread does not own it.
    bool GiveBack() noexcept;

    Taking TryTake() noexcept override;
    void PutBack( Taking eTaking ) noexcept override;
    Taking WaitAndTake( const WaitLimit& rLimit ) noexcept override;
    bool AddBell( Bell& rBell ) noexcept override { return m_aBells.Add( rBell ); }
    void RemoveBell( Bell& rBell ) noexcept override { m_aBells.Remove( rBell ); }
    void AddDescriptors( PollSet& rSet ) noexcept override;
    void HandleClosed() noexcept override;
    void AbandonInChild() noexcept override {}

private:
    friend class OwnedMutexes;

    bool IsOwn() const noexcept;
    Taking NoteTaken( int nOutcome ) noexcept;
    void Unlock( bool fAbandoned ) noexcept;
    void UnlockWithReference( bool fAbandoned ) noexcept;

    const std::unique_ptr<NamedObject> m_pNamed; // null without a name
    pthread_mutex_t m_aOwnLock;
    std::atomic<uint32_t> m_uOwnAbandoned{ 0 };
    pthread_mutex_t& m_raLock;
    std::atomic<uint32_t>& m_ruAbandoned;
    ObjectBells m_aBells;
    SpinWait m_aSpin;
    // The owner's; what follows is its own while it owns the mutex.
    std::atomic<ULONGLONG> m_ullOwner{ 0 };
    DWORD m_dwDepth = 0;
    Mutex* m_pNextOwned = nullptr;
    Mutex* m_pPreviousOwned = nullptr;
};

// At the end of each thread, after its C++ thread_local objects: what it still owns is abandoned.
void AbandonMutexesOfThread() noexcept;
// By a thread that is ended by force, and frees no memory any more: the same, but those that nobody needs any longer are
// returned, for another thread to destroy.
Mutex* AbandonMutexesOfDyingThread() noexcept;
void DestroyMutexes( Mutex* pFirst ) noexcept;
// In the child of a fork the calling thread owns nothing.
void ForgetMutexesInChild() noexcept;
