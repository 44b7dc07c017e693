// The kernel's wait on a 32-bit word, without the cancellation points and the errno of the C library's
// wrappers.
#pragma once

#include <bxtools/wintypes.h>

#include <cstdint>

// Sleeps while *pWord equals nExpected, for dwMilliseconds at most; may return early. The word is this
// process's own.
void FutexWait( const uint32_t* pWord, uint32_t nExpected, DWORD dwMilliseconds = INFINITE ) noexcept;
// Wakes up to nWaiters threads that sleep on the word.
void FutexWake( const uint32_t* pWord, int nWaiters ) noexcept;

// A clock that only goes on, for limits of waits.
ULONGLONG GetMonotonicMilliseconds() noexcept;
