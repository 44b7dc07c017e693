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

void AddNlsFamily( CLI::App& rProgram, ExitCode& rExitCode )
{
    CLI::App* pFamily =
        rProgram.add_subcommand( "nls", "Texts in several languages: check, build, get, dump" );
    pFamily->footer( std::string( EXAMPLES ) + EXIT_CODE_HELP );
    pFamily->require_subcommand( 1 );
    for ( AddFamily pAddCommand : COMMANDS )
        pAddCommand( *pFamily, rExitCode );
}
