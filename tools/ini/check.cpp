// bxtool ini check.
#include "tools/byteinput.h"
#include "tools/errors/displaytext.h"
#include "tools/ini/commands.h"
#include "tools/ini/findings.h"
#include "tools/jsonline.h"
#include "tools/talk.h"

#include <memory>

namespace
{

constexpr char EXAMPLES[] =
    "Prints a line \"FILE:line: ...\" for each line that is no entry, for keys and groups that are\n"
    "there twice, of which programs read the first, and for what else is not read.\n"
    "Exit code 4: there is something to tell.\n\n"
    "Examples:\n"
    "  bxtool ini check server.ini\n"
    "  bxtool ini check - < server.ini\n";

struct CheckOptions
{
    std::string aFile;
    bool fJson = false;
};

ExitCode Check( const CheckOptions& rOptions )
{
    const std::vector<IniFinding> aFindings = FindIniFaults( ReadInput( rOptions.aFile ) );
    const std::string aTitle = GetInputTitle( rOptions.aFile );
    Json aJson = Json::Array();
    for ( const IniFinding& rFinding : aFindings )
    {
        if ( rOptions.fJson )
            aJson.Add( { { "file", aTitle }, { "line", rFinding.nLine }, { "text", rFinding.aText } } );
        else
            WriteOutput( MakeVisible( aTitle ) + ":" + std::to_string( rFinding.nLine ) + ": " +
                         rFinding.aText + "\n" );
    }
    if ( rOptions.fJson )
        WriteOutput( JsonLine( aJson ) );
    return aFindings.empty() ? ExitCode::Ok : ExitCode::Broken;
}

} // namespace

void AddIniCheckCommand( Command aFamily, ExitCode& rExitCode )
{
    const Command aCommand = aFamily.AddSubcommand( "check", "Name the lines that are not read" );
    aCommand.SetFooter( EXAMPLES );
    auto pOptions = std::make_shared<CheckOptions>();
    aCommand.AddWord( "FILE", pOptions->aFile, "The file, - for standard input" );
    aCommand.AddFlag( "--json", pOptions->fJson, "Print a JSON array instead" );
    aCommand.SetAction( [pOptions, &rExitCode] { rExitCode = Check( *pOptions ); } );
}
