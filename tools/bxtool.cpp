// bxtool, the library's tool for the people who run the system: the frame around the families of commands.

#include "tools/families.h"
#include "tools/talk.h"
#include "tools/terminal.h"

#include <new>
#include <sstream>

namespace
{

constexpr AddFamily FAMILIES[] = {
    AddErrorsFamily, AddRegFamily, AddIniFamily,       AddNlsFamily,    AddDebugFamily,
    AddFileFamily,   AddIpcFamily, AddProcessCommands, AddSyncCommands,
};

constexpr char EXAMPLES[] = "Examples:\n"
                            "  bxtool errors show failed.stream\n"
                            "  bxtool reg list HKLM/Software --values\n"
                            "  bxtool debug watch\n"
                            "  bxtool errors --help\n\n";

// What was wrong with the command line. A word that nothing takes explains more than the lack of what was wanted.
std::string DescribeUsage( const CLI::App& rProgram, const CLI::ParseError& rError )
{
    const std::vector<std::string> aUnknown = rProgram.remaining( true );
    return aUnknown.empty() ? rError.what() : "\"" + aUnknown.front() + "\" is not known here";
}

int ParseAndRun( int argc, char* argv[] )
{
    ExitCode aExitCode = ExitCode::Ok;
    CLI::App aProgram( "Looks into what the programs of the system leave behind.", "bxtool" );
    aProgram.set_version_flag( "--version", "bxtool " BXTOOLS_VERSION );
    aProgram.footer( std::string( EXAMPLES ) + EXIT_CODE_HELP );
    aProgram.require_subcommand( 1 );
    // A path may begin with a slash on Windows, too.
    aProgram.allow_windows_style_options( false );
    aProgram.fallthrough();
    for ( AddFamily pAddFamily : FAMILIES )
        pAddFamily( aProgram, aExitCode );
    try
    {
        aProgram.parse( argc, argv );
    }
    catch ( const CLI::Success& aAnswer )
    {
        // --help or --version
        std::ostringstream aText;
        aProgram.exit( aAnswer, aText );
        WriteOutput( aText.str() );
    }
    catch ( const CLI::ParseError& aError )
    {
        SayError( DescribeUsage( aProgram, aError ) + "; --help tells what is" );
        aExitCode = ExitCode::Usage;
    }
    FinishOutput();
    return static_cast<int>( aExitCode );
}

} // namespace

int main( int argc, char* argv[] )
{
    try
    {
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
