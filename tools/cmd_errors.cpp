// bxtool errors: what programs hand on as error streams, shown, made and taken apart.

#include "tools/errors/commands.h"
#include "tools/families.h"

namespace
{

constexpr AddFamily COMMANDS[] = {
    AddShowCommand,  AddExplainCommand, AddMakeCommand,   AddFindCommand,
    AddCountCommand, AddReverseCommand, AddAppendCommand,
};

constexpr char EXAMPLES[] =
    "An error stream is bytes, not text: store it as it is. FILE and - are read alike, and one\n"
    "line end behind the last record, as an editor or echo adds it, is dropped.\n\n"
    "Examples:\n"
    "  bxtool errors show failed.stream\n"
    "  bxtool errors explain failed.stream --language 49,44\n"
    "  bxtool errors make --class BXTOOLS.ERRCLS_SYS_HRESULT --number 0x80070005 >one.stream\n"
    "  bxtool errors append failed.stream one.stream >both.stream\n"
    "  bxtool errors find both.stream --system-error 2\n\n";

} // namespace

void AddErrorsFamily( Command aProgram, ExitCode& rExitCode )
{
    const Command aFamily = aProgram.AddSubcommand(
        "errors", "Error streams: show, explain, make, find, count, reverse, append" );
    aFamily.SetFooter( std::string( EXAMPLES ) + EXIT_CODE_HELP );
    aFamily.RequireSubcommand();
    for ( AddFamily pAddCommand : COMMANDS )
        pAddCommand( aFamily, rExitCode );
}
