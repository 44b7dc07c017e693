// The long form of a path, for the library's own use.
#pragma once

#include <bxtools/wintypes.h>

class MString;

// As ShortPath2Long1, in the system's own delimiters; aLongFileName is the path as far as it was found, and another object. May
// throw.
BOOL InternalShortToLong( const MString& aShortFileName, MString& aLongFileName );
