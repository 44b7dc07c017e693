// bxtool ipc: what processes share by name.

#include "tools/families.h"
#include "tools/ipc/objects.h"
#include "tools/jsonline.h"
#include "tools/talk.h"

#include <memory>

namespace
{

std::string ToJson( const std::vector<SharedObject>& aObjects )
{
    Json aList = Json::Array();
    for ( const SharedObject& rObject : aObjects )
    {
        Json aItem = { { "name", rObject.aName }, { "type", rObject.aType }, { "state", rObject.aState } };
        if ( rObject.aHolders )
            aItem.Set( "holders", Json::ArrayOf( *rObject.aHolders ) );
        if ( rObject.dwHandles )
            aItem.Set( "handles", *rObject.dwHandles );
        if ( rObject.dwWaiters )
            aItem.Set( "waiters", *rObject.dwWaiters );
        if ( rObject.nAge )
            aItem.Set( "age", *rObject.nAge );
        aList.Add( std::move( aItem ) );
    }
    const Json aJson = { { "objects", aList } };
    return JsonLine( aJson );
}

std::string ListOf( const std::vector<DWORD>& aHolders )
{
    std::string aText;
    for ( DWORD dwProcess : aHolders )
        aText += ( aText.empty() ? "" : ", " ) + std::to_string( dwProcess );
    return aText.empty() ? "none, left over" : aText;
}

std::string ToLines( const SharedObject& rObject )
{
    std::string aLines = "  type     " + rObject.aType + "\n  state    " + rObject.aState + "\n";
    if ( rObject.aHolders )
        aLines += "  holders  " + ListOf( *rObject.aHolders ) + "\n";
    if ( rObject.dwHandles )
        aLines += "  handles  " + std::to_string( *rObject.dwHandles ) + "\n";
    if ( rObject.dwWaiters )
        aLines += "  waiters  " + std::to_string( *rObject.dwWaiters ) + "\n";
    if ( rObject.nAge )
        aLines += "  age      " + std::to_string( *rObject.nAge ) + " s\n";
    return aLines;
}

ExitCode List( bool fGlobal, bool fJson )
{
    const std::vector<SharedObject> aObjects = ReadSharedObjects( fGlobal );
    if ( fJson )
        WriteOutput( ToJson( aObjects ) );
    else
        for ( const SharedObject& rObject : aObjects )
        {
            WriteHeading( rObject.aName );
            WriteOutput( "\n" + ToLines( rObject ) );
        }
    return aObjects.empty() ? ExitCode::No : ExitCode::Ok;
}

} // namespace

void AddIpcFamily( Command aProgram, ExitCode& rExitCode )
{
    constexpr char EXAMPLES[] = "Examples:\n"
                                "  bxtool ipc ls\n"
                                "  bxtool ipc ls --global --json\n\n";
    const Command aFamily =
        aProgram.AddSubcommand( "ipc", "Events, mutexes and memory that processes share: ls" );
    aFamily.SetFooter( std::string( EXAMPLES ) + EXIT_CODE_HELP );
    aFamily.RequireSubcommand();
    const Command aList =
        aFamily.AddSubcommand( "ls", "List the named objects, who holds them and who waits" );
    aList.SetFooter(
        std::string( "Waits on one object alone are not counted. The exit code is 1 when there is no "
                     "object.\n\n" ) +
        EXAMPLES );
    auto pGlobal = std::make_shared<bool>( false );
    auto pJson = std::make_shared<bool>( false );
    aList.AddFlag( "--global", *pGlobal, "Those whose names begin with Global\\ instead" );
    aList.AddFlag( "--json", *pJson, "Print JSON instead" );
    aList.SetAction( [pGlobal, pJson, &rExitCode] { rExitCode = List( *pGlobal, *pJson ); } );
}
