// The processes of the system: seen, found by the name of their program, ended.
//
//     DWORD dwServer = 0;
//     if ( FindProcess( "LoggSrv.Exe", &dwServer, NULL ) && dwServer != 0 )
//         ...
//
// In all of it:
// - A process goes by the file name of its program: what follows the last delimiter of the program's path. On Windows that
//   must have an extension, and a short form (with a "~") is brought to its long form first; on Linux it need not, and a
//   program whose file was deleted while it runs keeps its name. A script goes by the name of its interpreter.
// - Names are compared without regard to the case of ASCII letters.
// - A path that the system does not tell is empty: those of other users' processes to a user without rights, those of the
//   system's own threads on Linux. Such a process has no name, and none matches it.
// - Nothing throws. FALSE comes with one report to the library's debug hook, but silently from EnumProcs.
// Threads: any. Processes may begin and end meanwhile.
#pragma once

#include <bxtools/export.h>
#include <bxtools/wintypes.h>

// Called for a process. Result: FALSE ends the walk.
//   dwPID       the number of the process.
//   whTask16    the handle of a 16-bit task inside it; 0 for the process itself, and always on Linux.
//   szFileName  the path of its program, or empty; valid during the call.
//   lParam      what was given to EnumProcs.
typedef BOOL( DLL_EXPORT* ENUMPROCSFUNC )( DWORD dwPID, WORD whTask16, LPCTSTR szFileName, LPARAM lParam );

// Calls lpProc for each process that there is, the calling one among them, in the order in which the system lists them; for a
// process that hosts 16-bit tasks also for each of these.
//   lpProc  not null. It may call anything, EnumProcs as well. What it throws passes to the caller.
//   lParam  handed to it; wide enough for a pointer.
// FALSE, with the reason as last error: the processes could not be listed, or not all of them. A walk that lpProc ended is
// TRUE.
DLL_EXPORT_MOD BOOL DLL_EXPORT EnumProcs( ENUMPROCSFUNC lpProc, LPARAM lParam );

// Finds the first process whose program has a name. The calling process is never found, whatever its name is.
//   pProcess        the name, with its extension; not null, not empty.
//   pProcess32ID    out: the number of the process, 0 when there is none.
//   pProcess16ID    out: the 16-bit task in it; 0 on Linux. One of the two may be NULL.
// TRUE also when no such process runs: test the number; kept so. FALSE leaves both untouched.
DLL_EXPORT_MOD BOOL DLL_EXPORT FindProcess( LPCTSTR pProcess, DWORD* pProcess32ID, WORD* pProcess16ID );

// Ends all processes whose program's name stands in a list, at once and without a warning to them (exit code 1; on Linux by
// the signal that cannot be caught). The calling process is spared.
//   pProcessList  names divided by ";", not null, not empty. Blanks are part of a name, and an empty name is nobody's.
//   fAdminRights  TRUE: the right to end other users' processes is taken first; it stays with the process, on Linux with
//                 the calling thread. Where it cannot be had nothing is ended, and the result is FALSE.
// TRUE when all processes were looked at, also where one could not be ended; that is reported, and the others follow; kept
// so. Processes may end a moment after the call. No other process is ended in place of one that has ended by itself and
// whose number was given away.
DLL_EXPORT_MOD BOOL DLL_EXPORT KillProcesses( LPCTSTR pProcessList, BOOL fAdminRights );
