// Locks that survive their owner: robust ones of the C library, which the kernel hands on when the owner's thread or process
// ends without a word. What they say of their owner can be read without taking them.
#pragma once

#include "platform/object/pollset.h"

#include <bxtools/wintypes.h>

#include <cstdint>
#include <linux/futex.h>
#include <pthread.h>

// Makes a lock ready.
//   fShared  it lies in memory that processes share.
// False: the last error says why.
bool MakeRobustLock( pthread_mutex_t& rLock, bool fShared ) noexcept;

// What the C library has in common with the kernel, which reads it when a thread ends: the owner's thread id and marks for
// waiters and for an owner that died; 0 for a free lock.
inline uint32_t LockWord( const pthread_mutex_t& rLock ) noexcept
{
    return static_cast<uint32_t>( __atomic_load_n( &rLock.__data.__lock, __ATOMIC_RELAXED ) );
}

// Whether nobody has it, nor ended with it.
inline bool IsLockFree( const pthread_mutex_t& rLock ) noexcept
{
    return LockWord( rLock ) == 0;
}

// The owner's thread, 0 for none.
inline DWORD GetLockOwner( const pthread_mutex_t& rLock ) noexcept
{
    return LockWord( rLock ) & FUTEX_TID_MASK;
}

// Whether the last owner ended with it.
inline bool IsLockAbandoned( const pthread_mutex_t& rLock ) noexcept
{
    return ( LockWord( rLock ) & FUTEX_OWNER_DIED ) != 0;
}

// Wakes one of those who sleep for the lock, so that it looks again.
void WakeLockWaiter( const pthread_mutex_t& rLock ) noexcept;

// Adds what tells of the end of the owner's process, if somebody owns it who is not of this process. Keeps errno.
void AddLockOwner( const pthread_mutex_t& rLock, PollSet& rSet ) noexcept;
