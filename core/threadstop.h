// A thread that holds one of the library's locks is neither suspended nor ended by other threads before it gives it back,
// where the library itself offers those calls. On Windows the system stops a thread wherever it is, and these do nothing.
#pragma once

// Nested; each is undone once.
void DeferThreadStop() noexcept;
void AllowThreadStop() noexcept;
