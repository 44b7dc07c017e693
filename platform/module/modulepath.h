// Where a library's name leads.
#pragma once

#include <bxtools/wintypes.h>

#include <string>
#include <vector>

// The absolute path of the running program; empty when the system does not tell. A program whose file was
// deleted meanwhile still has its old path.
std::string GetProgramPath();

// The absolute form of a path, by its text alone.
std::string MakeAbsolute( const std::string& aPath );

// What LoadLibraryA tries, in order. An entry with a '/' is a file; one without is a name for the system's
// loader.
std::vector<std::string> ListLibraryCandidates( LPCSTR pFileName );

enum class LibraryFile
{
    Missing,
    NoLibrary, // there is a file, but this process cannot load it
    Loadable
};

// Looks at a file before the system's loader maps it: the loader takes the sizes in a library's headers on
// trust, and a file cut short would end the process with a signal.
LibraryFile CheckLibraryFile( const std::string& aPath ) noexcept;
