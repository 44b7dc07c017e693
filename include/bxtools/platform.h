// The Win32 calls that the library stands on and that its callers need beside it. On Windows the system
// brings them; on Linux libbxtools.so implements and exports the ones declared here, with C++ linkage, so
// that they meet no other library's names. The explicit A form is the only one: texts are bytes, UTF-8 where
// they meet wide characters.
// Errors: a call that fails says why through GetLastError. A call that succeeds leaves the last error as it
// was unless it is said here. Threads: any, unless said otherwise. None of these functions throws.
#pragma once

#include <bxtools/export.h>
#include <bxtools/wintypes.h>

#if defined( BX_PLATFORM_LAYER )

#include <bxtools/platform_files.h>
#include <bxtools/platform_objects.h>
#include <bxtools/platform_profile.h>
#include <bxtools/platform_registry.h>
#include <bxtools/platform_threads.h>
#include <bxtools/platform_windows.h>

#include <stdarg.h>

// ---- last error -------------------------------------------------------------------------------------------

// The calling thread's last error; 0 in a new thread. Independent of errno.
DLL_EXPORT_MOD DWORD GetLastError();
DLL_EXPORT_MOD void SetLastError( DWORD dwErrCode );

// The system's text for an error number, or for an HRESULT of facility 7, ended by one CR LF.
//   dwFlags       FORMAT_MESSAGE_FROM_SYSTEM, which must be set, with FORMAT_MESSAGE_ALLOCATE_BUFFER and
//                 FORMAT_MESSAGE_IGNORE_INSERTS as wanted.
//   lpSource      ignored.
//   dwLanguageId  ignored; there is one language.
//   lpBuffer      receives the text; with ALLOCATE_BUFFER it is the address of an LPSTR, which receives a new
//                 buffer that the caller frees with LocalFree, or null on failure.
//   nSize         characters in lpBuffer; with ALLOCATE_BUFFER the least to allocate.
//   pArguments    ignored: inserts are never filled in.
// Result: characters without the final zero, 0 on failure. Errors: 317 no text for this number; 87 the text
// contains inserts and IGNORE_INSERTS is not set, or lpBuffer is null (8 with ALLOCATE_BUFFER), or the source
// is not the system; 122 too small.
DLL_EXPORT_MOD DWORD FormatMessageA( DWORD dwFlags, LPCVOID lpSource, DWORD dwMessageId, DWORD dwLanguageId,
                                     LPSTR lpBuffer, DWORD nSize, va_list* pArguments );

// Frees a buffer that FormatMessageA allocated; null is fine. Always returns null.
DLL_EXPORT_MOD HLOCAL LocalFree( HLOCAL hMemory );

// ---- kernel handles ---------------------------------------------------------------------------------------

// Gives a handle back; its object ends with its last handle. Error 6: no handle, or one that is closed
// already. Where a file on the network says no sooner than now that what was written had no room (112) or could
// not be stored (23), that is the error, and the handle is closed. A handle belongs to the process that made it:
// in the child of a fork the parent's handles answer 6.
DLL_EXPORT_MOD BOOL CloseHandle( HANDLE hObject );

// ---- locks and counters within a process ------------------------------------------------------------------

// A recursive lock. Memory that is all zero counts as initialised, so that a static one needs no constructor.
// In the child of a fork a lock that another thread of the parent held is free (what it guards may be half
// changed).
DLL_EXPORT_MOD void InitializeCriticalSection( LPCRITICAL_SECTION pSection );
DLL_EXPORT_MOD BOOL InitializeCriticalSectionAndSpinCount( LPCRITICAL_SECTION pSection, DWORD dwSpinCount );
DLL_EXPORT_MOD void EnterCriticalSection( LPCRITICAL_SECTION pSection );
DLL_EXPORT_MOD BOOL TryEnterCriticalSection( LPCRITICAL_SECTION pSection );
// Only by the thread that entered, once for each time it entered.
DLL_EXPORT_MOD void LeaveCriticalSection( LPCRITICAL_SECTION pSection );
// The lock must be free and unused from here on.
DLL_EXPORT_MOD void DeleteCriticalSection( LPCRITICAL_SECTION pSection );

// Sequentially consistent. Increment and Decrement return the new value, the others the value before.
inline LONG InterlockedIncrement( LONG volatile* pValue )
{
    return __atomic_add_fetch( pValue, 1, __ATOMIC_SEQ_CST );
}
inline LONG InterlockedDecrement( LONG volatile* pValue )
{
    return __atomic_sub_fetch( pValue, 1, __ATOMIC_SEQ_CST );
}
inline LONG InterlockedExchange( LONG volatile* pValue, LONG lNew )
{
    return __atomic_exchange_n( pValue, lNew, __ATOMIC_SEQ_CST );
}
inline LONG InterlockedExchangeAdd( LONG volatile* pValue, LONG lAdd )
{
    return __atomic_fetch_add( pValue, lAdd, __ATOMIC_SEQ_CST );
}
// Stores lNew when the value equals lComparand.
inline LONG InterlockedCompareExchange( LONG volatile* pValue, LONG lNew, LONG lComparand )
{
    __atomic_compare_exchange_n( pValue, &lComparand, lNew, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST );
    return lComparand;
}

// ---- thread-local slots -----------------------------------------------------------------------------------

// Reserves a slot that reads null in every thread, old and new. 1088 slots per process.
// Result: its index; TLS_OUT_OF_INDEXES when all are taken (error 259).
DLL_EXPORT_MOD DWORD TlsAlloc();
// Gives a slot back. What the threads stored is forgotten, not freed. Error 87: no such slot.
DLL_EXPORT_MOD BOOL TlsFree( DWORD dwIndex );
// The calling thread's value. Sets the last error: 0 on success, so that a stored null is told from a
// failure; 87 when the index is out of range.
DLL_EXPORT_MOD LPVOID TlsGetValue( DWORD dwIndex );
// Stores the calling thread's value. Errors: 87 index out of range, 8 out of memory.
DLL_EXPORT_MOD BOOL TlsSetValue( DWORD dwIndex, LPVOID pValue );

// ---- modules ----------------------------------------------------------------------------------------------

// Loads a shared library, or counts one more use of a loaded one; a file has one handle however its name is
// spelled.
//   pFileName  "NAME.DLL" or "NAME": libname.so, then libNAME.so, then the name itself, each looked for
//              beside libbxtools.so, then beside the program, then where the system's loader looks. Any other
//              name without a directory is looked for as it is in the same places. A name with a directory,
//              divided by either separator, is taken as it is.
// Result: the handle, null on failure. Errors: 126 not found (a null name, too), or something it needs is
// not; 193 not a library for this machine, or cut short.
DLL_EXPORT_MOD HMODULE LoadLibraryA( LPCSTR pFileName );
// Gives one use back; the library is unloaded with its last. Error 126: no loaded module, or not loaded by
// this call; 6 null.
DLL_EXPORT_MOD BOOL FreeLibrary( HMODULE hModule );
// The address of a function or a variable; names are case-sensitive. Errors: 127 no such name, 126 no such
// module.
DLL_EXPORT_MOD FARPROC GetProcAddress( HMODULE hModule, LPCSTR pProcName );
// The handle of a module that is loaded already, without counting a use; null stands for the program. Error
// 126.
DLL_EXPORT_MOD HMODULE GetModuleHandleA( LPCSTR pModuleName );
// The absolute path of a module's file; null stands for the program.
//   pFileName  out: the path, terminated; cut when it does not fit.
//   dwSize     characters in pFileName.
// Result: characters without the final zero; dwSize with error 122 when cut; 0 with error 126 for no module.
// Sets the last error to 0 on success.
DLL_EXPORT_MOD DWORD GetModuleFileNameA( HMODULE hModule, LPSTR pFileName, DWORD dwSize );

// ---- debug output -----------------------------------------------------------------------------------------

// Hands a text to whoever listens to debug output. BXTOOLS_DEBUG_SINK says who: stderr (the default),
// file:PATH (appended to), none, or several of them with commas; it is read once, and
// not at all in a process with raised rights. A message is written whole, never between the pieces of another
// thread's. Never fails, keeps errno and the last error, and is no cancellation point. Null writes nothing.
DLL_EXPORT_MOD void OutputDebugStringA( LPCSTR pOutputString );

// ---- wide characters --------------------------------------------------------------------------------------

// Bytes to UTF-16. CP_ACP and CP_UTF8 are UTF-8; bytes that are not UTF-8 become U+FFFD.
//   dwFlags           MB_ERR_INVALID_CHARS makes wrong bytes an error (1113); MB_PRECOMPOSED is ignored.
//   nBytes            bytes to convert, -1 for a terminated text, whose zero is then converted and counted,
//                     too.
//   nWideCharacters   room in pWide; 0 asks for the number needed.
// Result: units written or needed, 0 on failure. Errors: 87 null or empty input, unknown code page; 122 too
// small.
DLL_EXPORT_MOD int MultiByteToWideChar( UINT uCodePage, DWORD dwFlags, LPCSTR pBytes, int nBytes,
                                        LPWSTR pWide, int nWideCharacters );
// UTF-16 to bytes; the same conventions. Lone surrogates become U+FFFD.
//   pDefaultChar, pUsedDefaultChar  ignored, and the latter set to FALSE: every character has a UTF-8 form.
DLL_EXPORT_MOD int WideCharToMultiByte( UINT uCodePage, DWORD dwFlags, LPCWSTR pWide, int nWideCharacters,
                                        LPSTR pBytes, int nBytes, LPCSTR pDefaultChar,
                                        LPBOOL pUsedDefaultChar );

// Counted UTF-16 texts with a final zero that does not count; embedded zeros are kept. A null BSTR is an
// empty text. The texts belong to the caller until SysFreeString. Null results mean out of memory (or a null
// source).
DLL_EXPORT_MOD BSTR SysAllocString( const OLECHAR* pText );
// uLength characters; a null source gives characters of no particular value.
DLL_EXPORT_MOD BSTR SysAllocStringLen( const OLECHAR* pText, UINT uLength );
// Replaces *pBstr, which may be null, by a copy of pText, which may be part of it. FALSE: out of memory,
// *pBstr kept.
DLL_EXPORT_MOD int SysReAllocString( BSTR* pBstr, const OLECHAR* pText );
DLL_EXPORT_MOD int SysReAllocStringLen( BSTR* pBstr, const OLECHAR* pText, UINT uLength );
DLL_EXPORT_MOD void SysFreeString( BSTR aBstr );
// Length in characters and in bytes, without the final zero.
DLL_EXPORT_MOD UINT SysStringLen( BSTR aBstr );
DLL_EXPORT_MOD UINT SysStringByteLen( BSTR aBstr );

// ---- the user's country -----------------------------------------------------------------------------------

// The country code of the telephone, in digits, of the territory that LC_ALL, LC_MESSAGES or LANG names, the first of them that
// is set and not empty.
//   lctype   LOCALE_ICOUNTRY; there is nothing else.
//   nSize    characters in pData; 0 asks for the number needed.
// Result: characters written or needed, the zero included; 0 on failure. Errors: 87 no territory, as in "C" and "POSIX", or none
// that is known; 122 too small; 1004 another item.
DLL_EXPORT_MOD int GetLocaleInfoA( LCID dwLocale, LCTYPE lctype, LPSTR pData, int nSize );

// ---- the system, the process, the thread ------------------------------------------------------------------

// The system's version: platform id 2, with the running kernel's version numbers. dwOSVersionInfoSize must be
// 148 (122).
DLL_EXPORT_MOD BOOL GetVersionExA( LPOSVERSIONINFOA pVersion );
// The host's name.
//   pSize  in: room in pBuffer; out: characters without the final zero, or on error 111 the room needed.
DLL_EXPORT_MOD BOOL GetComputerNameA( LPSTR pBuffer, LPDWORD pSize );
DLL_EXPORT_MOD DWORD GetCurrentProcessId();
// The kernel's number of the calling thread, unique in the system while the thread lives.
DLL_EXPORT_MOD DWORD GetCurrentThreadId();

#endif
