// bxtool ini list and groups.
#include "tools/errors/displaytext.h"
#include "tools/ini/commands.h"
#include "tools/ini/inifile.h"
#include "tools/jsonline.h"
#include "tools/talk.h"

#include <memory>
#include <optional>

namespace
{

constexpr char LIST_EXAMPLES[] =
    "Prints the keys with their values, of one group or of all, as programs read them: a name that\n"
    "stands there twice counts once. Exit code 1: there is no such group.\n\n"
    "Examples:\n"
    "  bxtool ini list server.ini\n"
    "  bxtool ini list server.ini Network --json\n";
constexpr char GROUPS_EXAMPLES[] =
    "Prints the names of the groups, one a line. Exit code 1: there is none.\n\n"
    "Example:\n"
    "  bxtool ini groups server.ini\n";

struct ListOptions
{
    std::string aFile;
    std::optional<std::string> aGroup; // all of them if not given
    bool fJson = false;
};

void WriteGroup( const IniFile& rFile, const std::string& aGroup )
{
    WriteHeading( MakeVisible( "[" + aGroup + "]" ) );
    WriteOutput( "\n" );
    for ( const std::string& rKey : rFile.GetKeys( aGroup ) )
        WriteOutput( MakeVisible( rKey + " = " + rFile.Read( aGroup, rKey ).value_or( "" ) ) + "\n" );
}

Json ToJson( const IniFile& rFile, const std::string& aGroup )
{
    Json aKeys = Json::Array();
    for ( const std::string& rKey : rFile.GetKeys( aGroup ) )
        aKeys.Add( { { "key", rKey }, { "value", rFile.Read( aGroup, rKey ).value_or( "" ) } } );
    return { { "group", aGroup }, { "keys", aKeys } };
}

ExitCode List( const ListOptions& rOptions )
{
    const IniFile aFile( rOptions.aFile );
    // What stands before the first group is one, too, though it has no header.
    const bool fNameless = !aFile.GetKeys( "" ).empty();
    const std::optional<std::string>& rOne = rOptions.aGroup;
    if ( rOne && !( rOne->empty() ? fNameless : aFile.HasGroup( *rOne ) ) )
        throw ToolFailure( ExitCode::No, aFile.TitleOf( *rOne ) + " does not exist" );
    std::vector<std::string> aGroups = rOne ? std::vector{ *rOne } : aFile.GetGroups();
    if ( !rOne && fNameless )
        aGroups.insert( aGroups.begin(), "" );
    Json aJson = Json::Array();
    for ( const std::string& rGroup : aGroups )
    {
        if ( rOptions.fJson )
            aJson.Add( ToJson( aFile, rGroup ) );
        else
            WriteGroup( aFile, rGroup );
    }
    if ( rOptions.fJson )
        WriteOutput( JsonLines( aJson ) );
    return ExitCode::Ok;
}

ExitCode Groups( const ListOptions& rOptions )
{
    const std::vector<std::string> aGroups = IniFile( rOptions.aFile ).GetGroups();
    if ( rOptions.fJson )
        WriteOutput( JsonLine( Json::ArrayOf( aGroups ) ) );
    else
        for ( const std::string& rGroup : aGroups )
            WriteOutput( MakeVisible( rGroup ) + "\n" );
    return aGroups.empty() ? ExitCode::No : ExitCode::Ok;
}

} // namespace

void AddIniListCommand( Command aFamily, ExitCode& rExitCode )
{
    const Command aCommand = aFamily.AddSubcommand( "list", "Print keys and values" );
    aCommand.SetFooter( LIST_EXAMPLES );
    auto pOptions = std::make_shared<ListOptions>();
    aCommand.AddWord( "FILE", pOptions->aFile, "The file" );
    aCommand.AddOption( "GROUP", pOptions->aGroup, "The group; nothing: all of them" ).TypeName( "" );
    aCommand.AddFlag( "--json", pOptions->fJson, "Print JSON instead" );
    aCommand.SetAction( [pOptions, &rExitCode] { rExitCode = List( *pOptions ); } );
}

void AddIniGroupsCommand( Command aFamily, ExitCode& rExitCode )
{
    const Command aCommand = aFamily.AddSubcommand( "groups", "Print the names of the groups" );
    aCommand.SetFooter( GROUPS_EXAMPLES );
    auto pOptions = std::make_shared<ListOptions>();
    aCommand.AddWord( "FILE", pOptions->aFile, "The file" );
    aCommand.AddFlag( "--json", pOptions->fJson, "Print a JSON array instead" );
    aCommand.SetAction( [pOptions, &rExitCode] { rExitCode = Groups( *pOptions ); } );
}
