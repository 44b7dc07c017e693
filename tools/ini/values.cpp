// bxtool ini get, set and delete: one value, or a group.
#include "tools/ini/commands.h"
#include "tools/ini/inifile.h"
#include "tools/jsonline.h"
#include "tools/talk.h"

#include <memory>

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
    CLI::Option* pKey = NULL;
    bool fJson = false;
};

std::shared_ptr<ValueOptions> AddFileAndGroup( CLI::App& rCommand )
{
    auto pOptions = std::make_shared<ValueOptions>();
    AddWord( rCommand, "FILE", pOptions->aFile, "The file" );
    AddWord( rCommand, "GROUP", pOptions->aGroup, "The group; '' for what stands before the first one" );
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
        WriteOutput( *aValue + "\n" );
    return ExitCode::Ok;
}

ExitCode Delete( const ValueOptions& rOptions )
{
    const IniFile aFile( rOptions.aFile );
    const bool fKey = rOptions.pKey->count() != 0;
    const bool fThere =
        fKey ? aFile.Read( rOptions.aGroup, rOptions.aKey ).has_value() : aFile.HasGroup( rOptions.aGroup );
    const std::string aTitle =
        fKey ? aFile.TitleOf( rOptions.aGroup, rOptions.aKey ) : aFile.TitleOf( rOptions.aGroup );
    if ( !fThere )
        throw ToolFailure( ExitCode::No, aTitle + " does not exist" );
    if ( fKey )
        aFile.DeleteKey( rOptions.aGroup, rOptions.aKey );
    else
        aFile.DeleteGroup( rOptions.aGroup );
    SayNote( "deleted " + aTitle );
    return ExitCode::Ok;
}

} // namespace

void AddIniGetCommand( CLI::App& rFamily, ExitCode& rExitCode )
{
    CLI::App* pCommand = rFamily.add_subcommand( "get", "Print a value" );
    pCommand->footer( GET_EXAMPLES );
    const auto pOptions = AddFileAndGroup( *pCommand );
    AddWord( *pCommand, "KEY", pOptions->aKey, "The key" );
    pCommand->add_flag( "--json", pOptions->fJson, "Print group, key and value as JSON" );
    pCommand->callback( [pOptions, &rExitCode] { rExitCode = Get( *pOptions ); } );
}

void AddIniSetCommand( CLI::App& rFamily, ExitCode& rExitCode )
{
    CLI::App* pCommand = rFamily.add_subcommand( "set", "Set a value" );
    pCommand->footer( SET_EXAMPLES );
    const auto pOptions = AddFileAndGroup( *pCommand );
    AddWord( *pCommand, "KEY", pOptions->aKey, "The key" );
    AddWord( *pCommand, "VALUE", pOptions->aValue, "The value; get prints just this" );
    pCommand->callback(
        [pOptions, &rExitCode]
        {
            IniFile( pOptions->aFile ).Set( pOptions->aGroup, pOptions->aKey, pOptions->aValue );
            rExitCode = ExitCode::Ok;
        } );
}

void AddIniDeleteCommand( CLI::App& rFamily, ExitCode& rExitCode )
{
    CLI::App* pCommand = rFamily.add_subcommand( "delete", "Delete a key, or a group" );
    pCommand->footer( DELETE_EXAMPLES );
    const auto pOptions = AddFileAndGroup( *pCommand );
    pOptions->pKey = pCommand->add_option( "KEY", pOptions->aKey, "The key; nothing: the whole group" );
    pOptions->pKey->type_name( "" );
    pCommand->callback( [pOptions, &rExitCode] { rExitCode = Delete( *pOptions ); } );
}
