// Part of platform.h, which callers include instead: files, folders and paths.
//
// Paths. Both '/' and '\' divide one; '/' comes out. There are no drives: an absolute path begins with a separator. Upper
// and lower case differ, and all characters stand for themselves, but nothing is made under a name with '*' or '?' (123).
// Symbolic links are followed. Errors: 2 the file is not there, 3 its folder is not (also for an empty or null path), 206
// longer than the system takes.
// Sharing. A handle says what it leaves to others, and an open file is neither deleted nor renamed (32). That holds among
// this library's users, in all processes and inside one, however the path is spelled, until the handle is closed or its
// process ends, killed or not. Other programs' opening is not noticed; a lock of theirs over the whole file counts as use
// without sharing. File systems without locks (the error is EINVAL, ENOSYS or EOPNOTSUPP) have no sharing and no ranges.
// Rights. For root, whom the system lets do everything, a file without any write bit is read-only, and one without any read
// bit cannot be read.
// Only disk files: a folder, a device, a pipe gives 5, and is not touched.
// None of these functions is a cancellation point, and errno stays as it was unless it is said here.
#pragma once

#include <bxtools/export.h>
#include <bxtools/wintypes.h>

#if defined( BX_PLATFORM_LAYER )

// ---- files ------------------------------------------------------------------------------------------------

// Opens or makes a file. Result: a handle for CloseHandle; INVALID_HANDLE_VALUE on failure, and a file that
// was there is as it was; one that was made may be left, empty, where descriptors or memory ran out then.
//   dwAccess       GENERIC_READ, GENERIC_WRITE, both, or 0: neither, which takes no part in sharing.
//   dwShare        FILE_SHARE_READ, FILE_SHARE_WRITE, both or 0: what other handles may have and get.
//   pSecurity      null, or bInheritHandle says whether programs that are started inherit the file's descriptor; what
//                  carries the sharing and the locked ranges is never inherited.
//   dwDisposition  CREATE_NEW (80: it is there), CREATE_ALWAYS (emptied if it is there, also without write access),
//                  OPEN_EXISTING, OPEN_ALWAYS, TRUNCATE_EXISTING (needs GENERIC_WRITE).
//   dwFlags        attributes and the two hints on access; FILE_ATTRIBUTE_READONLY makes a new file read-only, the others
//                  are not looked at. Other flags: 87.
//   hTemplate      ignored.
// New files have mode 0666 less the umask. The last error on success: 183 when CREATE_ALWAYS or OPEN_ALWAYS found the
// file, else 0. Errors: 32 somebody's sharing forbids it; 5 no right, read-only (for CREATE_ALWAYS always), or no file;
// 19 read-only file system; 4, 8, 87.
DLL_EXPORT_MOD HANDLE CreateFileA( LPCSTR pFileName, DWORD dwAccess, DWORD dwShare,
                                   LPSECURITY_ATTRIBUTES pSecurity, DWORD dwDisposition, DWORD dwFlags,
                                   HANDLE hTemplate );
// Reads at the position and moves it. At the end, and beyond it, 0 bytes are read, which is no failure.
//   pRead        out: bytes read, 0 on failure; may be null.
//   pOverlapped  null (87).
// Errors: 5 not opened for it, 33 another handle has locked a part of the range.
DLL_EXPORT_MOD BOOL ReadFile( HANDLE hFile, LPVOID pBuffer, DWORD dwBytes, LPDWORD pRead,
                              LPOVERLAPPED pOverlapped );
// Writes at the position and moves it; a gap between the end and the position reads as zeros. 0 bytes change nothing.
//   pWritten  out: bytes written; fewer than asked for where there was no more room, which the next call reports (112).
DLL_EXPORT_MOD BOOL WriteFile( HANDLE hFile, LPCVOID pBuffer, DWORD dwBytes, LPDWORD pWritten,
                               LPOVERLAPPED pOverlapped );
// Moves the position, which duplicates of a handle share; it may lie beyond the end.
//   lDistance      bytes, signed; with pDistanceHigh the low half of them.
//   pDistanceHigh  null, or in: the high half; out: that of the new position.
//   dwMethod       FILE_BEGIN, FILE_CURRENT, FILE_END (87).
// Result: the low half of the new position. INVALID_SET_FILE_POINTER is a failure only when the last error is not 0.
// Errors, nothing is moved: 131 before the beginning; 87 beyond 32 bits without pDistanceHigh.
DLL_EXPORT_MOD DWORD SetFilePointer( HANDLE hFile, LONG lDistance, PLONG pDistanceHigh, DWORD dwMethod );
// Result: the low half; INVALID_FILE_SIZE is a failure only when the last error is not 0.
//   pSizeHigh  out: the high half; may be null.
DLL_EXPORT_MOD DWORD GetFileSize( HANDLE hFile, LPDWORD pSizeHigh );
// Makes the file end at the position, shorter or longer. Error 5: not opened for writing.
DLL_EXPORT_MOD BOOL SetEndOfFile( HANDLE hFile );
// Returns when what was written is on the disk. Error 5: not opened for writing.
DLL_EXPORT_MOD BOOL FlushFileBuffers( HANDLE hFile );

// Locks a range for this handle and its duplicates, without waiting: other handles neither lock, read nor write in it. It
// may lie beyond the end. It ends with UnlockFile, with the last duplicate, or with the process.
// Errors: 33 a part of it is locked already, by this very handle, too; 87 beyond 62 bits; 5 the handle has no access.
DLL_EXPORT_MOD BOOL LockFile( HANDLE hFile, DWORD dwOffsetLow, DWORD dwOffsetHigh, DWORD dwBytesLow,
                              DWORD dwBytesHigh );
// Error 158: this handle has not locked exactly this range.
DLL_EXPORT_MOD BOOL UnlockFile( HANDLE hFile, DWORD dwOffsetLow, DWORD dwOffsetHigh, DWORD dwBytesLow,
                                DWORD dwBytesHigh );

// A second handle of a file: one position, one sharing, the same access. Each is closed for itself.
//   hSourceProcess, hTargetProcess  GetCurrentProcess() (6).
//   dwAccess   ignored.
//   fInherit   as bInheritHandle of CreateFileA, for this handle.
//   dwOptions  DUPLICATE_SAME_ACCESS (87).
// Errors: 6 no handle, 50 a handle of something else.
DLL_EXPORT_MOD BOOL DuplicateHandle( HANDLE hSourceProcess, HANDLE hSource, HANDLE hTargetProcess,
                                     LPHANDLE pTarget, DWORD dwAccess, BOOL fInherit, DWORD dwOptions );
// Stands for the calling process; not to be closed.
DLL_EXPORT_MOD HANDLE GetCurrentProcess();

// Deletes a file, or a symbolic link. Errors: 5 a folder, or read-only, or neither readable nor writable; 32 open.
DLL_EXPORT_MOD BOOL DeleteFileA( LPCSTR pFileName );
// Renames a file or a folder, copying a file where the new name lies on another file system. Never overwrites. A folder
// moves also when files in it are open.
// Errors: 183 there is something of the new name; 32 open; 17 a folder onto another file system.
DLL_EXPORT_MOD BOOL MoveFileA( LPCSTR pOldName, LPCSTR pNewName );

// ---- folders and searches ---------------------------------------------------------------------------------

// Makes a folder with mode 0777 less the umask. Errors: 183 there is something of that name.
DLL_EXPORT_MOD BOOL CreateDirectoryA( LPCSTR pPath, LPSECURITY_ATTRIBUTES pSecurity );
// Removes an empty folder. Errors: 145 not empty, 267 no folder.
DLL_EXPORT_MOD BOOL RemoveDirectoryA( LPCSTR pPath );
// Whether a path is there (0), may be written (2), read (4), or both (6), folders by the same rule as files. Nobody's
// sharing matters. Result: 0 yes, -1 no, and errno says why (ENOENT, EACCES, EINVAL for another mode); the last error stays.
DLL_EXPORT_MOD int _access( const char* pPath, int nMode );

// Starts a search.
//   pPattern  a path; '*' in its last piece stands for any characters, '?' for one or, at the end, none. "*.*" finds every
//             name. A piece with such characters that is the very name of a file finds that file first.
//   pData     out: the first find. Times of creation are those of the last change where the file system keeps none; there
//             are no alternate names.
// Result: a handle for FindClose, INVALID_HANDLE_VALUE on failure. "." and ".." come first, the rest in no order.
// Errors: 2 nothing found, also behind a final separator; 3.
DLL_EXPORT_MOD HANDLE FindFirstFileA( LPCSTR pPattern, LPWIN32_FIND_DATAA pData );
// Error 18: there are no more.
DLL_EXPORT_MOD BOOL FindNextFileA( HANDLE hFindFile, LPWIN32_FIND_DATAA pData );
DLL_EXPORT_MOD BOOL FindClose( HANDLE hFindFile );

// ---- paths ------------------------------------------------------------------------------------------------

// The path calls that fill a buffer: the result is the length without the final zero; where the buffer is too small,
// nothing useful is in it and the result is the room needed, with the zero; 0 on failure.

// The absolute path, by its text alone: "." and ".." are resolved, never above the root, repeated separators become one, a
// final one stays.
//   pFilePart  out: what follows the last separator in pBuffer, null when nothing does; may be null.
// Error 123: empty.
DLL_EXPORT_MOD DWORD GetFullPathNameA( LPCSTR pFileName, DWORD dwSize, LPSTR pBuffer, LPSTR* pFilePart );
// There are no short names: the path itself, if it is there.
DLL_EXPORT_MOD DWORD GetShortPathNameA( LPCSTR pLongPath, LPSTR pShortPath, DWORD dwSize );
// The folder for temporary files, a separator at its end: $TMPDIR when it is absolute (not for a process with raised
// rights), else /tmp.
DLL_EXPORT_MOD DWORD GetTempPathA( DWORD dwSize, LPSTR pBuffer );
// The folders that were configured when the library was built.
DLL_EXPORT_MOD UINT GetWindowsDirectoryA( LPSTR pBuffer, UINT uSize );
DLL_EXPORT_MOD UINT GetSystemDirectoryA( LPSTR pBuffer, UINT uSize );
// A name for a temporary file: folder, up to three characters of the prefix, a number in hexadecimal, ".tmp".
//   pFolder    must be there (267).
//   pPrefix    null is "".
//   uUnique    its low 16 bits are the number, and no file is made; where they are 0 a new empty file is made, for the
//              user's eyes only (mode 0600), with a number that is free.
//   pFileName  out: the name, in MAX_PATH characters.
// Result: the number, 0 on failure. Errors: 111 the folder's name is too long for it; 80 all numbers are taken; 5, 112.
DLL_EXPORT_MOD UINT GetTempFileNameA( LPCSTR pFolder, LPCSTR pPrefix, UINT uUnique, LPSTR pFileName );

#endif
