// Character buffers that callers see, formatted text in the thread's own buffer, a bounded copy, and escapes.
#pragma once

#include <bxtools/export.h>
#include <bxtools/wintypes.h>

#include <cstdarg>

class MString;

// Makes an uninitialised array of ulSize characters, for MyTCHARDeleter to free.
// Result: the array, the caller's; NULL with one report when there is no memory. Threads: any. Never throws.
DLL_EXPORT_MOD LPTSTR DLL_EXPORT MyTCHARFactory( ULONG ulSize );

// Frees an array made by MyTCHARFactory; NULL is accepted. Result: TRUE. Threads: any.
DLL_EXPORT_MOD BOOL DLL_EXPORT MyTCHARDeleter( LPTSTR pObj );

// Grows a buffer made by MyTCHARFactory.
//   fWithCopy     TRUE: the old characters stay at the start. FALSE: the old buffer is freed first, so that a failed
//                 allocation leaves no buffer and size 0.
//   puBufferSize  in: the size in characters; out: the new one.
//   uExpandSize   how many characters to add.
//   uMaxBufSize   the largest size allowed; beyond it nothing changes.
//   ppBuffer      in: the buffer; out: the new one, the caller's.
// Result: TRUE, or FALSE with one report (short of memory, that of MyTCHARFactory comes first); null pointers give FALSE.
// Threads: any, one per buffer.
DLL_EXPORT_MOD BOOL DLL_EXPORT EpandTCHARBuffer( BOOL fWithCopy, ULONG* puBufferSize, ULONG uExpandSize,
                                                 ULONG uMaxBufSize, LPTSTR* ppBuffer );

// Formats like printf into the calling thread's scratch buffer, which grows until the text fits.
//   pFormat, argptr  as for vprintf; the format must not be empty.
// Result: the text, in the thread's buffer: valid until this thread's next call, and not for other threads. NULL with
// one report when the text would be longer than 20,478 characters (a buffer that has grown before reaches further), when
// a pointer is null or the format is empty; where the buffer cannot grow, what it is made of reports as well. In the
// steady state nothing is allocated.
DLL_EXPORT_MOD LPCTSTR DLL_EXPORT internalBuildStr( LPCTSTR pFormat, va_list argptr )
    BX_PRINTF_FORMAT( 1, 0 );

// Copies a text into a buffer of lDestSize characters and terminates it.
//   pSource  its length counts modulo 65,536; kept so.
// Result: TRUE when all of it fitted; FALSE with one report when it was cut (the buffer then holds the beginning),
// when lDestSize is below 1 or a pointer is null (nothing is written then). Threads: any.
DLL_EXPORT_MOD BOOL DLL_EXPORT SafeCopy( LPTSTR pDest, LPCTSTR pSource, LONG lDestSize );

// Turns the escapes \a \b \f \n \r \t \v \0 (in either case) of a text into their characters, in place. The marker
// %z (in either case) switches the conversion off and on again and is dropped. An unknown escape is reported and
// stays as written; a backslash or percent sign as very last character is dropped; kept so. A text of which nothing
// would remain is left unchanged; kept so. NULL is reported. Threads: any. Never throws.
DLL_EXPORT_MOD void DLL_EXPORT ReplaceAllBackSlashChars( LPTSTR pszStr );

// The same for a string.
DLL_EXPORT_MOD void DLL_EXPORT ReplaceAllBackSlashChars( MString& pstStr );
