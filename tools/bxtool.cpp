// bxtool, the library's tool for the people who run the system: the frame around the families of commands.

#include "tools/families.h"
#include "tools/systemtext.h"
#include "tools/talk.h"
#include "tools/terminal.h"

#include <new>

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

int ParseAndRun( int argc, char* argv[] )
{
    ExitCode aExitCode = ExitCode::Ok;
    const CommandLine aCommandLine( "bxtool", "Looks into what the programs of the system leave behind.",
                                    "bxtool " BXTOOLS_VERSION );
    const Command aProgram = aCommandLine.GetProgram();
    aProgram.SetFooter( std::string( EXAMPLES ) + EXIT_CODE_HELP );
    aProgram.RequireSubcommand();
    for ( AddFamily pAddFamily : FAMILIES )
        pAddFamily( aProgram, aExitCode );
    WriteOutput( aCommandLine.Run( argc, argv ) );
    FinishOutput();
    return static_cast<int>( aExitCode );
}

} // namespace

int main( int argc, char* argv[] )
{
    try
    {
        UseByteStreams();
        CheckCommandLine();
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
