// Files and the system's log as places where debug output goes. A sink is found once, and opened with the first message.
#pragma once

#include <string_view>

// Adds a sink; from the fifth on they are ignored, as are paths that are empty or too long.
//   aPath  of a file to append to; of the socket that the system's log listens on.
void AddDebugFile( std::string_view aPath ) noexcept;
void AddDebugLog( std::string_view aPath ) noexcept;

// A text to each of them; what a full disk, pipe or socket does not take is lost. No signal reaches the process.
void WriteToOpenSinks( std::string_view aText ) noexcept;

// Gives the descriptors back; the next message opens them again.
void CloseOpenSinks() noexcept;
// Takes the sinks away. No other thread may write meanwhile.
void ForgetOpenSinks() noexcept;
