// bxtool ini: INI files, the settings that belong to one program.

#include "tools/families.h"
#include "tools/ini/commands.h"

namespace
{

constexpr AddFamily COMMANDS[] = {
    AddIniGetCommand,    AddIniSetCommand,       AddIniDeleteCommand,      AddIniListCommand,
    AddIniGroupsCommand, AddIniCopyGroupCommand, AddIniRenameGroupCommand, AddIniCheckCommand,
};

constexpr char EXAMPLES[] =
    "Names of groups and keys ignore case. A change leaves the other lines as they are.\n\n"
    "Examples:\n"
    "  bxtool ini get server.ini Network Host\n"
    "  bxtool ini set server.ini Network Host db.example\n"
    "  bxtool ini check server.ini\n\n";

} // namespace

void AddIniFamily( Command aProgram, ExitCode& rExitCode )
{
    const Command aFamily = aProgram.AddSubcommand(
        "ini", "INI files: get, set, delete, list, groups, copy-group, rename-group, check" );
    aFamily.SetFooter( std::string( EXAMPLES ) + EXIT_CODE_HELP );
    aFamily.RequireSubcommand();
    for ( AddFamily pAddCommand : COMMANDS )
        pAddCommand( aFamily, rExitCode );
}
