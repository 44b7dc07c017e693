// The pipe by which other processes ring a bell: a file in the namespace folder that nobody reads any more once its process
// is gone.
#pragma once

#include "platform/namespacefolder.h"

#include <bxtools/wintypes.h>

#include <memory>

// A bell's name for other processes; 0 is no bell's.
using SharedBellName = ULONGLONG;

// The listener's end.
struct SharedBellPipe
{
    int nDescriptor = -1;
    SharedBellName ullName = 0; // 0 while there is none
    std::unique_ptr<char[]> pPath;
};

// A new pipe, which the caller owns: its descriptor and its file. Result: 0, or the error.
DWORD MakeSharedBellPipe( NamespaceScope eScope, SharedBellPipe& rPipe ) noexcept;

// FALSE: nobody listens to it any more, and it can be forgotten. Keeps errno and the last error.
bool RingSharedBell( NamespaceScope eScope, SharedBellName ullName ) noexcept;

// Removes the bells in a folder that nobody listens to any more, because their process was killed.
void SweepSharedBells( NamespaceScope eScope ) noexcept;
