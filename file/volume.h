// What the two systems have no common call for.
#pragma once

#include <bxtools/mstring.h>

// Brings an absolute path to the spelling that its volume keeps.
void AdaptToVolume( MString& rPath );

// Whether a path leads to an open file, whatever the file's own path is taken to be. False when it leads nowhere.
bool IsPathOf( LPCTSTR pPath, HANDLE hFile );
