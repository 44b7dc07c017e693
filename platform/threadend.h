// Notice of the end of threads, and keeping the library loaded.
#pragma once

#include <bxtools/wintypes.h>

typedef void ( *ThreadEndFunc )();

// Names the function that is called on each ending thread that ever stored a non-null value in a thread-local
// slot (TlsSetValue) or asked for the notice with RequestThreadEnd. Called by the library's start, on the
// loading thread. The call comes after the thread's C++ thread_local objects were destroyed, and comes again
// when a later destructor of the thread uses a slot or asks again; PTHREAD_DESTRUCTOR_ITERATIONS bounds the
// rounds. Errors: 1450 no key left.
BOOL SetThreadEndFunc( ThreadEndFunc pFunc ) noexcept;

// The calling thread's end shall be noticed. The first request of a thread other than the loading one pins
// the module, since that thread jumps into it when it ends. FALSE only when the notice cannot be had.
BOOL RequestThreadEnd() noexcept;

// For the library's end: no thread's end is noticed from here on. Threads that still run end silently, and
// what they kept in slots stays with them. Again is harmless.
void CloseThreadEnd() noexcept;

// Keeps the module that holds this code loaded until the process ends. Harmless, and TRUE, in a program.
BOOL PinCurrentModule() noexcept;
