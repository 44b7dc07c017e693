// fork in a process whose other threads are inside the library.
//
// The child must find every structure whole and no lock held by a thread that does not exist in it. So before
// a fork the forking thread takes the layer's locks, outermost first:
//
//   1. the library's own locks (SetLibraryForkHandlers)
//   2. the gate to the system's loader
//   3. modules
//   4. openings of files (one second at most)
//   5. handle table
//   6. names of objects
//   7. process slots, and the lock of the folder where processes meet
//   8. views of mappings
//   9. thread-local slots
//  10. message queues
//  11. bells
//  12. registry stores
//  13. profile files that are being changed, then those that are kept
//
// and gives them back in the opposite order, in the parent and in the child. A thread that holds one of them
// may take one further down, never one further up. Locks that are not in this list (critical sections of
// callers) cannot be taken here in an order that their owners know of; in the child they count as free when
// their owner was lost (see critsec.cpp).
#pragma once

typedef void ( *ForkFunc )();

// Makes sure that the handlers run at each fork from now on. Called before anything is stored that a fork
// makes wrong.
void InstallForkHandlers() noexcept;

// The handlers of what lies above this layer; pPrepare runs first of all, the others last. Null takes them
// away.
void SetLibraryForkHandlers( ForkFunc pPrepare, ForkFunc pParent, ForkFunc pChild ) noexcept;
