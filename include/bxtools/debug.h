// Debug messages: the one place where every diagnostic message of the library and of its callers ends.
//
// The switch and the level are two values that all processes of one namespace share. They are read from the registry below
// HKEY_LOCAL_MACHINE\Software\Q.R.N. GmbH\brindlex\1.0\DBG: "Out" switches messages on with "Yes", "1" or "TRUE" in any
// case; "Level" is a list of at most five of "1" to "5" divided by semicolons, or "all". A message is written only
// while the switch is on; test it (or the level) first where composing the message costs something.
// Speaks only text pointers, so that the lowest parts of the library can report through it.
#pragma once

#include <bxtools/export.h>
#include <bxtools/wintypes.h>

// Writes one message to the system's debug output: module and header as one line, the message as the next, each
// ended by one CR LF.
//   pModule   name of the calling module, e.g. "BXTOOLS.DLL". NULL: the line begins with " -> ".
//   pHeader   usually "From " and the signature of the reporting function. One that begins with a line feed (or
//             with the two characters \n) gets an empty line in front. NULL: left out.
//   pMessage  the message itself. NULL: nothing at all is written, not even a given header; kept so.
// All three stay the caller's. Result: 0, always; 0 at once and nothing composed while output is off.
// Threads: any, at any time, also while the library starts and ends. Never throws; the last error is preserved.
DLL_EXPORT_MOD int DLL_EXPORT DebugMessage( LPCTSTR pModule, LPCTSTR pHeader, LPCTSTR pMessage );

// Tells whether debug messages are written at present: TRUE or FALSE. Costs one load.
DLL_EXPORT_MOD BOOL DLL_EXPORT IsDbgMessage();

// Tells whether at least one of the given level bits is wanted at present.
//   ulLevelBits  0x1, 0x10, 0x100, 0x1000, 0x10000 for the levels 1 to 5, in any combination; 0 gives FALSE.
DLL_EXPORT_MOD BOOL DLL_EXPORT internalIsDbgMessageLevel( ULONG ulLevelBits );

// Says that the settings have changed: the switch and the level are read again, for every process that shares them.
// Runs once by itself when a process loads the library. What cannot be read is reported; messages are then on, and a level
// that cannot be read is 0. While it runs, messages are on; kept so. Threads: any. Never throws.
DLL_EXPORT_MOD void DLL_EXPORT OnGlobalValuesChanged();
