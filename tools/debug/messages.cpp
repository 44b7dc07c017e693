#include "tools/debug/commands.h"
#include "tools/debug/messagesource.h"
#include "tools/errors/displaytext.h"
#include "tools/jsonline.h"
#include "tools/talk.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <deque>
#include <memory>

namespace
{

struct ShowOptions
{
    size_t nLast = 20;
    std::string aText;
    std::string aProcess;
    bool fJson = false;
};

bool Fits( const ShowOptions& rOptions, const SeenMessage& rMessage )
{
    return ( rOptions.aProcess.empty() || KeptPartOfName( rOptions.aProcess ) == rMessage.aProcess ||
             rOptions.aProcess == std::to_string( rMessage.dwProcess ) ) &&
           rMessage.aText.find( rOptions.aText ) != std::string::npos;
}

// Local time to the microsecond.
std::string DescribeTime( int64_t nMicroseconds )
{
    constexpr int64_t MICROSECONDS = 1000000;
    const time_t nTime = static_cast<time_t>( nMicroseconds / MICROSECONDS );
    char szTime[64] = "";
    if ( const tm* pTime = localtime( &nTime ) )
        strftime( szTime, sizeof( szTime ), "%Y-%m-%d %H:%M:%S", pTime );
    char szPart[16];
    snprintf( szPart, sizeof( szPart ), ".%06d", static_cast<int>( nMicroseconds % MICROSECONDS ) );
    return std::string( szTime ) + szPart;
}

std::string ToJson( const SeenMessage& rMessage )
{
    const Json aJson = { { "time", DescribeTime( rMessage.nMicroseconds ) },
                         { "process", rMessage.dwProcess },
                         { "thread", rMessage.dwThread },
                         { "name", rMessage.aProcess },
                         { "text", rMessage.aText },
                         { "lost", rMessage.nLost } };
    return JsonLine( aJson );
}

// The first line with its origin, further lines indented.
std::string ToLines( const SeenMessage& rMessage )
{
    std::string aLines = DescribeTime( rMessage.nMicroseconds ) + "  " + MakeVisible( rMessage.aProcess ) +
                         "[" + std::to_string( rMessage.dwProcess ) + "]  ";
    std::string_view aLeft( rMessage.aText );
    const char* pIndent = "";
    do
    {
        const size_t nEnd = std::min( aLeft.find( '\n' ), aLeft.size() );
        std::string_view aLine = aLeft.substr( 0, nEnd );
        if ( aLine.ends_with( '\r' ) )
            aLine.remove_suffix( 1 );
        aLines += pIndent + MakeVisible( aLine ) + "\n";
        aLeft.remove_prefix( std::min( nEnd + 1, aLeft.size() ) );
        pIndent = "    ";
    } while ( !aLeft.empty() );
    if ( rMessage.nLost != 0 )
        aLines += "    (" + std::to_string( rMessage.nLost ) + " bytes more were not kept)\n";
    return aLines;
}

void Print( const ShowOptions& rOptions, const SeenMessage& rMessage )
{
    WriteOutput( rOptions.fJson ? ToJson( rMessage ) : ToLines( rMessage ) );
}

void TellMissed( const ShowOptions& rOptions, MessageSource& rSource )
{
    const uint64_t nMissed = rSource.TakeMissed();
    if ( nMissed == 0 )
        return;
    const std::string aNumber = std::to_string( nMissed );
    WriteOutput( rOptions.fJson ? "{\"missed\":" + aNumber + "}\n"
                                : "-- missed: " + aNumber + " (long messages count several times)\n" );
}

ExitCode ShowLast( const ShowOptions& rOptions )
{
    MessageSource aSource( true );
    std::deque<SeenMessage> aLast;
    for ( SeenMessage aMessage; aSource.Next( aMessage ); )
    {
        if ( !Fits( rOptions, aMessage ) )
            continue;
        aLast.push_back( std::move( aMessage ) );
        if ( aLast.size() > rOptions.nLast )
            aLast.pop_front();
    }
    for ( const SeenMessage& rMessage : aLast )
        Print( rOptions, rMessage );
    TellMissed( rOptions, aSource );
    return aLast.empty() ? ExitCode::No : ExitCode::Ok;
}

// Ends with the process, by Ctrl-C; so everything is out of our hands before we sleep.
[[noreturn]] void Watch( const ShowOptions& rOptions )
{
    MessageSource aSource( false );
    SayNote( "watching; end with Ctrl-C" );
    for ( SeenMessage aMessage;; )
    {
        while ( aSource.Next( aMessage ) )
        {
            TellMissed( rOptions, aSource );
            if ( Fits( rOptions, aMessage ) )
                Print( rOptions, aMessage );
        }
        TellMissed( rOptions, aSource );
        FinishOutput();
        aSource.Wait();
    }
}

void AddFilters( Command aCommand, ShowOptions& rOptions )
{
    aCommand.AddOption( "--text", rOptions.aText, "Only messages that hold this text" );
    aCommand.AddOption( "--process", rOptions.aProcess,
                        "Only messages of this process: its id, or its name" );
    aCommand.AddFlag( "--json", rOptions.fJson, "Print one JSON object a line instead" );
}

} // namespace

void AddLastCommand( Command aFamily, ExitCode& rExitCode )
{
    const Command aCommand =
        aFamily.AddSubcommand( "last", "Print the last messages, also of processes that have ended" );
    aCommand.SetFooter( "The exit code is 1 when there is none.\n\n"
                        "Examples:\n  bxtool debug last 50\n  bxtool debug last --process bxtour\n" );
    auto pOptions = std::make_shared<ShowOptions>();
    aCommand.AddOption( "N", pOptions->nLast, "How many of those that fit, 20 if not given" );
    AddFilters( aCommand, *pOptions );
    aCommand.SetAction( [pOptions, &rExitCode] { rExitCode = ShowLast( *pOptions ); } );
}

void AddWatchCommand( Command aFamily, ExitCode& )
{
    const Command aCommand =
        aFamily.AddSubcommand( "watch", "Print messages as they are written, until Ctrl-C" );
    aCommand.SetFooter( "Examples:\n  bxtool debug watch\n  bxtool debug watch --text \"Error: \"\n" );
    auto pOptions = std::make_shared<ShowOptions>();
    AddFilters( aCommand, *pOptions );
    aCommand.SetAction( [pOptions] { Watch( *pOptions ); } );
}
