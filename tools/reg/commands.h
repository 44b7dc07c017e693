// The commands of `bxtool reg`.
#pragma once

#include "tools/families.h"

void AddRegGetCommand( Command aFamily, ExitCode& rExitCode );
void AddRegSetCommand( Command aFamily, ExitCode& rExitCode );
void AddRegListCommand( Command aFamily, ExitCode& rExitCode );
void AddRegDeleteCommand( Command aFamily, ExitCode& rExitCode );
void AddRegExportCommand( Command aFamily, ExitCode& rExitCode );
void AddRegImportCommand( Command aFamily, ExitCode& rExitCode );
void AddRegWatchCommand( Command aFamily, ExitCode& rExitCode );
