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

namespace
{

CLI::Validator NotEmpty()
{
    return CLI::Validator( []( std::string& rName ) { return rName.empty() ? "it is empty" : ""; }, "" );
}

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

void AddLockCommand( CLI::App& rProgram, ExitCode& rExitCode )
{
    CLI::App* pLock = rProgram.add_subcommand( "lock", "Run a command while holding a named lock" );
    pLock->footer(
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
    pLock->add_option( "NAME", *pName, "The lock, as the programs name it" )->required()->check( NotEmpty() );
    pLock->add_option( "COMMAND", *pCommand, "The command with its arguments, behind --" )->required();
    pLock->callback( [pName, pCommand, &rExitCode] { rExitCode = RunLocked( *pName, *pCommand ); } );
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

void AddSignalCommand( CLI::App& rProgram, ExitCode& rExitCode )
{
    CLI::App* pSignal = rProgram.add_subcommand( "signal", "Tell those who wait that an action is finished" );
    pSignal->footer( std::string( "A signal is not kept: exit code 1 when nobody waits.\n\n"
                                  "Example:\n"
                                  "  bxtool signal import.done --retries 50\n\n" ) +
                     EXIT_CODE_HELP );
    auto pOptions = std::make_shared<SignalOptions>();
    pSignal->add_option( "NAME", pOptions->aName, "The signal, as the programs name it" )
        ->required()
        ->check( NotEmpty() );
    pSignal->add_option( "--retries", pOptions->ulRetries, "How often to try again" );
    pSignal->add_option( "--pause", pOptions->dwPause, "Milliseconds between two attempts (100)" );
    pSignal->callback( [pOptions, &rExitCode] { rExitCode = Signal( *pOptions ); } );
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

ExitCode Wait( const std::string& aName, const double* pSeconds )
{
    if ( pSeconds != NULL )
        return WaitAtMost( aName, *pSeconds );
    if ( !WaitForActionFinished( aName.c_str(), INFINITE, NULL ) )
        ThrowWaitFailure( aName );
    return ExitCode::Ok;
}

void AddWaitCommand( CLI::App& rProgram, ExitCode& rExitCode )
{
    constexpr double LONGEST = 2e6; // fits in 32 bits of milliseconds
    CLI::App* pWait =
        rProgram.add_subcommand( "wait", "Wait until somebody tells that an action is finished" );
    pWait->footer( std::string( "Exit code 1 when the time is over.\n\n"
                                "Example:\n"
                                "  bxtool wait import.done --timeout 60\n\n" ) +
                   EXIT_CODE_HELP );
    auto pName = std::make_shared<std::string>();
    auto pSeconds = std::make_shared<double>( 0 );
    pWait->add_option( "NAME", *pName, "The signal, as the programs name it" )
        ->required()
        ->check( NotEmpty() );
    CLI::Option* pTimeout =
        pWait->add_option( "--timeout", *pSeconds, "Seconds to wait; no limit without it" )
            ->check( CLI::Range( 0.0, LONGEST ) );
    pWait->callback( [pName, pSeconds, pTimeout, &rExitCode]
                     { rExitCode = Wait( *pName, pTimeout->count() != 0 ? pSeconds.get() : NULL ); } );
}

} // namespace

void AddSyncCommands( CLI::App& rProgram, ExitCode& rExitCode )
{
    AddLockCommand( rProgram, rExitCode );
    AddSignalCommand( rProgram, rExitCode );
    AddWaitCommand( rProgram, rExitCode );
}
