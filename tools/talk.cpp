#include "tools/talk.h"

#include "tools/errors/displaytext.h"
#include "tools/terminal.h"
#include "tools/toolfailure.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace
{

constexpr char BOLD[] = "\x1b[1m";
constexpr char RED[] = "\x1b[31m";
constexpr char PLAIN[] = "\x1b[0m";

bool IsColoured( FILE* pStream )
{
    const char* pRefused = getenv( "NO_COLOR" );
    return ( pRefused == NULL || *pRefused == 0 ) && CanShowColour( pStream );
}

[[noreturn]] void ThrowOutputFailure()
{
    throw ToolFailure( ExitCode::Output,
                       "cannot write to standard output: " + GetStreamFailure() +
                           "; is there room where it goes, and does its reader still run?" );
}

void Say( std::string_view aPrefix, std::string_view aText )
{
    const std::string aLine = std::string( aPrefix ).append( MakeVisible( aText ) ).append( "\n" );
    fwrite( aLine.data(), 1, aLine.size(), stderr );
    fflush( stderr );
}

} // namespace

void WriteOutput( std::string_view aBytes )
{
    if ( fwrite( aBytes.data(), 1, aBytes.size(), stdout ) != aBytes.size() )
        ThrowOutputFailure();
}

void WriteText( std::string_view aText )
{
    WriteOutput( IsTerminal( stdout ) ? MakeVisible( aText ) : std::string( aText ) );
}

void FinishOutput()
{
    if ( fflush( stdout ) != 0 )
        ThrowOutputFailure();
}

void WriteHeading( std::string_view aText )
{
    static const bool fColoured = IsColoured( stdout );
    if ( fColoured )
        WriteOutput( BOLD );
    WriteOutput( aText );
    if ( fColoured )
        WriteOutput( PLAIN );
}

void SayNote( std::string_view aText )
{
    Say( "bxtool: ", aText );
}

void SayError( std::string_view aText )
{
    static const bool fColoured = IsColoured( stderr );
    Say( fColoured ? std::string( RED ) + "bxtool: " + PLAIN : "bxtool: ", aText );
}
