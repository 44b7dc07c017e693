// Changes to profile files that are made wholly or not at all, by one writer at a time.
//
// A writer locks the file, with a lock that the system drops with the process, and looks whether the path still names that
// file; otherwise another writer was faster, and it begins anew. The new text goes to a file without a name, or under a name
// of its own where the file system has no such thing, is flushed, and takes the place of the old file. A file that is not
// there needs no lock: only one of several new ones can get the name.
#pragma once

#include "platform/profile/iniedit.h"

#include <bxtools/wintypes.h>

// Result: 0 or the Win32 number; the file is as it was then. Throws std::bad_alloc.
DWORD SaveIni( const char* pPath, const IniChange& rChange );

// Around a fork. In a child the locks of the threads that do not exist there must not live on.
void LockIniSaves();
void UnlockIniSaves();
void ResetIniSavesInChild();
