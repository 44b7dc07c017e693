// The debug monitor of the Windows 95 family, whose system does not hand debug output to it.
#pragma once

#include <bxtools/wintypes.h>

// Whether the monitor is served by this process; no at first.
bool IsDebugMonitorServed() noexcept;
void ServeDebugMonitor( bool fServed ) noexcept;

// Hands a text to the monitor, if one runs: waits until it has taken what came before. Its view of the monitor's memory
// stays mapped; kept so.
void WriteToDebugMonitor( LPCTSTR pText ) noexcept;
