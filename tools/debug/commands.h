// The commands of `bxtool debug`: those that set something share a file, and those that show messages.
#pragma once

#include "tools/families.h"

void AddStatusCommand( Command aFamily, ExitCode& rExitCode );
void AddOnCommand( Command aFamily, ExitCode& rExitCode );
void AddOffCommand( Command aFamily, ExitCode& rExitCode );
void AddLevelCommand( Command aFamily, ExitCode& rExitCode );
void AddSendCommand( Command aFamily, ExitCode& rExitCode );

void AddLastCommand( Command aFamily, ExitCode& rExitCode );
void AddWatchCommand( Command aFamily, ExitCode& rExitCode );
