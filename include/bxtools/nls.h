// Texts in the user's language, by section and key. Plain C takes this header, too, for C_LoadNlsString.
//
//     const MString aTitle = LoadNlsString( "EDITOR.MAINWINDOW", "EDITOR.COMMON", "Title" );
//
// In all of it:
// - A section is written FILE.SECTION; a common section is one that several modules share, and is asked when the first has no
//   such key. Sections and keys are looked for in upper case: the case in which a caller writes them does not matter.
// - A key that has no text is its own text, as the caller wrote it, so that a program that nobody translated shows its keys.
// - The texts come from the calling thread's server, which the thread's first lookup makes; nlsserver.h tells where it reads
//   them. Where it cannot be had, or cannot read, every key is its own text. No lookup that fails is reported: only a server
//   with the debug flag set tells of each key that has no text.
// Threads: any; each has its own server, and none waits for another. Nothing throws.
#pragma once

#include <bxtools/export.h>
#include <bxtools/wintypes.h>

#ifdef __cplusplus

#include <bxtools/mstring.h>

// The text of a key.
//   sSec     the section. Empty: the result is the key, with one report to the library's debug hook.
//   sSecCom  the common section; empty: there is none.
//   sKey     empty: the result is empty.
DLL_EXPORT_MOD MString DLL_EXPORT LoadNlsString( const MString& sSec, const MString& sSecCom,
                                                 const MString& sKey );

// The same, and tells whether there was a text.
//   pbFound  out: TRUE when the text is that of one of the sections; FALSE when it is the key. May be NULL.
DLL_EXPORT_MOD MString DLL_EXPORT LoadNlsStringEx( const MString& sSec, const MString& sSecCom,
                                                   const MString& sKey, BOOL* pbFound );

extern "C"
{
#endif

    // The text of a key in a buffer of the caller. What does not fit is cut off, which is no failure: compare the size needed
    // with that of the buffer.
    //   lpszSec        the section; not NULL, not empty.
    //   lpszSecCom     the common section; NULL or empty: there is none.
    //   lpszKey        NULL: no text, an empty buffer, needed size 1.
    //   lpszString     out: the text, terminated. Not NULL.
    //   usStringSize   characters in lpszString, the zero included; not 0.
    //   pusNeededSize  out: the size that the whole text needs, zero included, modulo 65,536. Not NULL.
    // Result: TRUE when the text is that of one of the sections. FALSE without a report when it is the key, which then is in the
    // buffer; FALSE with one report, and nothing written, when an argument is not as said above.
    DLL_EXPORT_MOD BOOL DLL_EXPORT C_LoadNlsString( LPCTSTR lpszSec, LPCTSTR lpszSecCom, LPCTSTR lpszKey,
                                                    LPTSTR lpszString, USHORT usStringSize,
                                                    USHORT* pusNeededSize );

#ifdef __cplusplus
}
#endif
