// What the two systems do differently for worker threads.
#pragma once

#include <bxtools/wintypes.h>

inline constexpr DWORD SUSPENSION_FAILED = 0xFFFFFFFF;

// SuspendThread, which returns when the thread really stands still.
DWORD SuspendAndSettle( HANDLE aThread ) noexcept;

// COM for the calling thread, where there is COM. False: there is nothing to be undone.
bool InitializeCom() noexcept;
void UninitializeCom() noexcept;
