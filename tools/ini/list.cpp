// bxtool ini list and groups.
#include "tools/errors/displaytext.h"
#include "tools/ini/commands.h"
#include "tools/ini/inifile.h"
#include "tools/jsonline.h"
#include "tools/talk.h"

#include <memory>

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

using Json = nlohmann::ordered_json;

struct ListOptions
{
    std::string aFile;
    std::string aGroup;
    CLI::Option* pGroup = NULL;
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
    Json aKeys = Json::array();
    for ( const std::string& rKey : rFile.GetKeys( aGroup ) )
        aKeys.push_back( { { "key", rKey }, { "value", rFile.Read( aGroup, rKey ).value_or( "" ) } } );
    return { { "group", aGroup }, { "keys", aKeys } };
}

ExitCode List( const ListOptions& rOptions )
{
    const IniFile aFile( rOptions.aFile );
    const bool fOne = rOptions.pGroup->count() != 0;
    // What stands before the first group is one, too, though it has no header.
    const bool fNameless = !aFile.GetKeys( "" ).empty();
    if ( fOne && !( rOptions.aGroup.empty() ? fNameless : aFile.HasGroup( rOptions.aGroup ) ) )
        throw ToolFailure( ExitCode::No, aFile.TitleOf( rOptions.aGroup ) + " does not exist" );
    std::vector<std::string> aGroups = fOne ? std::vector{ rOptions.aGroup } : aFile.GetGroups();
    if ( !fOne && fNameless )
        aGroups.insert( aGroups.begin(), "" );
    Json aJson = Json::array();
    for ( const std::string& rGroup : aGroups )
    {
        if ( rOptions.fJson )
            aJson.push_back( ToJson( aFile, rGroup ) );
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
        WriteOutput( JsonLine( aGroups ) );
    else
        for ( const std::string& rGroup : aGroups )
            WriteOutput( MakeVisible( rGroup ) + "\n" );
    return aGroups.empty() ? ExitCode::No : ExitCode::Ok;
}

} // namespace

void AddIniListCommand( CLI::App& rFamily, ExitCode& rExitCode )
{
    CLI::App* pCommand = rFamily.add_subcommand( "list", "Print keys and values" );
    pCommand->footer( LIST_EXAMPLES );
    auto pOptions = std::make_shared<ListOptions>();
    AddWord( *pCommand, "FILE", pOptions->aFile, "The file" );
    pOptions->pGroup = pCommand->add_option( "GROUP", pOptions->aGroup, "The group; nothing: all of them" );
    pOptions->pGroup->type_name( "" );
    pCommand->add_flag( "--json", pOptions->fJson, "Print JSON instead" );
    pCommand->callback( [pOptions, &rExitCode] { rExitCode = List( *pOptions ); } );
}

void AddIniGroupsCommand( CLI::App& rFamily, ExitCode& rExitCode )
{
    CLI::App* pCommand = rFamily.add_subcommand( "groups", "Print the names of the groups" );
    pCommand->footer( GROUPS_EXAMPLES );
    auto pOptions = std::make_shared<ListOptions>();
    AddWord( *pCommand, "FILE", pOptions->aFile, "The file" );
    pCommand->add_flag( "--json", pOptions->fJson, "Print a JSON array instead" );
    pCommand->callback( [pOptions, &rExitCode] { rExitCode = Groups( *pOptions ); } );
}
