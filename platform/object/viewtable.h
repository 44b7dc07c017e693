// The views of this process: which addresses begin one, and how long it is. They outlive their mapping's handles, and a
// fork child has them, too.
#pragma once

#include <bxtools/wintypes.h>

// False: out of memory (8).
bool AddView( const void* pView, size_t nBytes ) noexcept;
// False: no view begins there.
bool FindView( const void* pView, size_t& rnBytes ) noexcept;
// Takes it out of the table. False: no view begins there.
bool RemoveView( const void* pView, size_t& rnBytes ) noexcept;

// Fork handlers.
void LockViews();
void UnlockViews();
