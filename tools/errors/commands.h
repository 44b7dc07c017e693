// The commands of `bxtool errors`, each in a file of its own (those that edit streams share one).
#pragma once

#include "tools/families.h"

void AddShowCommand( CLI::App& rFamily, ExitCode& rExitCode );
void AddMakeCommand( CLI::App& rFamily, ExitCode& rExitCode );
void AddExplainCommand( CLI::App& rFamily, ExitCode& rExitCode );
void AddFindCommand( CLI::App& rFamily, ExitCode& rExitCode );
void AddCountCommand( CLI::App& rFamily, ExitCode& rExitCode );
void AddReverseCommand( CLI::App& rFamily, ExitCode& rExitCode );
void AddAppendCommand( CLI::App& rFamily, ExitCode& rExitCode );
