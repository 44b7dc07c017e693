// What keeps processes in step: locks and signals that they share by name, and the registration of modules.
//
//     HANDLE hSection = NULL;
//     if ( !EnterInterProcessCriticalSection( "brindlex.archive", &hSection ) )
//         return FALSE;
//     ...
//     ReleaseInterProcessCriticalSection( hSection );
//
// In all of it:
// - Equal names are the same lock or signal for all processes of a user, or of a service's users (platform_objects.h says
//   where names live on Linux, and what is no name). Locks, signals and memory share one space of names.
// - A lock or signal is there as long as a process has it open, and is gone with the last one, however that ends.
// - TRUE, or FALSE with one report to the library's debug hook and, where the system refused something, its last error.
// - Nothing throws.
// Threads: any.
#pragma once

#include <bxtools/export.h>
#include <bxtools/wintypes.h>

// Takes a lock for the calling thread, and waits for it without limit. It is made where nobody has it.
//   pSectionName  not null, not empty.
//   phSectionID   out: the lock's handle, 0 on failure; the caller's until ReleaseInterProcessCriticalSection.
// TRUE when it is held. That its last owner ended without giving it back does not show; kept so. A thread that holds it may
// take it again, and gives each handle back.
DLL_EXPORT_MOD BOOL DLL_EXPORT EnterInterProcessCriticalSection( LPCTSTR pSectionName, HANDLE* phSectionID );

// Gives the lock back and closes its handle.
//   hSectionID  not null. That it is a lock, and held by the calling thread, is not checked; kept so. Another thread only
//               closes the handle, and the lock stays with its owner until that ends.
DLL_EXPORT_MOD BOOL DLL_EXPORT ReleaseInterProcessCriticalSection( HANDLE hSectionID );

// Tells those who wait that an action is finished: SignalActionFinished1( pEventName, 0, 0 ).
DLL_EXPORT_MOD BOOL DLL_EXPORT SignalActionFinished( LPCTSTR pEventName );

// The same, tried several times: the signal is not kept, and reaches only those who wait by the last attempt; kept so.
//   pEventName      not null, not empty.
//   ulCount         attempts after the first one.
//   dwMilliseconds  the pause before each of them.
// FALSE: nobody waited (last error 2). The one report is that of the last attempt.
DLL_EXPORT_MOD BOOL DLL_EXPORT SignalActionFinished1( LPCTSTR pEventName, ULONG ulCount,
                                                      DWORD dwMilliseconds );

// Waits until somebody tells that an action is finished. Messages of the calling thread are dispatched meanwhile, so that
// it may have windows; a WM_QUIT is taken as well and ends nothing; kept so.
//   pEventName           not null, not empty.
//   dwMilliseconds       does not end the wait: nothing but the signal does; kept so.
//   dwRetValueOnSuccess  not looked at.
DLL_EXPORT_MOD BOOL DLL_EXPORT WaitForActionFinished( LPCTSTR pEventName, DWORD dwMilliseconds,
                                                      DWORD* dwRetValueOnSuccess );

// Loads a module, has it register or unregister itself, and unloads it. What fails is shown to the user as well, in a
// message box (on standard error where there is no window system), with the system's text for it.
//   pModuleName    its file; LoadLibraryA says how it is looked for.
//   nRegisterMode  1 calls the module's DllRegisterServer, 2 its DllUnregisterServer; any other is refused. Both take no
//                  arguments and return an HRESULT, of which 0 is success.
// FALSE, after one report about the reason and one that the call failed.
DLL_EXPORT_MOD BOOL DLL_EXPORT RegisterModule( LPCTSTR pModuleName, int nRegisterMode );
