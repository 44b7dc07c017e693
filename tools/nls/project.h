// The language files of a project, and the pairs that they make in a release file.
#pragma once

#include "tools/nls/languagefile.h"

#include <cstddef>
#include <string>
#include <vector>

struct Project
{
    std::vector<LanguageFile> aFiles;
    std::vector<Finding> aFindings; // in the order of files and lines
};

// Reads all language files (*.CSV) of some folders and looks for what is wrong in them, each alone and all together.
//   nMaxKeyLength  the longest key without its country code that fits, 0 for any.
// Throws a ToolFailure when a folder holds none or cannot be read.
Project ReadProject( const std::vector<std::string>& aFolders, size_t nMaxKeyLength );

// A pair of a release file: country code, section and key with nothing between them, and the text.
struct ReleasePair
{
    std::string aKey;
    std::string aValue;
};

// The pairs of all texts, ordered by key; of equal keys only the first text.
std::vector<ReleasePair> MakeReleasePairs( const Project& rProject );

// Country code, section FILE.GROUP and key as a release file has them.
std::string MakeReleaseKey( int nCode, const std::string& aSection, const std::string& aKey );
