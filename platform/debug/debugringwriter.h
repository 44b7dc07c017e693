// How this process's debug messages get into the ring.
#pragma once

#include <string_view>

// Puts a text into the ring, which is found or made with the first one. Waits for nobody; where there is no ring (the
// folder is refused, its file system is full) the text is dropped.
void WriteToDebugRing( std::string_view aText ) noexcept;

// For tests: the next message looks for the ring anew. No other thread may write meanwhile.
void ForgetDebugRingForTest() noexcept;
