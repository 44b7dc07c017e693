// The error interface: set an error, count, read, delete, stream and show the errors of the calling thread,
// work on error streams held as text, and build texts about errors.
//
// Each thread has a stack of at most 70 error records, oldest first, record 0 being the first one set; it is
// made on first use and goes with the thread. No other thread sees it: errors cross threads, modules and
// processes as an error stream (see errobject.h), which AllErrors2Stream takes from the stack. Plain C
// callers use cerror.h.
//
// For all functions: TRUE on success, silently; FALSE with a report to the debug messages. A failure never
// pushes an error of its own. Nothing throws. Indexes count records from 0. No lock is taken: the functions
// touch only the calling thread's stack and their arguments, so that any thread may call any of them at any
// time. Streams may have any length.
#pragma once

#include <bxtools/errobject.h>
#include <bxtools/export.h>
#include <bxtools/mstring.h>
#include <bxtools/wintypes.h>

// Records that one stack holds; a further error is dropped, because the first errors of a cascade tell most.
inline constexpr ULONG MAX_ERRORS_ONSTACK = 70;
// Stacks that one thread may hold.
inline constexpr ULONG MAX_ERROR_SLOTS_ONSTACK = 10;

// The library that shows errors to the user, loaded when it is first needed, and the function it exports:
//   hWndParent    the parent window, or NULL.
//   fModeless     TRUE: return at once and leave the errors on the screen.
//   szErrStream   an error stream, empty for a thread without errors; valid during the call only.
// Result: FALSE when the errors could not be shown.
inline constexpr char DISP_ERR_LIB[] = "BXBox.DLL";
inline constexpr char ERRDISPFUNCNAME[] = "DisplayErrorFromStream";
typedef BOOL( DLL_EXPORT* ERRDISPFUNC )( HWND hWndParent, BOOL fModeless, LPCTSTR szErrStream );

// ---- the calling thread's errors --------------------------------------------------------------------------

// Adds an error to the thread's stack.
//   szCurErrCls           error class: the section of national-language texts that holds its message.
//                         ERRCLS_SYS_ERRNO with an empty origin text takes the run-time library's text for
//                         lCurErr. ERRCLS_SYS_LASTERROR with dwSysLastErr 0 takes the thread's last error, as
//                         it was when this was called; with this class the last error is 0 afterwards.
//   lCurErr               error number within the class.
//   dwSysLastErr          the system's last error that went with it, 0 if none.
//   aOriginErrText        what the reporting code had at hand.
//   aOptionalText         a further free text.
//   aOptionalTextParams   values for the message, joined by STRLIST_ITEM_SEPARATOR (see SetErrorTextParams).
// FALSE: the stack already holds MAX_ERRORS_ONSTACK errors, and this one is dropped; or memory is short.
DLL_EXPORT_MOD BOOL DLL_EXPORT SetLastErr( LPCTSTR szCurErrCls, ERR lCurErr, DWORD dwSysLastErr,
                                           const MString& aOriginErrText, const MString& aOptionalText,
                                           const MString& aOptionalTextParams );

// aStream becomes the text of one record alone, without a header: IsErrorStream of it is FALSE. The record
// stays.
DLL_EXPORT_MOD BOOL DLL_EXPORT Error2Stream( MString& aStream, ULONG ulIndex );

// Copies one record into the caller's. The record stays.
DLL_EXPORT_MOD BOOL DLL_EXPORT Error2Object( ErrObjectBase& aErrObjectBase, ULONG ulIndex );

// aStream becomes all errors as an error stream, and the stack becomes empty, also when the call fails. An
// empty stack leaves aStream as it is; kept so: empty it before the call.
DLL_EXPORT_MOD BOOL DLL_EXPORT AllErrors2Stream( MString& aStream );

// Deletes all errors.
DLL_EXPORT_MOD BOOL DLL_EXPORT ClearErrors();

// ulCount becomes the number of errors, 0 on failure.
DLL_EXPORT_MOD BOOL DLL_EXPORT GetAvailableErrorCount( ULONG& ulCount );

// Deletes one error.
DLL_EXPORT_MOD BOOL DLL_EXPORT DeleteError( ULONG ulIndex );

// Class, number and system error of one record.
DLL_EXPORT_MOD BOOL DLL_EXPORT GetOriginErrorValues( MString& aOriginErrCls, ERR& lCurErr, DWORD& dwLastErr,
                                                     ULONG ulIndex );

// Shows all errors through the display library and empties the stack, also when they cannot be shown.
//   hWndParent   the parent window, or NULL.
//   fModeless    TRUE: do not wait for the user.
DLL_EXPORT_MOD BOOL DLL_EXPORT DisplayError( HWND hWndParent, BOOL fModeless );

// ---- errors in a stream -----------------------------------------------------------------------------------

// TRUE exactly when the text begins with ERRSTREAM_HEADER and ERRSTREAM_RECORD_SEPARATOR. No failure, no
// report.
DLL_EXPORT_MOD BOOL DLL_EXPORT IsErrorStream( const MString& aErrStream );

// ulCount becomes the number of records; a text that is no error stream holds 0, and that is no failure.
DLL_EXPORT_MOD BOOL DLL_EXPORT GetAvailableErrorCountFromStream( ULONG& ulCount, const MString& aErrStream );

// Reads one record of a stream into aErrObjectBase; see ErrObjectBase::FromStream for what it rejects.
DLL_EXPORT_MOD BOOL DLL_EXPORT Error2ObjectFromStream( ErrObjectBase& aErrObjectBase, ULONG ulIndex,
                                                       const MString& aErrStream );

// Meant to delete one record, but cuts the stream at SEMICOLONS: what goes is piece ulIndex + 1 of the text
// split at ";", and a stream without a semicolon gives FALSE. Shipped so and kept so; to leave a record out,
// build a new stream.
DLL_EXPORT_MOD BOOL DLL_EXPORT DeleteErrorFromStream( ULONG ulIndex, MString& aErrStream );

// ulIndex becomes the index of the first record whose text equals that of aErrObjectBase, 0xFFFFFFFF when
// there is none; a miss is no failure.
DLL_EXPORT_MOD BOOL DLL_EXPORT FindObjectInStream( ULONG& ulIndex, ErrObjectBase& aErrObjectBase,
                                                   const MString& aErrStream );

// Class, number and system error of one record of a stream.
DLL_EXPORT_MOD BOOL DLL_EXPORT GetOriginErrorValuesFromStream( MString& aOriginErrCls, ERR& lCurErr,
                                                               DWORD& dwLastErr, ULONG ulIndex,
                                                               const MString& aErrStream );

// Adds a record's text, as Error2Stream gives it, to a stream. But where aErrStream2Append contains a record
// separator (is a stream itself), aErrStream is REPLACED by it, less what stands before its first separator;
// shipped so and kept so. To join two streams, append the records of the second one by one.
DLL_EXPORT_MOD BOOL DLL_EXPORT Append2Stream( MString& aErrStream, const MString& aErrStream2Append );

// Puts the last record first. Fewer than two records, or no stream at all, stay as they are.
DLL_EXPORT_MOD BOOL DLL_EXPORT ReverseStream( MString& aErrStream );

// Writes a stream, or any text, to the debug messages (debug.h). Of a stream each record is written as a person reads it,
// in the thread's language; see errclient.h. While messages are off, nothing is translated.
//   aModName, aHeader  module and header of the one message that is written.
//   aOutText           stands before the records; directly before a text that is no stream.
// TRUE also when records cannot be read or translated: what could not be had is reported and left out.
DLL_EXPORT_MOD BOOL DLL_EXPORT OnDebugErrorStream( const MString& aErrStream, const MString& aModName,
                                                   const MString& aHeader, const MString& aOutText );

// ---- texts ------------------------------------------------------------------------------------------------

// Appends CR LF and the system's text for an error number, which brings its own line end.
//   dwLastErr        the number; 0 stands for the thread's last error.
//   pfMessageFound   out: TRUE when a text was appended.
// Result: TRUE also for a number without a text, which then leaves paOut alone. FALSE, reported twice, when
// the text cannot be had as it stands (it wants inserts) but the reason has a text; what the report calls the
// error is the length of that text. All of this is kept so.
DLL_EXPORT_MOD BOOL DLL_EXPORT AppendLastErrMsg( MString& paOut, DWORD dwLastErr, BOOL& pfMessageFound );

// aOut becomes szText (NULL: empty), and the system's text is appended as by AppendLastErrMsg.
DLL_EXPORT_MOD BOOL DLL_EXPORT ExpandLastError( MString& aOut, LPCTSTR szText, long lLastErr,
                                                BOOL& fMessageFound );

// Builds text parameters like printf: aNewArgString becomes one parameter for each conversion of pFormat.
// What stands before the first percent sign is dropped; what follows a conversion stays with it. "File %s,
// line %d" gives the parameters "%s, line " and "%d", joined by STRLIST_ITEM_SEPARATOR. Each percent sign
// counts as a conversion, so a "%%" has no place here.
// FALSE, with aNewArgString empty: pFormat is NULL or has no percent sign, or the text grows beyond what the
// thread's scratch buffer takes: 20,478 characters on a thread that has built no long text yet, more once the
// buffer has grown.
DLL_EXPORT_MOD BOOL SetErrorTextParams( MString& aNewArgString, LPCTSTR pFormat, ... )
    BX_PRINTF_FORMAT( 2, 3 );

// aNewArgString becomes the parameters aOldArgString with aArg as one more. The arguments may be the same
// string.
DLL_EXPORT_MOD BOOL DLL_EXPORT AddErrorTextParams( const MString& aOldArgString, const MString& aArg,
                                                   MString& aNewArgString );

// aRet becomes a number in decimal and hexadecimal: "-2147024882 (hex: 0x8007000E)".
//   fDWORD   TRUE: dwValue, unsigned; FALSE: hRes, signed.
DLL_EXPORT_MOD void DLL_EXPORT Error2StrHex( HRESULT hRes, DWORD dwValue, MString& aRet, BOOL fDWORD );
