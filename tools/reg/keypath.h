// Keys as people write them: HKLM\Software\Company, HKEY_LOCAL_MACHINE/Software/Company.
#pragma once

#include <bxtools/wintypes.h>

#include <string>
#include <string_view>

struct KeyPath
{
    HKEY hRoot = NULL;
    std::string aPath; // below the root, divided by backslashes; empty: the root itself

    // With the root's full name, as .reg files have it.
    std::string GetTitle() const;
    // The path of a key directly below.
    KeyPath GetBelow( const std::string& aName ) const;
};

// Takes a text apart at one kind of separator; one at the end is dropped.
// Result: an empty text; otherwise what is wrong with it, and rPath is undefined.
std::string SplitKeyPath( std::string_view aText, char cSeparator, KeyPath& rPath );

// The key that the command line names. Slashes divide it where there is no backslash.
// Throws a ToolFailure that says what is wrong with it.
KeyPath ParseKeyPath( const std::string& aText );
