// How the library starts and ends: the entry point, and where each system drives it from.
#pragma once

#include <bxtools/wintypes.h>

// Forwards a notification to the process-wide object. Unknown reasons are ignored.
//   hinstDLL    not used.
//   lpReserved  at process detach: not NULL when the process ends and its other threads have been stopped wherever they
//               were. Then nothing is touched: what they hold is never given back, and the system takes everything.
// Result: FALSE, reported, when the object could not do its work; at process attach this refuses the load where a load
// can be refused.
extern "C" BOOL WINAPI DllMain( HINSTANCE hinstDLL, DWORD dwReason, LPVOID lpReserved );

// What is left to be done when the process-wide object goes.
enum class LibraryEnd
{
    Unloaded,   // no thread can call in any more: all of it is destroyed
    Detached,   // threads may still call in: what it owns is destroyed, the locks stay
    ProcessEnds // nothing
};

// The process-wide object has been constructed: attaches it where the system does not call DllMain itself.
void OnGlobalObjectConstructed();
// It is about to go: detaches it where the system does not call DllMain itself.
LibraryEnd OnGlobalObjectEnds();

// Whether DllMain was told that the process ends.
BOOL IsProcessEnding();

// Asks for the notification of the calling thread's end where threads do not notify by themselves, and sees to it that
// the library is still there then. May wait for the system's loader.
void RequestThreadEndNotice();
