// What the rest of the layer needs of the thread-local slots.
#pragma once

// Frees the calling thread's values; the slots then read null in it. Called at its end.
void ReleaseTlsOfThread() noexcept;

// Fork handlers. In the child the values of the parent's other threads are freed.
void LockTls();
void UnlockTls();
void ResetTlsInChild();
