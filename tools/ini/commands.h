// The commands of `bxtool ini`.
#pragma once

#include "tools/families.h"

void AddIniGetCommand( Command aFamily, ExitCode& rExitCode );
void AddIniSetCommand( Command aFamily, ExitCode& rExitCode );
void AddIniDeleteCommand( Command aFamily, ExitCode& rExitCode );
void AddIniListCommand( Command aFamily, ExitCode& rExitCode );
void AddIniGroupsCommand( Command aFamily, ExitCode& rExitCode );
void AddIniCopyGroupCommand( Command aFamily, ExitCode& rExitCode );
void AddIniRenameGroupCommand( Command aFamily, ExitCode& rExitCode );
void AddIniCheckCommand( Command aFamily, ExitCode& rExitCode );
