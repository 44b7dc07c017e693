// bxtool lock, signal and wait: the named locks and signals of the programs, for scripts.

#include "core/guards.h"
#include "tools/errors/decodedrecord.h"
#include "tools/families.h"
#include "tools/sync/runcommand.h"
#include "tools/talk.h"

#include <bxtools/platform.h>
#include <bxtools/sync.h>

#include <cmath>
#include <memory>
#include <optional>

namespace
{

// ---- lock ---------------------------------------------------------------------------------------------------------------

ExitCode RunLocked( const std::string& aName, const std::vector<std::string>& aCommand )
{
    HANDLE hSection = NULL;
    if ( !EnterInterProcessCriticalSection( aName.c_str(), &hSection ) )
    {
        SayError( "the lock \"" + aName + "\" cannot be taken: " + GetSystemText( GetLastError() ) );
        return static_cast<ExitCode>( EXIT_OF_TOOL );
    }
    const int nExitCode = RunCommand( aCommand );
    ReleaseInterProcessCriticalSection( hSection );
    return static_cast<ExitCode>( nExitCode );
}

void AddLockCommand( Command aProgram, ExitCode& rExitCode )
{
    const Command aLock = aProgram.AddSubcommand( "lock", "Run a command while holding a named lock" );
    aLock.SetFooter(
        "Waits for the lock without limit. It is given back when the command ends, and when bxtool is\n"
        "killed, which ends the command.\n\n"
        "Example:\n"
        "  bxtool lock brindlex.archive -- tar cf archive.tar archive\n\n"
        "Exit codes: the command's; 128 and the number of the signal that ended it;\n"
        "  125  the lock cannot be taken\n"
        "  126  the command cannot be run\n"
        "  127  the command is not found\n" );
    auto pName = std::make_shared<std::string>();
    auto pCommand = std::make_shared<std::vector<std::string>>();
    aLock.AddOption( "NAME", *pName, "The lock, as the programs name it" ).Required().NotEmpty();
    aLock.AddOption( "COMMAND", *pCommand, "The command with its arguments, behind --" ).Required();
    aLock.SetAction( [pName, pCommand, &rExitCode] { rExitCode = RunLocked( *pName, *pCommand ); } );
}

// ---- signal -------------------------------------------------------------------------------------------------------------

struct SignalOptions
{
    std::string aName;
    ULONG ulRetries = 0;
    DWORD dwPause = 100;
};

ExitCode Signal( const SignalOptions& rOptions )
{
    if ( SignalActionFinished1( rOptions.aName.c_str(), rOptions.ulRetries, rOptions.dwPause ) )
        return ExitCode::Ok;
    const DWORD dwError = GetLastError();
    if ( dwError != ERROR_FILE_NOT_FOUND )
        throw ToolFailure( ExitCode::Input,
                           "\"" + rOptions.aName + "\" cannot be signalled: " + GetSystemText( dwError ) );
    SayNote( "nobody waits for \"" + rOptions.aName + "\"" );
    return ExitCode::No;
}

void AddSignalCommand( Command aProgram, ExitCode& rExitCode )
{
    const Command aSignal =
        aProgram.AddSubcommand( "signal", "Tell those who wait that an action is finished" );
    aSignal.SetFooter( std::string( "A signal is not kept: exit code 1 when nobody waits.\n\n"
                                    "Example:\n"
                                    "  bxtool signal import.done --retries 50\n\n" ) +
                       EXIT_CODE_HELP );
    auto pOptions = std::make_shared<SignalOptions>();
    aSignal.AddOption( "NAME", pOptions->aName, "The signal, as the programs name it" ).Required().NotEmpty();
    aSignal.AddOption( "--retries", pOptions->ulRetries, "How often to try again" );
    aSignal.AddOption( "--pause", pOptions->dwPause, "Milliseconds between two attempts (100)" );
    aSignal.SetAction( [pOptions, &rExitCode] { rExitCode = Signal( *pOptions ); } );
}

// ---- wait ---------------------------------------------------------------------------------------------------------------

[[noreturn]] void ThrowWaitFailure( const std::string& aName )
{
    throw ToolFailure( ExitCode::Input,
                       "\"" + aName + "\" cannot be waited for: " + GetSystemText( GetLastError() ) );
}

// The library's own wait has no end but the signal, so one with a limit is made here of the same parts.
ExitCode WaitAtMost( const std::string& aName, double fSeconds )
{
    const KernelHandle aEvent( CreateEventA( NULL, TRUE, FALSE, aName.c_str() ) );
    const DWORD dwResult =
        aEvent ? WaitForSingleObject( aEvent.Get(), static_cast<DWORD>( std::lround( fSeconds * 1000 ) ) )
               : WAIT_FAILED;
    if ( dwResult == WAIT_FAILED )
        ThrowWaitFailure( aName );
    return dwResult == WAIT_OBJECT_0 ? ExitCode::Ok : ExitCode::No;
}

ExitCode Wait( const std::string& aName, const std::optional<double>& rSeconds )
{
    if ( rSeconds )
        return WaitAtMost( aName, *rSeconds );
    if ( !WaitForActionFinished( aName.c_str(), INFINITE, NULL ) )
        ThrowWaitFailure( aName );
    return ExitCode::Ok;
}

void AddWaitCommand( Command aProgram, ExitCode& rExitCode )
{
    constexpr double LONGEST = 2e6; // fits in 32 bits of milliseconds
    const Command aWait =
        aProgram.AddSubcommand( "wait", "Wait until somebody tells that an action is finished" );
    aWait.SetFooter( std::string( "Exit code 1 when the time is over.\n\n"
                                  "Example:\n"
                                  "  bxtool wait import.done --timeout 60\n\n" ) +
                     EXIT_CODE_HELP );
    auto pName = std::make_shared<std::string>();
    auto pSeconds = std::make_shared<std::optional<double>>();
    aWait.AddOption( "NAME", *pName, "The signal, as the programs name it" ).Required().NotEmpty();
    aWait.AddOption( "--timeout", *pSeconds, "Seconds to wait; no limit without it" ).InRange( 0.0, LONGEST );
    aWait.SetAction( [pName, pSeconds, &rExitCode] { rExitCode = Wait( *pName, *pSeconds ); } );
}

} // namespace

void AddSyncCommands( Command aProgram, ExitCode& rExitCode )
{
    AddLockCommand( aProgram, rExitCode );
    AddSignalCommand( aProgram, rExitCode );
    AddWaitCommand( aProgram, rExitCode );
}
