// Part of platform.h, which callers include instead: the registry.
//
// Keys form a tree below each root, divided by backslashes; a key has a class, a security descriptor and values. Names
// ignore case (ASCII's) and keep their first spelling. HKEY_LOCAL_MACHINE lives in $BXTOOLS_STATE_DIR, else in
// /var/lib/bxtools when that exists, else in the user's state folder; HKEY_CURRENT_USER in the user's state folder;
// HKEY_CLASSES_ROOT is HKEY_LOCAL_MACHINE\Software\Classes, HKEY_USERS and HKEY_CURRENT_CONFIG are kept beside the
// machine's. A missing store reads as an empty one, and the first write makes it. Every change is complete or not made at
// all, whenever its process is killed, and seen by all processes at once; readers are never blocked.
//
// Result of all of them: an error number, 0 for success; the last error is left alone. Common errors: 6 no key's handle,
// 5 the key was not opened for this, 1018 the key was deleted, 1015 the store is damaged (it is left as it is), 112 no
// room left, 87 a null pointer where one is needed. Outs are untouched on failure unless it is said here.
// Threads: any.
#pragma once

#include <bxtools/export.h>
#include <bxtools/wintypes.h>

#if defined( BX_PLATFORM_LAYER )

// A root of another computer, or of this one: null, "" or its name. Error 53: it does not answer.
DLL_EXPORT_MOD LONG RegConnectRegistryA( LPCSTR pComputer, HKEY hRoot, PHKEY pResult );
// Opens or makes a key and its missing parents. Names of 1 to 255 characters between backslashes; one at the end is
// ignored, one in front is error 161.
//   pClass        class of a new key; null is "".
//   dwOptions     REG_OPTION_NON_VOLATILE or REG_OPTION_VOLATILE: gone with the machine's next start. A kept key below
//                 such a one: 1021.
//   pSecurity     the descriptor of a new key; may be null.
//   pDisposition  out: REG_CREATED_NEW_KEY or REG_OPENED_EXISTING_KEY; may be null.
DLL_EXPORT_MOD LONG RegCreateKeyExA( HKEY hKey, LPCSTR pSubKey, DWORD dwReserved, LPSTR pClass,
                                     DWORD dwOptions, REGSAM dwAccess, LPSECURITY_ATTRIBUTES pSecurity,
                                     PHKEY pResult, LPDWORD pDisposition );
// Opens a key; null or "" opens hKey once more. Error 2: there is none.
DLL_EXPORT_MOD LONG RegOpenKeyExA( HKEY hKey, LPCSTR pSubKey, DWORD dwOptions, REGSAM dwAccess,
                                   PHKEY pResult );
// Closes a key; a root stays usable.
DLL_EXPORT_MOD LONG RegCloseKey( HKEY hKey );
// Deletes a key with its values; "" deletes hKey itself. Error 5: it has subkeys.
DLL_EXPORT_MOD LONG RegDeleteKeyA( HKEY hKey, LPCSTR pSubKey );
// Null or "" is the key's default value. Error 2: there is none.
DLL_EXPORT_MOD LONG RegDeleteValueA( HKEY hKey, LPCSTR pValueName );
// The name of the subkey with this index, in the order of their names without regard to case. Errors: 259 beyond the
// last, 234 too small.
DLL_EXPORT_MOD LONG RegEnumKeyA( HKEY hKey, DWORD dwIndex, LPSTR pName, DWORD dwName );
// Sizes: in, room with the final zero; out, characters without it.
DLL_EXPORT_MOD LONG RegEnumKeyExA( HKEY hKey, DWORD dwIndex, LPSTR pName, LPDWORD pdwName,
                                   LPDWORD pdwReserved, LPSTR pClass, LPDWORD pdwClass,
                                   PFILETIME pLastWriteTime );
// The value with this index, in the order in which they were made.
DLL_EXPORT_MOD LONG RegEnumValueA( HKEY hKey, DWORD dwIndex, LPSTR pName, LPDWORD pdwName,
                                   LPDWORD pdwReserved, LPDWORD pdwType, LPBYTE pData, LPDWORD pdwData );
// Returns when all changes so far are on the disk.
DLL_EXPORT_MOD LONG RegFlushKey( HKEY hKey );
// Error 122 with the size needed in *pdwDescriptor: too small.
DLL_EXPORT_MOD LONG RegGetKeySecurity( HKEY hKey, SECURITY_INFORMATION dwInformation,
                                       PSECURITY_DESCRIPTOR pDescriptor, LPDWORD pdwDescriptor );
// The descriptor must be self-relative and whole, 65,536 bytes at most (1338 otherwise); it is kept as it is.
DLL_EXPORT_MOD LONG RegSetKeySecurity( HKEY hKey, SECURITY_INFORMATION dwInformation,
                                       PSECURITY_DESCRIPTOR pDescriptor );
// Hangs what RegSaveKeyA wrote below a root as a key of its own; changes do not go back into the file.
DLL_EXPORT_MOD LONG RegLoadKeyA( HKEY hKey, LPCSTR pSubKey, LPCSTR pFile );
// Takes such a key away again.
DLL_EXPORT_MOD LONG RegUnLoadKeyA( HKEY hKey, LPCSTR pSubKey );
// Waits for a change of a key, or has an event set at the next one.
//   fSubtree       also changes below the key.
//   dwFilter       REG_NOTIFY_CHANGE_...
//   hEvent         set once, at the first change after this call, and when hKey is closed. Waits of this process's
//                  threads on it notice the change; nobody else needs to run for it.
//   fAsynchronous  TRUE: hEvent, at once back; FALSE: hEvent is ignored, back when something has changed.
DLL_EXPORT_MOD LONG RegNotifyChangeKeyValue( HKEY hKey, BOOL fSubtree, DWORD dwFilter, HANDLE hEvent,
                                             BOOL fAsynchronous );
// Every out may be null. Longest names in characters without zero, longest data in bytes.
DLL_EXPORT_MOD LONG RegQueryInfoKeyA( HKEY hKey, LPSTR pClass, LPDWORD pdwClass, LPDWORD pdwReserved,
                                      LPDWORD pdwSubKeys, LPDWORD pdwLongestSubKey, LPDWORD pdwLongestClass,
                                      LPDWORD pdwValues, LPDWORD pdwLongestValueName, LPDWORD pdwLongestValue,
                                      LPDWORD pdwSecurityDescriptor, PFILETIME pLastWriteTime );
// A value's type and bytes. Too small: 234, with the size needed and the type; a null buffer asks for them (0).
DLL_EXPORT_MOD LONG RegQueryValueExA( HKEY hKey, LPCSTR pValueName, LPDWORD pdwReserved, LPDWORD pdwType,
                                      LPBYTE pData, LPDWORD pdwData );
// Puts the file that RegSaveKeyA wrote in the place of a key's content, and keeps the old content in pOldFile.
DLL_EXPORT_MOD LONG RegReplaceKeyA( HKEY hKey, LPCSTR pSubKey, LPCSTR pNewFile, LPCSTR pOldFile );
// Makes a key's content what the file says.
DLL_EXPORT_MOD LONG RegRestoreKeyA( HKEY hKey, LPCSTR pFile, DWORD dwFlags );
// Writes a key and all below it to a new file (183 when it exists).
DLL_EXPORT_MOD LONG RegSaveKeyA( HKEY hKey, LPCSTR pFile, LPSECURITY_ATTRIBUTES pSecurity );
// Sets a value of any type to any bytes; a string is stored with its final zero when it stands right behind the size.
DLL_EXPORT_MOD LONG RegSetValueExA( HKEY hKey, LPCSTR pValueName, DWORD dwReserved, DWORD dwType,
                                    const BYTE* pData, DWORD dwData );

#endif
