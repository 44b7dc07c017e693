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
        aList.Add( { { "name", rObject.aName },
                     { "type", rObject.aType },
                     { "state", rObject.aState },
                     { "holders", Json::ArrayOf( rObject.aHolders ) },
                     { "waiters", rObject.dwWaiters },
                     { "age", rObject.nAge } } );
    const Json aJson = { { "objects", aList } };
    return JsonLine( aJson );
}

std::string ToLines( const SharedObject& rObject )
{
    std::string aHolders;
    for ( DWORD dwProcess : rObject.aHolders )
        aHolders += ( aHolders.empty() ? "" : ", " ) + std::to_string( dwProcess );
    return "  type     " + rObject.aType + "\n  state    " + rObject.aState + "\n  holders  " +
           ( aHolders.empty() ? "none, left over" : aHolders ) + "\n  waiters  " +
           std::to_string( rObject.dwWaiters ) + "\n  age      " + std::to_string( rObject.nAge ) + " s\n";
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
