// The commands of `bxtool reg`.
#pragma once

#include "tools/families.h"

void AddRegGetCommand( CLI::App& rFamily, ExitCode& rExitCode );
void AddRegSetCommand( CLI::App& rFamily, ExitCode& rExitCode );
void AddRegListCommand( CLI::App& rFamily, ExitCode& rExitCode );
void AddRegDeleteCommand( CLI::App& rFamily, ExitCode& rExitCode );
void AddRegExportCommand( CLI::App& rFamily, ExitCode& rExitCode );
void AddRegImportCommand( CLI::App& rFamily, ExitCode& rExitCode );
void AddRegWatchCommand( CLI::App& rFamily, ExitCode& rExitCode );
