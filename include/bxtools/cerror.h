// The error interface for callers that cannot pass the library's string class: plain C, or any language that
// calls C. Texts are zero-terminated characters; a NULL text that goes in is an empty one. What the functions
// do is told in error.h under their names without C_; in all of them TRUE is success and FALSE comes with a
// report to the debug messages. No function throws or keeps a pointer.
//
// Texts that come out go into a buffer of the caller:
//   - the size given is that of the buffer in characters, the final zero included;
//   - once there is a text, the size pointer, which may be NULL, receives the size that it needs, also when
//     the buffer is too small (the 16-bit ones receive it modulo 65,536);
//   - a buffer that is too small stays untouched, and the call gives FALSE.
// So one asks with size 0 and calls again with a buffer of the size told. C_AllErrors2Stream is no such case.
#pragma once

#include <bxtools/export.h>
#include <bxtools/wintypes.h>

#ifdef __cplusplus
extern "C"
{
#endif

    // Adds an error to the calling thread's stack.
    DLL_EXPORT_MOD BOOL DLL_EXPORT C_SetLastErr( LPCTSTR szCurErrCls, ERR lCurErr, DWORD dwSysLastErr,
                                                 LPCTSTR aOriginErrText, LPCTSTR aOptionalText,
                                                 LPCTSTR aOptionalTextParams );

    // *pulCount becomes the number of errors of the calling thread; pulCount must not be NULL.
    DLL_EXPORT_MOD BOOL DLL_EXPORT C_GetAvailableErrorCount( ULONG* pulCount );

    // The text of one record of the calling thread, without a header. The record stays.
    DLL_EXPORT_MOD BOOL DLL_EXPORT C_Error2Stream( LPTSTR aStream, USHORT usSize, ULONG ulIndex,
                                                   USHORT* pusNeededSize );

    // All errors of the calling thread as an error stream; without errors, an empty text. The stack is
    // emptied in any case, so the errors are LOST when the buffer is too small; shipped so and kept so: pass
    // a buffer that is large enough the first time.
    DLL_EXPORT_MOD BOOL DLL_EXPORT C_AllErrors2Stream( LPTSTR aStream, ULONG ulSize, ULONG* pulNeededSize );

    // Class, number and system error of one record of the calling thread; plCurErr and pdwLastErr must not be
    // NULL, and are filled also when the buffer for the class is too small.
    DLL_EXPORT_MOD BOOL DLL_EXPORT C_GetOriginErrorValues( LPTSTR aOriginErrCls, USHORT usSize,
                                                           USHORT* pusNeededSize, ERR* plCurErr,
                                                           DWORD* pdwLastErr, ULONG ulIndex );

    // Tells whether a text is an error stream.
    DLL_EXPORT_MOD BOOL DLL_EXPORT C_IsErrorStream( LPCTSTR aErrStream );

    // *pulCount becomes the number of records in a stream; pulCount must not be NULL.
    DLL_EXPORT_MOD BOOL DLL_EXPORT C_GetAvailableErrorCountFromStream( ULONG* pulCount, LPCTSTR aErrStream );

    // Cuts a piece out of the stream in place, at semicolons; see DeleteErrorFromStream for what is kept so.
    // The result is never longer than the text was.
    DLL_EXPORT_MOD BOOL DLL_EXPORT C_DeleteErrorFromStream( ULONG ulIndex, LPTSTR aErrStream );

    // Class, number and system error of one record of a stream; as C_GetOriginErrorValues.
    DLL_EXPORT_MOD BOOL DLL_EXPORT C_GetOriginErrorValuesFromStream( LPTSTR aOriginErrCls, USHORT usSize,
                                                                     USHORT* pusNeededSize, ERR* plCurErr,
                                                                     DWORD* pdwLastErr, ULONG ulIndex,
                                                                     LPCTSTR aErrStream );

    // Adds a record to the stream in aErrStream, a buffer of ulSize characters, or replaces that stream; see
    // Append2Stream.
    DLL_EXPORT_MOD BOOL DLL_EXPORT C_Append2Stream( LPTSTR aErrStream, ULONG ulSize, ULONG* pulNeededSize,
                                                    LPCTSTR aErrStream2Append );

    // Puts the last record of the stream first, in place.
    DLL_EXPORT_MOD BOOL DLL_EXPORT C_ReverseStream( LPTSTR aErrStream );

    // Writes a stream to the debug messages, translated; see OnDebugErrorStream.
    DLL_EXPORT_MOD BOOL DLL_EXPORT C_OnDebugErrorStream( LPCTSTR aErrStream, LPCTSTR aModName,
                                                         LPCTSTR aHeader, LPCTSTR aOutText );

#ifdef __cplusplus
}
#endif
