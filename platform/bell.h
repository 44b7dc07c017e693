// What wakes a thread that waits for several objects at once: each of them gets its bell, and whoever makes one ready
// rings. Within a process a bell is a descriptor; for objects that processes share it is a pipe with a name, which costs
// nothing when nobody listens any more.
#pragma once

#include "platform/namespacefolder.h"

#include <bxtools/wintypes.h>

// A bell's name for other processes; 0 is no bell's.
using SharedBellName = ULONGLONG;

class Bell
{
public:
    // The calling thread's bell, kept until the thread's end. Null: the last error says why.
    static Bell* OfThread() noexcept;

    // For objects of this process; any thread, while the bell is added to the object.
    void Ring() noexcept;
    // For objects that processes share: where their bells are found, and the name. 0: the last error says why.
    SharedBellName GetSharedName( NamespaceScope eScope ) noexcept;
};

// FALSE: nobody listens to it any more, and it can be forgotten.
bool RingSharedBell( NamespaceScope eScope, SharedBellName ullName ) noexcept;
