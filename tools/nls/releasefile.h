// Release files, written and read whole.
#pragma once

#include "tools/nls/project.h"

#include <string>
#include <vector>

// The key of the entry that names a file's version.
inline constexpr char RELEASE_FILE_VERSION_KEY[] = "my_unique_nlsfile_version";

// Makes a file with the given pairs, and puts it in the place of the one that is there: at every moment the name stands for
// a complete file, the old one or the new one. Of several builders each waits for the one before.
//   nKeyLength  the longest key without its country code; 0: that of the longest pair.
// Throws a ToolFailure; the old file is as it was then.
void WriteReleaseFile( const std::string& aPath, const std::vector<ReleasePair>& rPairs, size_t nKeyLength );

// All pairs of a file in the order of their keys. Throws a ToolFailure when it is none, or parts of it cannot be read.
std::vector<ReleasePair> ReadReleaseFile( const std::string& aPath );
