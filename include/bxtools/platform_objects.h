// Part of platform.h, which callers include instead: events, mutexes, mappings and waits.
//
// Names. Events, mutexes and mappings of all processes that share a namespace folder share one space of names: a name
// that is taken by another kind of object gives error 6. An object exists exactly while a living process holds a handle
// to it, however that process ends. A name without a prefix or with "Local\" is looked for in the folder that
// $BXTOOLS_OBJECT_DIR or /etc/bxtools/bxtools.conf names, else in one of the user's own; one with "Global\" in the one of
// bxtools.conf where there is one. Names are case-sensitive; null or empty makes an object without a name. Errors: 206
// longer than 259 characters, 3 a backslash elsewhere, 123 a prefix alone, 5 the folder is refused (standard error says why), 112 the
// folder's file system is full.
// Making calls set the last error: 0, or 183 when the object exists already; it is opened then, and what the call says
// about its initial state is not looked at.
// Handles mean nothing outside their process; whether they are to be inherited is not looked at.
#pragma once

#include <bxtools/export.h>
#include <bxtools/wintypes.h>

#if defined( BX_PLATFORM_LAYER )

// ---- events -----------------------------------------------------------------------------------------------

// Makes or opens an event. Result: a handle with all rights, null on failure.
//   pSecurity      ignored.
//   fManualReset   FALSE: a wait that it ends resets it.
//   fInitialState  TRUE: it is set from the start.
DLL_EXPORT_MOD HANDLE CreateEventA( LPSECURITY_ATTRIBUTES pSecurity, BOOL fManualReset, BOOL fInitialState,
                                    LPCSTR pName );
// Opens an event. Errors: 2 there is none, 87 null name.
//   dwAccess  SYNCHRONIZE to wait, EVENT_MODIFY_STATE to set and reset.
DLL_EXPORT_MOD HANDLE OpenEventA( DWORD dwAccess, BOOL fInherit, LPCSTR pName );
// Sets it: all waits on a manual event end, one wait on another one; without a wait it stays set. A wait whose thread or
// process is killed takes nothing.
DLL_EXPORT_MOD BOOL SetEvent( HANDLE hEvent );
DLL_EXPORT_MOD BOOL ResetEvent( HANDLE hEvent );

// ---- mutexes ----------------------------------------------------------------------------------------------

// Makes or opens a mutex; a wait takes it for the calling thread, again for each further wait of the owner.
//   fInitialOwner  TRUE: a new one belongs to the calling thread at once.
DLL_EXPORT_MOD HANDLE CreateMutexA( LPSECURITY_ATTRIBUTES pSecurity, BOOL fInitialOwner, LPCSTR pName );
// Errors: 2 there is none, 87 null name.
DLL_EXPORT_MOD HANDLE OpenMutexA( DWORD dwAccess, BOOL fInherit, LPCSTR pName );
// Gives it back, once for each wait that took it. Error 288: the calling thread does not own it.
DLL_EXPORT_MOD BOOL ReleaseMutex( HANDLE hMutex );

// ---- shared memory ----------------------------------------------------------------------------------------

// Makes or opens memory that processes share by name, zero at first. Its size stays as long as it exists.
//   hFile        INVALID_HANDLE_VALUE; mappings of files are not offered (87).
//   dwProtect    PAGE_READWRITE or PAGE_READONLY; with SEC_RESERVE the memory takes no room before VirtualAlloc asks for it,
//                and must not be touched before.
//   dwSizeHigh, dwSizeLow  bytes, not 0 (87). For an existing mapping they are not looked at.
DLL_EXPORT_MOD HANDLE CreateFileMappingA( HANDLE hFile, LPSECURITY_ATTRIBUTES pSecurity, DWORD dwProtect,
                                          DWORD dwSizeHigh, DWORD dwSizeLow, LPCSTR pName );
// Errors: 2 there is none, 87 null name.
DLL_EXPORT_MOD HANDLE OpenFileMappingA( DWORD dwAccess, BOOL fInherit, LPCSTR pName );
// A view of the memory in this process. It stays after the handle is closed; the name goes with the last handle.
//   dwAccess  FILE_MAP_READ, FILE_MAP_WRITE (which reads, too) or FILE_MAP_ALL_ACCESS.
//   dwOffsetHigh, dwOffsetLow  where it begins, a multiple of 65,536 (1132) before the end (87).
//   nBytes    0: to the end.
// Result: its address, null on failure. Errors: 5 larger than the memory rounded up to pages, or not allowed.
DLL_EXPORT_MOD LPVOID MapViewOfFile( HANDLE hMapping, DWORD dwAccess, DWORD dwOffsetHigh, DWORD dwOffsetLow,
                                     SIZE_T nBytes );
// Gets room for the first bytes of a view of reserved memory, for all views of it; what has room already keeps it and its bytes.
//   nBytes     not 0 (87).
//   dwType     MEM_COMMIT alone (87).
//   dwProtect  what the view may do: PAGE_READWRITE or PAGE_READONLY (87).
// Result: the view, null on failure. Errors: 487 no view of that length begins there, 112 the folder's file system is full.
DLL_EXPORT_MOD LPVOID VirtualAlloc( LPVOID pView, SIZE_T nBytes, DWORD dwType, DWORD dwProtect );
// Error 487: no view begins there.
DLL_EXPORT_MOD BOOL UnmapViewOfFile( LPCVOID pView );

// ---- waits ------------------------------------------------------------------------------------------------

// Waits until an object is ready, and takes it: an event that is set (and resets it unless it is a manual one), a mutex
// that is free or the thread's own, a thread or process that has ended.
//   dwMilliseconds  0: only looks; INFINITE: without limit.
// Result: WAIT_OBJECT_0; WAIT_ABANDONED, a mutex taken whose owner ended without giving it back; WAIT_TIMEOUT;
// WAIT_FAILED with the last error (6 no such handle, 5 without SYNCHRONIZE). A blocked wait uses no processor time.
DLL_EXPORT_MOD DWORD WaitForSingleObject( HANDLE hObject, DWORD dwMilliseconds );
// Waits for one (the lowest ready index is taken, and only that) or for all (nothing is taken before all are ready).
//   dwCount   1 to MAXIMUM_WAIT_OBJECTS (87).
// Result: WAIT_OBJECT_0 + index or WAIT_ABANDONED_0 + index; for all of them index 0; else as above.
DLL_EXPORT_MOD DWORD WaitForMultipleObjects( DWORD dwCount, const HANDLE* pHandles, BOOL fWaitAll,
                                             DWORD dwMilliseconds );
// 0 gives the processor to another thread; INFINITE never returns.
DLL_EXPORT_MOD void Sleep( DWORD dwMilliseconds );
// Milliseconds since the system's start; wraps after 49.7 days.
DLL_EXPORT_MOD DWORD GetTickCount();

#endif
