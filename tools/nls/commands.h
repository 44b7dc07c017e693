// The commands of `bxtool nls`.
#pragma once

#include "tools/families.h"

void AddNlsBuildCommand( CLI::App& rFamily, ExitCode& rExitCode );
void AddNlsCheckCommand( CLI::App& rFamily, ExitCode& rExitCode );
void AddNlsGetCommand( CLI::App& rFamily, ExitCode& rExitCode );
void AddNlsDumpCommand( CLI::App& rFamily, ExitCode& rExitCode );
