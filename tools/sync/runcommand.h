// Runs a command and waits for its end; one file for each system.
#pragma once

#include <string>
#include <vector>

// As shells have them.
inline constexpr int EXIT_OF_TOOL = 125;
inline constexpr int EXIT_NOT_RUN = 126;
inline constexpr int EXIT_NOT_FOUND = 127;
inline constexpr int EXIT_OF_SIGNAL = 128; // and the signal's number

// The command has this process's streams, and ends with this process, however that ends. What is typed to stop a program goes
// to the command alone.
//   aCommand   the program, looked for along PATH, and its arguments; not empty.
// Result: its exit code.
int RunCommand( const std::vector<std::string>& aCommand );
