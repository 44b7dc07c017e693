// Input of a command as bytes.
#pragma once

#include <string>

// More than this is no error stream but somebody's mistake, and would only exhaust the memory.
inline constexpr size_t INPUT_LIMIT = size_t( 1 ) << 30;

// "standard input" for "-", the name itself otherwise, each as a message calls it.
std::string GetInputTitle( const std::string& aName );

// All bytes of a file, or of standard input for the name "-".
// Throws a ToolFailure: the file cannot be read, or holds more than INPUT_LIMIT.
std::string ReadInput( const std::string& aName );
