// The platform layer at the library's end.
#pragma once

// Gives back what would outlive the library's unloading: thread-end notices, the calling thread's slots,
// descriptors. Called last, by the library's own detach. Calls after it still work; the end of a thread is
// noticed no more.
void ClosePlatform() noexcept;
