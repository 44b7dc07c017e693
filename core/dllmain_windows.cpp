// The system calls DllMain, after the object has been constructed and before it is destroyed.
#include "core/dllmain.h"

void OnGlobalObjectConstructed() {}

LibraryEnd OnGlobalObjectEnds()
{
    return IsProcessEnding() ? LibraryEnd::ProcessEnds : LibraryEnd::Unloaded;
}

void RequestThreadEndNotice() {}
