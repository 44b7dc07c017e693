// Which texts the library's lookups give the tool: from which files, in which language.
#pragma once

#include <optional>
#include <string>

// All lookups that follow read a release file, or the language files of a folder.
//   nLanguage  the code; 0 for the system's.
// Throws a ToolFailure when there is no such file or folder, or programs could not read it.
void UseTexts( const std::string& aPath, int nLanguage );

// The folder of the library's own language files: beside this program, where an installation has it.
std::optional<std::string> FindOwnTexts();

// The numbers that languages have.
inline constexpr int FIRST_LANGUAGE = 1;
inline constexpr int LAST_LANGUAGE = 1000;
