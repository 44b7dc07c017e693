// The commands of `bxtool ini`.
#pragma once

#include "tools/families.h"

void AddIniGetCommand( CLI::App& rFamily, ExitCode& rExitCode );
void AddIniSetCommand( CLI::App& rFamily, ExitCode& rExitCode );
void AddIniDeleteCommand( CLI::App& rFamily, ExitCode& rExitCode );
void AddIniListCommand( CLI::App& rFamily, ExitCode& rExitCode );
void AddIniGroupsCommand( CLI::App& rFamily, ExitCode& rExitCode );
void AddIniCopyGroupCommand( CLI::App& rFamily, ExitCode& rExitCode );
void AddIniRenameGroupCommand( CLI::App& rFamily, ExitCode& rExitCode );
void AddIniCheckCommand( CLI::App& rFamily, ExitCode& rExitCode );

// A word that the command line must have.
inline void AddWord( CLI::App& rCommand, const char* pName, std::string& rWord, const char* pHelp )
{
    rCommand.add_option( pName, rWord, pHelp )->required()->type_name( "" );
}
