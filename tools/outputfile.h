// Files that a command writes: they are there wholly or not at all.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

// The file that a path means: a link stays, what it names is replaced.
std::filesystem::path FindTarget( const std::string& aPath );

// Puts a finished file in the place of another, in one step, with the mode of the old one; a new one is as its folder makes it.
// Result: false with the system's reason.
bool TakePlace( const std::filesystem::path& rNew, const std::filesystem::path& rOld,
                std::error_code& rError );

// Writes a file beside the one that is there, and puts it in its place. What is no file, such as a pipe, gets the bytes as they
// are written; so does a file that none can be made beside. Throws a ToolFailure.
void WriteWholeFile( const std::string& aPath, std::string_view aBytes );
