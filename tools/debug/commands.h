// The commands of `bxtool debug`: those that set something share a file, and those that show messages.
#pragma once

#include "tools/families.h"

void AddStatusCommand( CLI::App& rFamily, ExitCode& rExitCode );
void AddOnCommand( CLI::App& rFamily, ExitCode& rExitCode );
void AddOffCommand( CLI::App& rFamily, ExitCode& rExitCode );
void AddLevelCommand( CLI::App& rFamily, ExitCode& rExitCode );
void AddSendCommand( CLI::App& rFamily, ExitCode& rExitCode );

void AddLastCommand( CLI::App& rFamily, ExitCode& rExitCode );
void AddWatchCommand( CLI::App& rFamily, ExitCode& rExitCode );
