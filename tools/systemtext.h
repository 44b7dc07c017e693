// Texts as the system's calls and the programs take them: UTF-8 on Linux, of the system's code page on Windows. So are the
// arguments, and the names of files among them; what is shown is UTF-8.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

// Throws a ToolFailure when the command line has characters that the code page lacks: they have come as others that look like
// them, or as question marks, and would be taken for these.
void CheckCommandLine();

// From UTF-8. Result: whether it could say it all.
bool ToSystemText( std::string& rText );
// To UTF-8.
std::string FromSystemText( const std::string& aText );

// The character, as UTF-8, with which a text begins that does not begin with UTF-8: U+FFFD on Linux.
//   rnBytes  out: how many bytes it has there.
std::string TakeSystemCharacter( std::string_view aText, size_t& rnBytes );

// A path by its name, and the name of a path. The standard library has its own mind about what narrow names are.
std::filesystem::path ToPath( const std::string& aName );
std::string FromPath( const std::filesystem::path& rPath );
