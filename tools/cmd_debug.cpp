// bxtool debug: the debug messages of all programs, seen, and switched on and off.

#include "tools/debug/commands.h"
#include "tools/families.h"

namespace
{

constexpr AddFamily COMMANDS[] = {
    AddStatusCommand, AddOnCommand,   AddOffCommand,   AddLevelCommand,
    AddSendCommand,   AddLastCommand, AddWatchCommand,
};

constexpr char EXAMPLES[] = "Examples:\n"
                            "  bxtool debug on\n"
                            "  bxtool debug level \"1;3\"\n"
                            "  bxtool debug watch --process bxtour\n"
                            "  bxtool debug last 50 --text \"Error: \"\n\n";

} // namespace

void AddDebugFamily( Command aProgram, ExitCode& rExitCode )
{
    const Command aFamily =
        aProgram.AddSubcommand( "debug", "Debug messages: status, on, off, level, send, last, watch" );
    aFamily.SetFooter( std::string( EXAMPLES ) + EXIT_CODE_HELP );
    aFamily.RequireSubcommand();
    for ( AddFamily pAddCommand : COMMANDS )
        pAddCommand( aFamily, rExitCode );
}
