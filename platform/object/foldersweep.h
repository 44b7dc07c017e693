// Removes from a folder what killed processes left in it.
#pragma once

#include "platform/object/processslots.h"

// Object files that no living process holds, and bells that nobody hears. With the folder's lock.
//   rOwn  this process's slot, which holds nothing yet.
void SweepFolder( NamespaceScope eScope, const ProcessSlot& rOwn ) noexcept;
