// The text form of keys and values, as .reg files hold it. Nothing here asks or changes the registry.
#pragma once

#include "tools/reg/keypath.h"
#include "tools/reg/regvalue.h"

#include <string>
#include <vector>

enum class RegAction
{
    MakeKey,
    DeleteKey,
    SetValue,
    DeleteValue,
};

// One thing to do, with the line that says so.
struct RegStep
{
    RegAction aAction;
    KeyPath aKey;
    RegValue aValue; // for a deletion its name only
    size_t nLine;
};

// The steps of a .reg file: with the header of version 5.00 or REGEDIT4, in UTF-8, or in UTF-16 behind its mark. Names and
// texts come out as the system's calls take them.
//   aTitle  the file, as messages call it.
// Throws a ToolFailure that names the first line that is wrong, and what would be right.
std::vector<RegStep> ParseRegText( const std::string& aBytes, const std::string& aTitle );

// The text of version 5.00 in UTF-8 with LF: its header, and a key with all below it.
std::string GetRegHeader();
void AppendRegTree( std::string& rOut, const KeyPath& rKey, const RegTree& rTree );
