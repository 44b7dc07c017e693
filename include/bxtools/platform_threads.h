// Part of platform.h, which callers include instead: threads, their messages, processes.
#pragma once

#include <bxtools/export.h>
#include <bxtools/wintypes.h>

#if defined( BX_PLATFORM_LAYER )

// ---- threads ----------------------------------------------------------------------------------------------

// Starts a thread. Result: a handle with all rights, null on failure. Closing it does not stop the thread.
//   nStackSize      bytes; never less than the system's usual size.
//   dwFlags         0, or CREATE_SUSPENDED: its suspend count is 1, and the function is not called before ResumeThread
//                   (87 otherwise).
//   pThreadId       out: the thread's number, the system's own; may be null.
DLL_EXPORT_MOD HANDLE CreateThread( LPSECURITY_ATTRIBUTES pSecurity, SIZE_T nStackSize,
                                    LPTHREAD_START_ROUTINE pStart, LPVOID pParameter, DWORD dwFlags,
                                    LPDWORD pThreadId );
// Ends the calling thread, which CreateThread started, as a return from its function does; what is on the stack is not
// destroyed. The handle is ready when the thread's C++ thread_local objects are gone; their destructors cannot call this.
DLL_EXPORT_MOD void ExitThread( DWORD dwExitCode );
// STILL_ACTIVE before the end.
DLL_EXPORT_MOD BOOL GetExitCodeThread( HANDLE hThread, LPDWORD pExitCode );

// A thread runs while its suspend count is 0. SuspendThread adds one, and returns when the thread has stopped; for the
// calling thread itself, when it was resumed. It stops wherever it is, in malloc for instance: until it is resumed
// the caller calls nothing that could need a lock that the thread may hold. The locks of this library are none of these: a
// thread that holds one stops when it gives it back. Sleeping in a call of this library it stops at once, and the time
// counts against the wait's limit.
// The signal SIGRTMIN + 9 is used for it, from the first thread that is started here: callers leave it alone, and do not
// block it.
// Result: the count before, 0xFFFFFFFF on failure. Errors: 156 it is MAXIMUM_SUSPEND_COUNT already; 5 the thread has
// ended, or the handle does not give THREAD_SUSPEND_RESUME.
DLL_EXPORT_MOD DWORD SuspendThread( HANDLE hThread );
// Takes one from the count; at 0 the thread goes on. A count of 0 stays, and is not remembered.
// Result: the count before, 0xFFFFFFFF on failure.
DLL_EXPORT_MOD DWORD ResumeThread( HANDLE hThread );
// Ends a thread wherever it is, or before it began. Nothing of it is run or destroyed: no destructor, no notice of its
// end; what it allocated or holds stays, but its mutexes are abandoned and its stack is given back. Returns when it has
// ended. A thread that holds a lock of this library ends when it gives it back. An ended thread keeps its code.
// Errors: 5 the handle does not give THREAD_TERMINATE.
DLL_EXPORT_MOD BOOL TerminateThread( HANDLE hThread, DWORD dwExitCode );

// ---- messages of threads ----------------------------------------------------------------------------------

// Each thread has a queue from its first call of this section on (not of DispatchMessageA and TranslateMessage), until its
// end. There are no windows here: a window is always null, of a message as well; another one is error 1400.

// Puts a message at the end of a thread's queue. Errors: 1444 no thread of this process with a queue has this number;
// 1816 the queue holds 10,000.
DLL_EXPORT_MOD BOOL PostThreadMessageA( DWORD dwThreadId, UINT uMessage, WPARAM wParam, LPARAM lParam );
// To the calling thread's own queue.
DLL_EXPORT_MOD BOOL PostMessageA( HWND hWindow, UINT uMessage, WPARAM wParam, LPARAM lParam );
// Looks for the oldest message of a range. Result: TRUE when there is one.
//   hWindow         null, or -1 for messages without a window; there are no others.
//   uFirst, uLast   the range; 0 and 0 for all.
//   uRemove         PM_REMOVE or PM_NOREMOVE.
// What lies in the queue then is no longer new; see MsgWaitForMultipleObjects.
DLL_EXPORT_MOD BOOL PeekMessageA( LPMSG pMessage, HWND hWindow, UINT uFirst, UINT uLast, UINT uRemove );
// Waits for one and takes it. Result: FALSE for WM_QUIT, -1 for an error, otherwise TRUE.
DLL_EXPORT_MOD BOOL GetMessageA( LPMSG pMessage, HWND hWindow, UINT uFirst, UINT uLast );
// Without windows there are no keys to translate: FALSE.
DLL_EXPORT_MOD BOOL TranslateMessage( const MSG* pMessage );
// A message without a window goes nowhere: 0.
DLL_EXPORT_MOD LRESULT DispatchMessageA( const MSG* pMessage );

// WaitForMultipleObjects, and for input as well.
//   dwCount      up to 63 (87); may be 0.
//   fWaitAll     for all objects and for input, at the same time.
//   dwWakeMask   what counts as input: with QS_POSTMESSAGE (as in QS_ALLINPUT) messages of the thread. With any other of
//                them (as in QS_ALLINPUT, too) the windows of the thread that has them go on living while it waits for one.
// Result: as there; WAIT_OBJECT_0 + dwCount for input. An object goes before input. Only new input counts: what a
// PeekMessageA or GetMessageA has left in the queue is old, until another message comes (kept: loops on this call rely on it).
DLL_EXPORT_MOD DWORD MsgWaitForMultipleObjects( DWORD dwCount, const HANDLE* pHandles, BOOL fWaitAll,
                                                DWORD dwMilliseconds, DWORD dwWakeMask );

// ---- processes --------------------------------------------------------------------------------------------

// Opens a running process. Errors: 87 no such process; 5 rights that the system does not give (PROCESS_TERMINATE).
//   dwAccess  SYNCHRONIZE to wait for its end, PROCESS_QUERY_INFORMATION, PROCESS_VM_READ, PROCESS_TERMINATE.
DLL_EXPORT_MOD HANDLE OpenProcess( DWORD dwAccess, BOOL fInherit, DWORD dwProcessId );
// Kills it; exactly the one that was opened, also when its number was given to another since. It may end a moment later.
//   uExitCode  what GetExitCodeProcess tells through this handle.
// Errors: 5 it has ended already, or the handle does not give PROCESS_TERMINATE.
DLL_EXPORT_MOD BOOL TerminateProcess( HANDLE hProcess, UINT uExitCode );
// STILL_ACTIVE before the end. The system tells the code of the caller's own children only, until somebody collects it: 1
// otherwise, and for a child that a signal ended.
DLL_EXPORT_MOD BOOL GetExitCodeProcess( HANDLE hProcess, LPDWORD pExitCode );

#endif
