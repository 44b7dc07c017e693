// bxtool ini get, set and delete: one value, or a group.
#include "tools/ini/commands.h"
#include "tools/ini/inifile.h"
#include "tools/jsonline.h"
#include "tools/talk.h"

#include <memory>
#include <optional>

namespace
{

constexpr char GET_EXAMPLES[] = "Prints a value. Exit code 1: there is no such group or key.\n\n"
                                "Examples:\n"
                                "  bxtool ini get server.ini Network Host\n"
                                "  bxtool ini get server.ini Network Host --json\n";
constexpr char SET_EXAMPLES[] =
    "Makes file, group and key where there are none. Words that begin with - stand behind --.\n\n"
    "Examples:\n"
    "  bxtool ini set server.ini Network Host db.example\n"
    "  bxtool ini set server.ini Text Prompt ' > '\n";
constexpr char DELETE_EXAMPLES[] =
    "Asks nothing, and says what it has deleted. Exit code 1: there is no such group or key.\n\n"
    "Examples:\n"
    "  bxtool ini delete server.ini Network Host\n"
    "  bxtool ini delete server.ini Network\n";

struct ValueOptions
{
    std::string aFile;
    std::string aGroup;
    std::string aKey;
    std::string aValue;
    std::optional<std::string> aKeyToDelete; // the whole group if not given
    bool fJson = false;
};

std::shared_ptr<ValueOptions> AddFileAndGroup( Command aCommand )
{
    auto pOptions = std::make_shared<ValueOptions>();
    aCommand.AddWord( "FILE", pOptions->aFile, "The file" );
    aCommand.AddWord( "GROUP", pOptions->aGroup, "The group; '' for what stands before the first one" );
    return pOptions;
}

ExitCode Get( const ValueOptions& rOptions )
{
    const IniFile aFile( rOptions.aFile );
    const std::optional<std::string> aValue = aFile.Read( rOptions.aGroup, rOptions.aKey );
    if ( !aValue )
        throw ToolFailure( ExitCode::No,
                           aFile.TitleOf( rOptions.aGroup, rOptions.aKey ) + " does not exist" );
    if ( rOptions.fJson )
        WriteOutput(
            JsonLine( { { "group", rOptions.aGroup }, { "key", rOptions.aKey }, { "value", *aValue } } ) );
    else
    {
        WriteText( *aValue );
        WriteOutput( "\n" );
    }
    return ExitCode::Ok;
}

ExitCode Delete( const ValueOptions& rOptions )
{
    const IniFile aFile( rOptions.aFile );
    const std::optional<std::string>& rKey = rOptions.aKeyToDelete;
    const bool fThere =
        rKey ? aFile.Read( rOptions.aGroup, *rKey ).has_value() : aFile.HasGroup( rOptions.aGroup );
    const std::string aTitle =
        rKey ? aFile.TitleOf( rOptions.aGroup, *rKey ) : aFile.TitleOf( rOptions.aGroup );
    if ( !fThere )
        throw ToolFailure( ExitCode::No, aTitle + " does not exist" );
    if ( rKey )
        aFile.DeleteKey( rOptions.aGroup, *rKey );
    else
        aFile.DeleteGroup( rOptions.aGroup );
    SayNote( "deleted " + aTitle );
    return ExitCode::Ok;
}

} // namespace

void AddIniGetCommand( Command aFamily, ExitCode& rExitCode )
{
    const Command aCommand = aFamily.AddSubcommand( "get", "Print a value" );
    aCommand.SetFooter( GET_EXAMPLES );
    const auto pOptions = AddFileAndGroup( aCommand );
    aCommand.AddWord( "KEY", pOptions->aKey, "The key" );
    aCommand.AddFlag( "--json", pOptions->fJson, "Print group, key and value as JSON" );
    aCommand.SetAction( [pOptions, &rExitCode] { rExitCode = Get( *pOptions ); } );
}

void AddIniSetCommand( Command aFamily, ExitCode& rExitCode )
{
    const Command aCommand = aFamily.AddSubcommand( "set", "Set a value" );
    aCommand.SetFooter( SET_EXAMPLES );
    const auto pOptions = AddFileAndGroup( aCommand );
    aCommand.AddWord( "KEY", pOptions->aKey, "The key" );
    aCommand.AddWord( "VALUE", pOptions->aValue, "The value; get prints just this" );
    aCommand.SetAction(
        [pOptions, &rExitCode]
        {
            IniFile( pOptions->aFile ).Set( pOptions->aGroup, pOptions->aKey, pOptions->aValue );
            rExitCode = ExitCode::Ok;
        } );
}

void AddIniDeleteCommand( Command aFamily, ExitCode& rExitCode )
{
    const Command aCommand = aFamily.AddSubcommand( "delete", "Delete a key, or a group" );
    aCommand.SetFooter( DELETE_EXAMPLES );
    const auto pOptions = AddFileAndGroup( aCommand );
    aCommand.AddOption( "KEY", pOptions->aKeyToDelete, "The key; nothing: the whole group" ).TypeName( "" );
    aCommand.SetAction( [pOptions, &rExitCode] { rExitCode = Delete( *pOptions ); } );
}
