// The commands of `bxtool errors`, each in a file of its own (those that edit streams share one).
#pragma once

#include "tools/families.h"

void AddShowCommand( Command aFamily, ExitCode& rExitCode );
void AddMakeCommand( Command aFamily, ExitCode& rExitCode );
void AddExplainCommand( Command aFamily, ExitCode& rExitCode );
void AddFindCommand( Command aFamily, ExitCode& rExitCode );
void AddCountCommand( Command aFamily, ExitCode& rExitCode );
void AddReverseCommand( Command aFamily, ExitCode& rExitCode );
void AddAppendCommand( Command aFamily, ExitCode& rExitCode );
