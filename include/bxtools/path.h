// Files and folders by their paths: whether they are there, where they belong, made and removed with their folders,
// temporary ones, short and long forms, and the user's choice of a folder.
//
//     TCHAR szPath[_MAX_PATH];
//     if ( BuildFilePath( szPath, _MAX_PATH, PATH_MODULE_DIR, "settings", "ini" ) &&
//          FileExists( szPath, FILE_ACCESS_READ, NULL, 0 ) )
//         ...
//
// In all of it:
// - MYCH_DELIMDIR divides the pieces of a path: '\' on Windows, '/' on Linux. On Linux a backslash in what a caller gives
//   divides as well, so that it is no part of a name, and becomes '/' in what is made of it; on Windows '/' divides
//   nothing.
// - The first piece of a path is the drive, the letters before the first delimiter. On Linux, where there are none, it is
//   the empty piece before an absolute path's '/', and the first name of a relative path.
// - TRUE, or FALSE with one report to the library's debug hook; where another function fails for this one, that one's
//   report comes first. No error record is pushed. The last error is then that of the system's call that failed.
// - Nothing throws. Where memory runs out the text is "Severe error occurred executing this function", unless it says
//   otherwise here.
// - Sizes count characters, and the zero is one of them.
// Threads: any, and other processes beside them.
#pragma once

#include <bxtools/export.h>
#include <bxtools/mstring.h>
#include <bxtools/wintypes.h>

// Where _MAX_PATH, 260, is defined on Windows: the room for a folder's name.
#include <stdlib.h>

// What a search from the end gives for "absent".
inline constexpr int MY_STRINGNOTFOUND = -1;

// What FileExists asks for.
inline constexpr int FILE_ACCESS_EXISTS = 0;
inline constexpr int FILE_ACCESS_READ = 1;
inline constexpr int FILE_ACCESS_WRITE = 2;
inline constexpr int FILE_ACCESS_READWRITE = 3;

// The folders of BuildFilePath: the running program's, the system's, and that of the system's libraries. The last two are
// chosen on Linux when the library is built.
inline constexpr int PATH_MODULE_DIR = 0;
inline constexpr int PATH_WINDOWS_DIR = 1;
inline constexpr int PATH_SYSTEM_DIR = 2;

// Whether a file or folder is there and may be used in a way. What is not so is no failure and not reported.
//   szPath      not null. Empty: FALSE, silently, and nothing is copied.
//   nMode       FILE_ACCESS_*; another one is reported, after szPath was copied.
//   szFullPath  out: the beginning of szPath, as it is given: no full path is made of it; kept so. A text of uSize
//               characters or more is cut to uSize and has no zero behind it; kept so. May be NULL, but not szPath itself.
//   uSize       room in szFullPath; 0 copies nothing.
// With both given it is what stands in szFullPath that is looked for; kept so.
// Root is held to the mode bits on Linux. That somebody has the file open does not matter.
DLL_EXPORT_MOD BOOL DLL_EXPORT FileExists( LPCTSTR szPath, int nMode, LPTSTR szFullPath, USHORT uSize );

// Puts a path together: folder, delimiter, name, and "." with the extension.
//   szFullPath  out: the path, cut where it does not fit, which is still TRUE; kept so. Empty on failure, untouched when
//               an argument is missing.
//   uSize       room in szFullPath, not 0.
//   nMode       PATH_*.
//   szFName     not null; may have pieces of its own.
//   szExt       without its dot; NULL: no dot either.
// FALSE also for a folder whose name, or whose program's, has 260 characters or more.
DLL_EXPORT_MOD BOOL DLL_EXPORT BuildFilePath( LPTSTR szFullPath, USHORT uSize, int nMode, LPCTSTR szFName,
                                              LPCTSTR szExt );

// Makes the missing folders of a path and then its file, which is empty afterwards, whatever was in it; kept so.
//   szPath  longer than three characters, counted modulo 65,536, kept so; with a delimiter in it. One that ends in a
//           delimiter is a folder's, and no file is made. The first piece is not made.
// FALSE: folders that were made stay. Another process may make the same ones at the same time.
DLL_EXPORT_MOD BOOL DLL_EXPORT CreatePathAndFile( LPCTSTR szPath );

// Deletes a file and then all folders of its path but the first piece, the innermost first: for a tree of folders that
// holds this one file.
//   szPath  as for CreatePathAndFile; one that ends in a delimiter has no file.
// FALSE, and the rest stays, at the first step that fails: so at the first folder that holds something else.
DLL_EXPORT_MOD BOOL DLL_EXPORT RemoveFileAndPath( LPCTSTR szPath );

// Makes a new, empty file in a folder under a name that no file has, not even with many processes at it.
//   szDstDir       a folder that may be read and written; its name is cut to 260 characters.
//   pName          the beginning of the name: its first three characters.
//   szExt          without a dot; NULL, or "TMP" in either case, gives the system's own.
//   pFullFileName  out: the path; untouched on failure. Where it does not fit it is cut, only SafeCopy's warning says
//                  so, and the result is TRUE; kept so. 260 characters are enough unless the extension is long.
//   usSize         room in pFullFileName, not 0.
// The file is for its user's eyes only, and the caller's to delete. FALSE also after 20 names that were taken with the
// extension wanted; each is reported, also when a later one succeeds.
DLL_EXPORT_MOD BOOL DLL_EXPORT CreateTempFile( LPCTSTR szDstDir, LPCTSTR pName, LPCTSTR szExt,
                                               LPTSTR pFullFileName, USHORT usSize );

// The long form of a path: each piece but the first as its folder spells it. "." and ".." stay, a delimiter at the end goes.
//   pFullPath  of two pieces or more, all of which are there. On Windows it begins with a drive, on Linux with one '/' at
//              most. Wildcard characters stand for themselves.
//   pLongPath  out: the path, on success. One that does not fit is cut and FALSE, after SafeCopy's warning.
//   uSize      room in pLongPath, not 0.
// Out of memory: " Error: ShortPath2Long(...) caused uncaught exception".
DLL_EXPORT_MOD BOOL DLL_EXPORT ShortPath2Long( LPCTSTR pFullPath, LPTSTR pLongPath, USHORT uSize );

// The same for strings.
//   aLongPath  out: the path; untouched on failure. May be aFullPath itself.
// Out of memory: " Error: ShortPath2Long1(...) caused uncaught exception".
DLL_EXPORT_MOD BOOL DLL_EXPORT ShortPath2Long1( const MString& aFullPath, MString& aLongPath );

// The short form of a path. There are no short names on Linux: it is the path itself, if it is there.
//   aLongPath   not empty.
//   aShortPath  out: the path; untouched on failure, also where the short form is longer. May be aLongPath itself.
// Out of memory: " Error: LongPath2Short(...) caused uncaught exception".
DLL_EXPORT_MOD BOOL DLL_EXPORT LongPath2Short( const MString& aLongPath, MString& aShortPath );

// Lets the user choose a folder, and waits for it.
//   hWndParent  the window that the dialog belongs to; may be NULL.
//   pTitle      the text above the folders.
//   pPath       in: the folder to begin with; out: the chosen one, cut and -1 when it does not fit. NULL begins nowhere
//               in particular, and what is chosen then is -1.
//   uSize       room in pPath.
// Result: 1 chosen, 2 cancelled, -1 failed, with one report. On Linux it fails where no window system is at hand.
// Threads: one that may show windows.
DLL_EXPORT_MOD int DLL_EXPORT GetDirDlg( HWND hWndParent, LPCTSTR pTitle, LPTSTR pPath, USHORT uSize );
