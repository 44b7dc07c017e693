// bxtool ini copy-group and rename-group.
#include "tools/ini/commands.h"
#include "tools/ini/inifile.h"
#include "tools/talk.h"

#include <memory>

namespace
{

constexpr char COPY_EXAMPLES[] =
    "Copies the keys with their values; comments stay behind. A group that is there is replaced only\n"
    "with --replace. Exit code 1: there is no such group.\n\n"
    "Example:\n"
    "  bxtool ini copy-group server.ini Network Backup --replace\n";
constexpr char RENAME_EXAMPLES[] =
    "Copies the group as copy-group does, compares the copy, and deletes the old group.\n"
    "Exit code 1: there is no such group.\n\n"
    "Example:\n"
    "  bxtool ini rename-group server.ini Network Connection\n";

struct GroupOptions
{
    std::string aFile;
    std::string aSource;
    std::string aDestination;
    bool fReplace = false;
};

using KeyValue = std::pair<std::string, std::string>;

std::vector<KeyValue> ReadGroup( const IniFile& rFile, const std::string& aGroup )
{
    std::vector<KeyValue> aKeys;
    for ( const std::string& rKey : rFile.GetKeys( aGroup ) )
        aKeys.emplace_back( rKey, rFile.Read( aGroup, rKey ).value_or( "" ) );
    return aKeys;
}

// Also when the system alone takes the name for that of a group, for letters above 127 or blanks at its ends.
bool IsThere( const IniFile& rFile, const std::string& aGroup )
{
    return rFile.HasGroup( aGroup ) || !rFile.GetKeys( aGroup ).empty();
}

void Check( const IniFile& rFile, const GroupOptions& rOptions )
{
    if ( AreEqualNames( rOptions.aSource, rOptions.aDestination ) )
        throw ToolFailure( ExitCode::Usage, "the two names are equal, since names ignore case" );
    if ( rOptions.aDestination.find_first_not_of( " \t\v\f" ) == rOptions.aDestination.npos )
        throw ToolFailure( ExitCode::Usage, "a group needs a name" );
    if ( !rFile.HasGroup( rOptions.aSource ) )
        throw ToolFailure( ExitCode::No, rFile.TitleOf( rOptions.aSource ) + " does not exist" );
    if ( !rOptions.fReplace && IsThere( rFile, rOptions.aDestination ) )
        throw ToolFailure( ExitCode::Usage,
                           rFile.TitleOf( rOptions.aDestination ) +
                               " is there already; nothing was changed, give --replace to replace it" );
}

ExitCode Copy( const GroupOptions& rOptions, bool fRename )
{
    const IniFile aFile( rOptions.aFile );
    Check( aFile, rOptions );
    const std::vector<KeyValue> aKeys = ReadGroup( aFile, rOptions.aSource );
    if ( aKeys.empty() )
        throw ToolFailure( ExitCode::Usage,
                           aFile.TitleOf( rOptions.aSource ) + " has no keys; nothing was changed" );
    while ( IsThere( aFile, rOptions.aDestination ) )
        aFile.DeleteGroup( rOptions.aDestination );
    // Where the two are one group for the system it is made anew, under the new name.
    const bool fSourceStays = !aFile.GetKeys( rOptions.aSource ).empty();
    for ( const KeyValue& rKey : aKeys )
        aFile.Set( rOptions.aDestination, rKey.first, rKey.second );
    if ( ReadGroup( aFile, rOptions.aDestination ) != aKeys || ReadGroup( aFile, rOptions.aSource ) != aKeys )
        throw ToolFailure( ExitCode::Output,
                           aFile.TitleOf( rOptions.aDestination ) +
                               " is not what was copied; does another program change the file?" );
    if ( fRename && fSourceStays )
        aFile.DeleteGroup( rOptions.aSource );
    SayNote( ( fRename ? "renamed " : "copied " ) + aFile.TitleOf( rOptions.aSource ) + ", " +
             std::to_string( aKeys.size() ) + ( aKeys.size() == 1 ? " key" : " keys" ) );
    return ExitCode::Ok;
}

void AddCommand( Command aCommand, const char* pExamples, bool fRename, ExitCode& rExitCode )
{
    aCommand.SetFooter( pExamples );
    auto pOptions = std::make_shared<GroupOptions>();
    aCommand.AddWord( "FILE", pOptions->aFile, "The file" );
    aCommand.AddWord( fRename ? "OLD" : "SOURCE", pOptions->aSource, "The group that is there" );
    aCommand.AddWord( fRename ? "NEW" : "DESTINATION", pOptions->aDestination, "The group to be made" );
    aCommand.AddFlag( "--replace", pOptions->fReplace, "Replace a group of that name" );
    aCommand.SetAction( [pOptions, fRename, &rExitCode] { rExitCode = Copy( *pOptions, fRename ); } );
}

} // namespace

void AddIniCopyGroupCommand( Command aFamily, ExitCode& rExitCode )
{
    AddCommand( aFamily.AddSubcommand( "copy-group", "Copy a group within the file" ), COPY_EXAMPLES, false,
                rExitCode );
}

void AddIniRenameGroupCommand( Command aFamily, ExitCode& rExitCode )
{
    AddCommand( aFamily.AddSubcommand( "rename-group", "Rename a group" ), RENAME_EXAMPLES, true, rExitCode );
}
