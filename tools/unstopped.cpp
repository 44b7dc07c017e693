// The tool has its own copy of some of the platform's readers, outside the library. The threads that run in the copy are
// the tool's: nobody suspends them or ends them by force, so its gates have nothing to ask.

#include "platform/stopgate.h"

constinit thread_local ThreadState t_aThreadState{};

void StopAtGate() noexcept {}
