// bxtool ps and bxtool kill: the processes of the system.

#include "core/guards.h"
#include "tools/errors/displaytext.h"
#include "tools/families.h"
#include "tools/jsonline.h"
#include "tools/process/processlist.h"
#include "tools/talk.h"

#include <bxtools/platform.h>
#include <bxtools/process.h>

#include <memory>

namespace
{

void WriteJson( const Json& rProcesses )
{
    const Json aJson = { { "processes", rProcesses } };
    WriteOutput( JsonLine( aJson ) );
}

std::string ToLine( const ListedProcess& rProcess )
{
    const std::string aId = std::to_string( rProcess.dwId );
    const std::string aPath = rProcess.aPath.empty() ? "-" : MakeVisible( rProcess.aPath );
    return std::string( aId.size() < 7 ? 7 - aId.size() : 0, ' ' ) + aId + "  " + aPath;
}

// ---- ps -----------------------------------------------------------------------------------------------------------------

ExitCode ShowProcesses( const std::string& aNames, bool fJson )
{
    const std::vector<ListedProcess> aProcesses = aNames.empty() ? ListProcesses() : ListProcesses( aNames );
    Json aList = Json::Array();
    for ( const ListedProcess& rProcess : aProcesses )
        if ( fJson )
            aList.Add( { { "id", rProcess.dwId }, { "path", rProcess.aPath } } );
        else
            WriteOutput( ToLine( rProcess ) + "\n" );
    if ( fJson )
        WriteJson( aList );
    return aProcesses.empty() ? ExitCode::No : ExitCode::Ok;
}

// ---- kill ---------------------------------------------------------------------------------------------------------------

// Killed processes go when the system has time for it.
constexpr DWORD LONGEST_END = 5000;

struct KillOptions
{
    std::string aNames;
    bool fAdminRights = false;
    bool fDryRun = false;
    bool fJson = false;
};

// A process that is to be ended, opened before that so that its end can be seen.
struct Victim
{
    explicit Victim( const ListedProcess& rListed )
        : aListed( rListed ),
          aHandle( OpenProcess( SYNCHRONIZE, FALSE, rListed.dwId ) ),
          fGone( !aHandle && GetLastError() == ERROR_INVALID_PARAMETER )
    {
    }
    bool HasEnded() const
    {
        return fGone || WaitForSingleObject( aHandle.Get(), LONGEST_END ) == WAIT_OBJECT_0;
    }

    ListedProcess aListed;
    KernelHandle aHandle;
    bool fGone; // it had ended before it could be opened
};

std::vector<std::unique_ptr<Victim>> FindVictims( const std::string& aNames )
{
    std::vector<std::unique_ptr<Victim>> aVictims;
    for ( const ListedProcess& rProcess : ListProcesses( aNames ) )
        aVictims.push_back( std::make_unique<Victim>( rProcess ) );
    return aVictims;
}

ExitCode Kill( const KillOptions& rOptions )
{
    const std::vector<std::unique_ptr<Victim>> aVictims = FindVictims( rOptions.aNames );
    const bool fKill = !rOptions.fDryRun && !aVictims.empty();
    if ( fKill && !KillProcesses( rOptions.aNames.c_str(), rOptions.fAdminRights ) )
        throw ToolFailure( ExitCode::Output,
                           rOptions.fAdminRights
                               ? "nothing was ended: the right to end other users' "
                                 "processes cannot be had; run this as their user or as root"
                               : "the processes cannot be listed" );
    Json aList = Json::Array();
    bool fAll = true;
    for ( const std::unique_ptr<Victim>& pVictim : aVictims )
    {
        const ListedProcess& rProcess = pVictim->aListed;
        const bool fEnded = fKill && pVictim->HasEnded();
        fAll = fAll && ( fEnded || rOptions.fDryRun );
        if ( rOptions.fJson )
            aList.Add( { { "id", rProcess.dwId }, { "path", rProcess.aPath }, { "ended", fEnded } } );
        else
            WriteOutput( ToLine( rProcess ) + ( rOptions.fDryRun ? "  would be ended\n"
                                                : fEnded         ? "  ended\n"
                                                                 : "  still runs\n" ) );
    }
    if ( rOptions.fJson )
        WriteJson( aList );
    if ( aVictims.empty() )
        return ExitCode::No;
    return fAll ? ExitCode::Ok : ExitCode::Output;
}

// ---- the command line ---------------------------------------------------------------------------------------------------

void AddKillCommand( Command aProgram, ExitCode& rExitCode )
{
    const Command aKill = aProgram.AddSubcommand( "kill", "End all processes of a program" );
    aKill.SetFooter(
        std::string( "NAMES are names of programs' files, with their extension, divided by \";\".\n\n"
                     "Examples:\n"
                     "  bxtool kill --dry-run \"indexer;archiver\"\n"
                     "  bxtool kill LoggSrv.Exe\n\n" ) +
        EXIT_CODE_HELP );
    auto pOptions = std::make_shared<KillOptions>();
    aKill.AddOption( "NAMES", pOptions->aNames, "The programs, whatever the case of their letters" )
        .Required()
        .NotEmpty();
    aKill.AddFlag( "--admin", pOptions->fAdminRights, "Other users' processes as well; needs the right to" );
    aKill.AddFlag( "--dry-run", pOptions->fDryRun, "Only say which would be ended" );
    aKill.AddFlag( "--json", pOptions->fJson, "Print JSON instead" );
    aKill.SetAction( [pOptions, &rExitCode] { rExitCode = Kill( *pOptions ); } );
}

} // namespace

void AddProcessCommands( Command aProgram, ExitCode& rExitCode )
{
    const Command aList = aProgram.AddSubcommand( "ps", "List the processes with their programs" );
    aList.SetFooter( std::string( "A path that the system does not tell is shown as -.\n\n"
                                  "Examples:\n"
                                  "  bxtool ps\n"
                                  "  bxtool ps \"indexer;archiver\" --json\n\n" ) +
                     EXIT_CODE_HELP );
    auto pNames = std::make_shared<std::string>();
    auto pJson = std::make_shared<bool>( false );
    aList.AddOption( "NAMES", *pNames, "Those of these programs only, named as for kill" );
    aList.AddFlag( "--json", *pJson, "Print JSON instead" );
    aList.SetAction( [pNames, pJson, &rExitCode] { rExitCode = ShowProcesses( *pNames, *pJson ); } );
    AddKillCommand( aProgram, rExitCode );
}
