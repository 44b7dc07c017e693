// The families of commands. A family lives in cmd_<family>.cpp, is declared here and takes one line in the table of
// bxtool.cpp; nothing else knows it.
#pragma once

#include "tools/toolfailure.h"

#include <CLI/CLI.hpp>

// Adds the family's subcommands to the program. The chosen command runs while the command line is parsed; it stores
// its exit code in rExitCode or throws a ToolFailure.
using AddFamily = void ( * )( CLI::App& rProgram, ExitCode& rExitCode );

// bxtool errors: error streams.
void AddErrorsFamily( CLI::App& rProgram, ExitCode& rExitCode );
// bxtool reg: the registry.
void AddRegFamily( CLI::App& rProgram, ExitCode& rExitCode );
// bxtool ini: INI files.
void AddIniFamily( CLI::App& rProgram, ExitCode& rExitCode );
// bxtool nls: texts in the languages of the users.
void AddNlsFamily( CLI::App& rProgram, ExitCode& rExitCode );
// bxtool file: what reports on files mean.
void AddFileFamily( CLI::App& rProgram, ExitCode& rExitCode );
// bxtool debug: debug messages.
void AddDebugFamily( CLI::App& rProgram, ExitCode& rExitCode );
// bxtool ipc: what processes share by name.
void AddIpcFamily( CLI::App& rProgram, ExitCode& rExitCode );
// bxtool ps and kill: processes.
void AddProcessCommands( CLI::App& rProgram, ExitCode& rExitCode );
// bxtool lock, signal and wait: what keeps processes in step.
void AddSyncCommands( CLI::App& rProgram, ExitCode& rExitCode );
