// bxtool reg: the registry, where the system's programs keep their settings.

#include "tools/families.h"
#include "tools/reg/commands.h"

namespace
{

constexpr AddFamily COMMANDS[] = {
    AddRegGetCommand,    AddRegSetCommand,    AddRegListCommand,  AddRegDeleteCommand,
    AddRegExportCommand, AddRegImportCommand, AddRegWatchCommand,
};

constexpr char EXAMPLES[] =
    "KEY begins with a root, HKEY_LOCAL_MACHINE or HKLM, HKCU, HKCR, HKU, HKCC. Slashes divide\n"
    "it as well as backslashes, unless there is a backslash in it.\n\n"
    "Examples:\n"
    "  bxtool reg list HKLM/Software --values\n"
    "  bxtool reg set HKLM/Software/Company/Product Level 7 --type dword\n"
    "  bxtool reg export HKLM/Software/Company settings.reg\n\n";

} // namespace

void AddRegFamily( Command aProgram, ExitCode& rExitCode )
{
    const Command aFamily =
        aProgram.AddSubcommand( "reg", "The registry: get, set, list, delete, export, import, watch" );
    aFamily.SetFooter( std::string( EXAMPLES ) + EXIT_CODE_HELP );
    aFamily.RequireSubcommand();
    for ( AddFamily pAddCommand : COMMANDS )
        pAddCommand( aFamily, rExitCode );
}
