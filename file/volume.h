// What the two systems have no common call for.
#pragma once

#include <bxtools/mstring.h>

// Brings an absolute path to the spelling that its volume keeps.
void AdaptToVolume( MString& rPath );

// Whether two paths lead to one file. FALSE when either leads nowhere.
bool IsSameFile( LPCTSTR pOnePath, LPCTSTR pOtherPath );
