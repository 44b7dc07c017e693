// bxtool reg get, set and delete: one value, or one key.
#include "tools/jsonline.h"
#include "tools/reg/commands.h"
#include "tools/reg/regaccess.h"
#include "tools/reg/valuetext.h"
#include "tools/systemtext.h"
#include "tools/talk.h"

#include <memory>
#include <optional>

namespace
{

constexpr char GET_EXAMPLES[] =
    "Prints a value's data: a text as it is, each text of a multi value on a line, a number in\n"
    "decimal, other bytes in hexadecimal. Exit code 1: there is no such key or value.\n\n"
    "Examples:\n"
    "  bxtool reg get 'HKLM\\Software\\Company\\Product' Level\n"
    "  bxtool reg get HKLM/Software/Company/Product --json\n";
constexpr char SET_EXAMPLES[] =
    "Makes the key where there is none. Words that begin with - stand behind --.\n\n"
    "Examples:\n"
    "  bxtool reg set HKLM/Software/Company/Product Path /srv/data\n"
    "  bxtool reg set HKLM/Software/Company/Product Level 7 --type dword\n"
    "  bxtool reg set HKLM/Software/Company/Product Servers one two --type multi\n"
    "  bxtool reg set HKLM/Software/Company/Product '' 'the default value'\n";
constexpr char DELETE_EXAMPLES[] =
    "Asks nothing, and says what it has deleted. A key with subkeys needs --recursive.\n"
    "Exit code 1: there is no such key or value.\n\n"
    "Examples:\n"
    "  bxtool reg delete HKLM/Software/Company/Product Level\n"
    "  bxtool reg delete HKLM/Software/Company/Product --recursive\n";

struct ValueOptions
{
    std::string aKey;
    std::string aName;
    std::string aType = "string";
    std::vector<std::string> aWords;
    std::optional<std::string> aNameToDelete; // the whole key if not given
    bool fJson = false;
    bool fRecursive = false;
};

void AddKey( Command aCommand, ValueOptions& rOptions )
{
    aCommand.AddWord( "KEY", rOptions.aKey,
                      "The key, such as HKLM\\Software\\Company or HKLM/Software/Company" );
}

ExitCode Get( const ValueOptions& rOptions )
{
    const RegValue aValue =
        OpenedKey( ParseKeyPath( rOptions.aKey ), KEY_QUERY_VALUE ).Read( rOptions.aName );
    if ( rOptions.fJson )
    {
        WriteOutput( JsonLine( GetValueJson( aValue ) ) );
        return ExitCode::Ok;
    }
    for ( const std::string& rLine : GetDataLines( aValue ) )
    {
        WriteText( FromSystemText( rLine ) );
        WriteOutput( "\n" );
    }
    return ExitCode::Ok;
}

ExitCode Set( const ValueOptions& rOptions )
{
    const RegValue aValue = MakeValue( rOptions.aName, *FindType( rOptions.aType ), rOptions.aWords );
    OpenedKey::Make( ParseKeyPath( rOptions.aKey ) ).Set( aValue );
    return ExitCode::Ok;
}

ExitCode DeleteValue( const KeyPath& rPath, const std::string& aName )
{
    const std::string aTitle = ValueTitle( rPath, aName );
    if ( !OpenedKey( rPath, KEY_SET_VALUE ).Delete( aName ) )
        throw ToolFailure( ExitCode::No, aTitle + " does not exist" );
    SayNote( "deleted " + aTitle );
    return ExitCode::Ok;
}

ExitCode Delete( const ValueOptions& rOptions )
{
    const KeyPath aPath = ParseKeyPath( rOptions.aKey );
    if ( rOptions.aNameToDelete )
        return DeleteValue( aPath, *rOptions.aNameToDelete );
    if ( aPath.aPath.empty() )
        throw ToolFailure( ExitCode::Usage,
                           aPath.GetTitle() + " is a root and cannot be deleted; name a key below it" );
    const TreeCount aCount = CountTree( ReadTree( aPath, TreeDepth::AllBelow ) );
    const std::string aSubkeys =
        std::to_string( aCount.nKeys ) + ( aCount.nKeys == 1 ? " subkey" : " subkeys" );
    if ( aCount.nKeys != 0 && !rOptions.fRecursive )
        throw ToolFailure( ExitCode::Usage,
                           aPath.GetTitle() + " has " + aSubkeys +
                               "; nothing was deleted, give --recursive to delete all of it" );
    if ( !( rOptions.fRecursive ? DeleteTree( aPath ) : DeleteKeyAlone( aPath ) ) )
        throw ToolFailure( ExitCode::No, aPath.GetTitle() + " does not exist" );
    SayNote( "deleted " + aPath.GetTitle() + ", " + aSubkeys + ", " + std::to_string( aCount.nValues ) +
             ( aCount.nValues == 1 ? " value" : " values" ) );
    return ExitCode::Ok;
}

} // namespace

void AddRegGetCommand( Command aFamily, ExitCode& rExitCode )
{
    const Command aCommand = aFamily.AddSubcommand( "get", "Print a value" );
    aCommand.SetFooter( GET_EXAMPLES );
    auto pOptions = std::make_shared<ValueOptions>();
    AddKey( aCommand, *pOptions );
    aCommand.AddOption( "VALUE", pOptions->aName, "The value's name; nothing: the key's default value" )
        .TypeName( "" );
    aCommand.AddFlag( "--json", pOptions->fJson, "Print name, type and data as JSON" );
    aCommand.SetAction( [pOptions, &rExitCode] { rExitCode = Get( *pOptions ); } );
}

void AddRegSetCommand( Command aFamily, ExitCode& rExitCode )
{
    const Command aCommand = aFamily.AddSubcommand( "set", "Set a value" );
    aCommand.SetFooter( SET_EXAMPLES );
    auto pOptions = std::make_shared<ValueOptions>();
    AddKey( aCommand, *pOptions );
    aCommand.AddWord( "VALUE", pOptions->aName, "The value's name; '' is the key's default value" );
    aCommand.AddOption( "DATA", pOptions->aWords, "The data; a multi value takes any number of texts" )
        .TypeName( "" );
    aCommand.AddOption( "--type", pOptions->aType, "One of " + GetTypeNames() )
        .TypeName( "TYPE" )
        .ShowsDefault()
        .CheckedBy(
            []( const std::string& aName ) {
                return FindType( aName ) ? std::string()
                                         : "\"" + aName + "\" is no type; there are " + GetTypeNames();
            } );
    aCommand.SetAction( [pOptions, &rExitCode] { rExitCode = Set( *pOptions ); } );
}

void AddRegDeleteCommand( Command aFamily, ExitCode& rExitCode )
{
    const Command aCommand = aFamily.AddSubcommand( "delete", "Delete a value, or a key" );
    aCommand.SetFooter( DELETE_EXAMPLES );
    auto pOptions = std::make_shared<ValueOptions>();
    AddKey( aCommand, *pOptions );
    aCommand
        .AddOption( "VALUE", pOptions->aNameToDelete,
                    "The value's name, '' for the default value; nothing: the whole key" )
        .TypeName( "" );
    aCommand.AddFlag( "-f,--recursive", pOptions->fRecursive, "Delete a key with all its subkeys" );
    aCommand.SetAction( [pOptions, &rExitCode] { rExitCode = Delete( *pOptions ); } );
}
