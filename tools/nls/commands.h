// The commands of `bxtool nls`.
#pragma once

#include "tools/families.h"

void AddNlsBuildCommand( Command aFamily, ExitCode& rExitCode );
void AddNlsCheckCommand( Command aFamily, ExitCode& rExitCode );
void AddNlsGetCommand( Command aFamily, ExitCode& rExitCode );
void AddNlsDumpCommand( Command aFamily, ExitCode& rExitCode );
