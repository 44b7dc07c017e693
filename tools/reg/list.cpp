#include "tools/errors/displaytext.h"
#include "tools/jsonline.h"
#include "tools/reg/commands.h"
#include "tools/reg/regaccess.h"
#include "tools/reg/valuetext.h"
#include "tools/systemtext.h"
#include "tools/talk.h"

#include <memory>

namespace
{

constexpr char EXAMPLES[] =
    "Prints a key and all keys below it, sorted by their names without regard to case.\n"
    "Exit code 4: some keys cannot be read; they are named on standard error.\n\n"
    "Examples:\n"
    "  bxtool reg list HKLM/Software/Company\n"
    "  bxtool reg list 'HKLM\\Software\\Company' --values\n"
    "  bxtool reg list HKLM/Software/Company --values --json\n";

struct ListOptions
{
    std::string aKey;
    bool fValues = false;
    bool fJson = false;
};

void WriteTree( const RegTree& rTree, const std::string& aIndent, bool fValues )
{
    if ( fValues )
        for ( const RegValue& rValue : rTree.aValues )
            WriteOutput( aIndent + GetValueLine( rValue ) + "\n" );
    for ( const RegTree& rBelow : rTree.aKeys )
    {
        WriteOutput( aIndent );
        WriteHeading( MakeVisible( FromSystemText( rBelow.aName ) ) );
        WriteOutput( "\n" );
        WriteTree( rBelow, aIndent + "  ", fValues );
    }
}

Json ToJson( const RegTree& rTree, const std::string& aName, bool fValues )
{
    Json aJson = { { "key", FromSystemText( aName ) } };
    if ( fValues )
    {
        Json aValues = Json::Array();
        for ( const RegValue& rValue : rTree.aValues )
            aValues.Add( GetValueJson( rValue ) );
        aJson.Set( "values", aValues );
    }
    Json aKeys = Json::Array();
    for ( const RegTree& rBelow : rTree.aKeys )
        aKeys.Add( ToJson( rBelow, rBelow.aName, fValues ) );
    aJson.Set( "keys", aKeys );
    return aJson;
}

ExitCode List( const ListOptions& rOptions )
{
    const KeyPath aPath = ParseKeyPath( rOptions.aKey );
    const RegTree aTree = ReadTree( aPath, TreeDepth::AllBelow );
    if ( rOptions.fJson )
        WriteOutput( JsonLines( ToJson( aTree, aPath.GetTitle(), rOptions.fValues ) ) );
    else
    {
        WriteHeading( MakeVisible( FromSystemText( aPath.GetTitle() ) ) );
        WriteOutput( "\n" );
        WriteTree( aTree, "  ", rOptions.fValues );
    }
    return NameUnread( aPath, aTree ) ? ExitCode::Broken : ExitCode::Ok;
}

} // namespace

void AddRegListCommand( Command aFamily, ExitCode& rExitCode )
{
    const Command aCommand = aFamily.AddSubcommand( "list", "Print a key and what is below it" );
    aCommand.SetFooter( EXAMPLES );
    auto pOptions = std::make_shared<ListOptions>();
    aCommand.AddWord( "KEY", pOptions->aKey, "The key" );
    aCommand.AddFlag( "--values", pOptions->fValues, "Print the values, too" );
    aCommand.AddFlag( "--json", pOptions->fJson, "Print JSON instead" );
    aCommand.SetAction( [pOptions, &rExitCode] { rExitCode = List( *pOptions ); } );
}
