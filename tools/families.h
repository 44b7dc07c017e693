// The families of commands. A family lives in cmd_<family>.cpp, is declared here and takes one line in the table of
// bxtool.cpp; nothing else knows it.
#pragma once

#include "tools/commandline.h"
#include "tools/toolfailure.h"

// Adds the family's subcommands to the program. The chosen command runs while the command line is parsed; it stores
// its exit code in rExitCode or throws a ToolFailure.
using AddFamily = void ( * )( Command aProgram, ExitCode& rExitCode );

// bxtool errors: error streams.
void AddErrorsFamily( Command aProgram, ExitCode& rExitCode );
// bxtool reg: the registry.
void AddRegFamily( Command aProgram, ExitCode& rExitCode );
// bxtool ini: INI files.
void AddIniFamily( Command aProgram, ExitCode& rExitCode );
// bxtool nls: texts in the languages of the users.
void AddNlsFamily( Command aProgram, ExitCode& rExitCode );
// bxtool file: what reports on files mean.
void AddFileFamily( Command aProgram, ExitCode& rExitCode );
// bxtool debug: debug messages.
void AddDebugFamily( Command aProgram, ExitCode& rExitCode );
// bxtool ipc: what processes share by name.
void AddIpcFamily( Command aProgram, ExitCode& rExitCode );
// bxtool ps and kill: processes.
void AddProcessCommands( Command aProgram, ExitCode& rExitCode );
// bxtool lock, signal and wait: what keeps processes in step.
void AddSyncCommands( Command aProgram, ExitCode& rExitCode );
