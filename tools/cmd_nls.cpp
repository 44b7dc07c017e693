// bxtool nls: the texts of programs in the languages of their users.

#include "tools/families.h"
#include "tools/nls/commands.h"

namespace
{

constexpr AddFamily COMMANDS[] = {
    AddNlsCheckCommand,
    AddNlsBuildCommand,
    AddNlsGetCommand,
    AddNlsDumpCommand,
};

constexpr char EXAMPLES[] =
    "Language files (MODULE.CSV) are what translators write; the release file is what programs read.\n"
    "Languages are numbers, those of the telephone: 49 is German, 44 English.\n\n"
    "Examples:\n"
    "  bxtool nls check texts\n"
    "  bxtool nls build texts product.nls\n"
    "  bxtool nls get product.nls EDITOR.MAINWINDOW Title --language 49\n"
    "  bxtool nls dump product.nls\n\n";

} // namespace

void AddNlsFamily( Command aProgram, ExitCode& rExitCode )
{
    const Command aFamily =
        aProgram.AddSubcommand( "nls", "Texts in several languages: check, build, get, dump" );
    aFamily.SetFooter( std::string( EXAMPLES ) + EXIT_CODE_HELP );
    aFamily.RequireSubcommand();
    for ( AddFamily pAddCommand : COMMANDS )
        pAddCommand( aFamily, rExitCode );
}
