// The end of the library's work in a process.
#pragma once

#include <bxtools/export.h>
#include <bxtools/wintypes.h>

// Runs the library's process-detach work now, at a moment of the host's choosing: the calling thread's objects are
// destroyed, the thread slot is freed and the libraries that were loaded at the start are released. Afterwards every
// call that needs a per-thread object fails with a report, and the notification at the library's unload does nothing.
// (The name is spelled so.)
// Result: TRUE also when the work had been done before; FALSE when a step failed, each with its report.
// Threads: one caller at a time does the work; other threads' objects are left alone. Never throws.
DLL_EXPORT_MOD BOOL DLL_EXPORT LastFuntionCall();
