// Part of platform.h, which callers include instead: profile files (INI).
//
// A profile is lines: "[section]" begins a section, "key = value" is a key of it. Lines end in LF, CR LF or CR, also mixed,
// the last one may have no end. Lines before the first header are the section "". A line whose first character other than
// blanks is a semicolon is a comment; any other line is kept and not looked at. A zero byte ends a line's text; a UTF-8 mark
// in front is skipped. Blanks (space, tab, vertical tab, form feed) around names and values do not count, nor does what
// stands behind a header's last bracket. The first section and the first key of a name count; further ones are listed only.
// Names ignore case: ASCII's, and that of the Latin, Greek and Cyrillic letters whose UTF-8 has two bytes.
//
// Paths: either separator. A name without any stands for a file in the folder of PATH_WINDOWS_DIR (/etc/bxtools unless
// configured otherwise), null for win.ini there; "./name" is the one in the current folder. Links are followed.
//
// Errors, as last error: 2 no such file, 3 no such folder, 5 a folder, a device or a pipe, or not allowed (a file without any
// right to write is read-only for root, too), 8 out of memory, 32 a handle to the file does not allow it, 206 the path is too
// long, 223 a file of 2 GiB or more.
// Threads: any. Processes: any number, see WritePrivateProfileStringA.
#pragma once

#include <bxtools/export.h>
#include <bxtools/wintypes.h>

#if defined( BX_PLATFORM_LAYER )

// Reads a value, the names of a section's keys, or the names of all sections.
//   pSection  null: the sections are listed, whatever pKey is.
//   pKey      null: the section's keys are listed. A comment "; name = x" is no listed key, but is found by "; name"; so is
//             a key without a name by "".
//   pDefault  what is given when there is no such key, and in place of an empty list of keys; trailing spaces are dropped.
//             Null is "".
//   pBuffer   out: a value without one pair of equal quotes around it, terminated; or names, each with a zero behind it,
//             and one more zero behind the last. An empty list is a single zero.
//   dwSize    bytes in pBuffer; 0 writes nothing.
// Result: bytes written without the (last) zero. dwSize - 1 when a value is cut; dwSize - 2 when a list is cut, which then
// ends in two zeros wherever the cut fell.
// Last error: 0 when the file could be read, whether or not the key was there; 87 no buffer, or a list into one byte.
// A change is seen by the next read, whoever made it: the parsed file is kept only while device, inode, size and times stay
// as they are, and never when it was younger than the file system's clock tells apart. While a handle does not share reading,
// only a file that is kept so can be read.
DLL_EXPORT_MOD DWORD GetPrivateProfileStringA( LPCSTR pSection, LPCSTR pKey, LPCSTR pDefault, LPSTR pBuffer,
                                               DWORD dwSize, LPCSTR pFileName );

// Sets or deletes a key, or deletes a section. The line that is concerned changes, and no other byte of the file.
//   pSection  null: nothing is done, FALSE with error 2 (a flush; there is nothing to flush). A new section goes to the end.
//   pKey      null: the section is deleted, up to the next header. A new key goes behind the last line of its section that is
//             not blank.
//   pValue    null: the key is deleted; written as given, but for leading blanks. Line ends in names and values are not
//             looked at, and make lines of their own.
// A new file has lines that end in CR LF; otherwise a new line ends as the one before it. Deleting what is not there succeeds.
// Writing the stored value again does not touch the file.
// Result: TRUE when every reader finds the change. FALSE leaves the file as it was (112: no room; 32: a handle to the file
// writes, or does not share writing).
// The new file replaces the old one in a single step, with its owner, mode and access list; a reader, and who looks after a
// crash, finds the one or the other whole. Writers wait for each other, over all processes, and lose nothing. Other hard
// links to the file keep the old text, as do handles that share everything. Where the folder cannot be written, or owner,
// group or access list could not be kept, the file is changed in place; debug output says so, and a crash may then leave it
// half-written.
DLL_EXPORT_MOD BOOL WritePrivateProfileStringA( LPCSTR pSection, LPCSTR pKey, LPCSTR pValue,
                                                LPCSTR pFileName );

#endif
