// bxtool nls check.
#include "tools/jsonline.h"
#include "tools/nls/commands.h"
#include "tools/nls/project.h"
#include "tools/talk.h"

#include <memory>

namespace
{

constexpr char EXAMPLES[] =
    "Prints a line \"FILE:line:column: ...\" for each fault: a header that is none, columns too many,\n"
    "texts that are missing, groups and keys that are there twice, keys too long, error texts that\n"
    "have more places for parameters in one language than in another, help sections that are none,\n"
    "quotes that are not closed, and what else is not read.\n"
    "Exit code 4: there is something to tell.\n\n"
    "Examples:\n"
    "  bxtool nls check texts\n"
    "  bxtool nls check texts --key-length 64 --json\n";

struct CheckOptions
{
    std::vector<std::string> aFolders;
    size_t nKeyLength = 0;
    bool fJson = false;
};

ExitCode Check( const CheckOptions& rOptions )
{
    const Project aProject = ReadProject( rOptions.aFolders, rOptions.nKeyLength );
    Json aJson = Json::Array();
    for ( const Finding& rFinding : aProject.aFindings )
        if ( rOptions.fJson )
            aJson.Add( { { "file", rFinding.aFile },
                         { "line", rFinding.aPlace.nLine },
                         { "column", rFinding.aPlace.nColumn },
                         { "text", rFinding.aText } } );
        else
            WriteOutput( DescribeFinding( rFinding ) + "\n" );
    if ( rOptions.fJson )
        WriteOutput( JsonLine( aJson ) );
    return aProject.aFindings.empty() ? ExitCode::Ok : ExitCode::Broken;
}

} // namespace

void AddNlsCheckCommand( Command aFamily, ExitCode& rExitCode )
{
    const Command aCommand = aFamily.AddSubcommand( "check", "Name what is wrong in language files" );
    aCommand.SetFooter( EXAMPLES );
    auto pOptions = std::make_shared<CheckOptions>();
    aCommand.AddWord( "DIR", pOptions->aFolders, "The folder of the language files; also several" );
    aCommand
        .AddOption( "--key-length", pOptions->nKeyLength,
                    "The longest FILE.GROUPKEY that is right, in bytes; nothing: any" )
        .InRange( 1, 0xFFFF );
    aCommand.AddFlag( "--json", pOptions->fJson, "Print a JSON array instead" );
    aCommand.SetAction( [pOptions, &rExitCode] { rExitCode = Check( *pOptions ); } );
}
