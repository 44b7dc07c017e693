// The kernel's wait on a 32-bit word, without the cancellation points and the errno of the C library's
// wrappers.
#pragma once

#include <bxtools/wintypes.h>

#include <atomic>
#include <cstdint>
#include <ctime>

// Sleeps while *pWord equals nExpected, for dwMilliseconds at most; may return early. The word is this
// process's own.
void FutexWait( const uint32_t* pWord, uint32_t nExpected, DWORD dwMilliseconds = INFINITE ) noexcept;
// Wakes up to nWaiters threads that sleep on the word.
void FutexWake( const uint32_t* pWord, int nWaiters ) noexcept;

// For words that several processes may share (fShared).
//
// Sleeps while the word equals uExpected; may return early. pLimit: a point on the clock that only goes on, null for
// none. False: the limit is over.
bool FutexWaitUntil( const std::atomic<uint32_t>& rWord, uint32_t uExpected, const timespec* pLimit,
                     bool fShared ) noexcept;
void FutexWakeAll( const std::atomic<uint32_t>& rWord, bool fShared ) noexcept;
// Stores the value (0 to 4095) and wakes all who sleep on the word. A thread that is killed has done both or neither.
void FutexSetAndWakeAll( std::atomic<uint32_t>& rWord, uint32_t uValue, bool fShared ) noexcept;

// A clock that only goes on, for limits of waits.
ULONGLONG GetMonotonicMilliseconds() noexcept;
