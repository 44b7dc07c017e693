// bxtool, the library's tool for the people who run the system: the frame around the families of commands.

#include "tools/families.h"
#include "tools/talk.h"
#include "tools/terminal.h"

#include <cstring>
#include <new>

namespace
{

constexpr AddFamily FAMILIES[] = {
    AddErrorsFamily,
};

constexpr char EXAMPLES[] = "Examples:\n"
                            "  bxtool errors show failed.stream\n"
                            "  bxtool errors --help\n\n";

// The library's debug messages go to standard error where no other sink is named, and would stand between what the
// user asked for. The library looks at the variable once, when it writes its first message.
void QuietLibrary( int argc, char* argv[] )
{
    for ( int i = 1; i < argc; i++ )
        if ( strcmp( argv[i], "--debug" ) == 0 )
            return;
    SetEnvironmentDefault( "BXTOOLS_DEBUG_SINK", "none" );
}

int ParseAndRun( int argc, char* argv[] )
{
    ExitCode aExitCode = ExitCode::Ok;
    CLI::App aProgram( "Looks into what the programs of the system leave behind.", "bxtool" );
    aProgram.set_version_flag( "--version", "bxtool " BXTOOLS_VERSION );
    bool fDebug = false; // looked for before the command line is parsed
    aProgram.add_flag( "--debug", fDebug, "Let the library's debug messages through to standard error" );
    aProgram.footer( std::string( EXAMPLES ) + EXIT_CODE_HELP );
    aProgram.require_subcommand( 1 );
    aProgram.fallthrough();
    for ( AddFamily pAddFamily : FAMILIES )
        pAddFamily( aProgram, aExitCode );
    try
    {
        aProgram.parse( argc, argv );
    }
    catch ( const CLI::ParseError& aError )
    {
        const bool fAnswered = aError.get_exit_code() == static_cast<int>( CLI::ExitCodes::Success );
        aProgram.exit( aError, std::cout, std::cerr );
        std::cout.flush();
        aExitCode = fAnswered ? ExitCode::Ok : ExitCode::Usage;
    }
    FinishOutput();
    return static_cast<int>( aExitCode );
}

} // namespace

int main( int argc, char* argv[] )
{
    try
    {
        QuietLibrary( argc, argv );
        UseByteStreams();
        return ParseAndRun( argc, argv );
    }
    catch ( const ToolFailure& aFailure )
    {
        SayError( aFailure.what() );
        return static_cast<int>( aFailure.GetCode() );
    }
    catch ( const std::bad_alloc& )
    {
        SayError( "not enough memory for this input; split it, or free memory" );
    }
    catch ( const std::exception& aError )
    {
        SayError( aError.what() );
    }
    return static_cast<int>( ExitCode::Internal );
}
