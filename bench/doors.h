// Two ways into what the library does not export, for measurements alone. bxbench runs on the library's own objects,
// linked the way the library is, with doors.cpp beside them; so the calls measured cross a library's boundary and run
// the shipped instructions, and one jump more where they come in here.
#pragma once

#include <bxtools/export.h>
#include <bxtools/wintypes.h>

// What a subsystem pays to reach an object of the calling thread's that is there already.
DLL_EXPORT_MOD const void* BenchHotThreadObject();

// Switches the debug messages of this process's namespace on or off, without touching the settings.
DLL_EXPORT_MOD void BenchSwitchDebugMessages( BOOL fOn );
