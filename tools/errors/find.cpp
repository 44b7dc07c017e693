#include "tools/errors/bytes.h"
#include "tools/errors/commands.h"
#include "tools/errors/decodedrecord.h"
#include "tools/errors/numbers.h"
#include "tools/errors/recordwalk.h"
#include "tools/errors/streaminput.h"
#include "tools/talk.h"

#include <memory>
#include <optional>

namespace
{

constexpr char EXAMPLES[] =
    "Prints the index of every record that fits all that is given, one a line; indexes count\n"
    "from 0. Exit code 1: no record fits. Broken records fit nothing; they are named on\n"
    "standard error and do not change the exit code.\n\n"
    "Examples:\n"
    "  bxtool errors find failed.stream --class BXTOOLS.ERRCLS_SYS_LASTERROR --system-error 2\n"
    "  bxtool errors find failed.stream --first --number 0x80070005\n"
    "  bxtool errors find failed.stream --same-as one.stream\n";

// What is looked for; what was not given fits every record.
struct FindOptions
{
    StreamSource aSource;
    std::optional<std::string> aSameAs;
    std::optional<std::string> aErrorClass;
    std::optional<std::string> aNumber;
    std::optional<std::string> aSystemError;
    bool fFirst = false;
    bool fJson = false;
};

// The text of the one record that --same-as names, if it is given.
std::optional<MString> ReadWantedText( const FindOptions& rOptions )
{
    if ( !rOptions.aSameAs )
        return std::nullopt;
    const MString aStream = ReadErrorStream( { *rOptions.aSameAs } );
    RecordWalk aWalk( ViewOf( aStream ) );
    std::string_view aText;
    std::string_view aFurther;
    aWalk.Next( aText );
    if ( aWalk.Next( aFurther ) )
        throw ToolFailure( ExitCode::Usage,
                           "--same-as " + *rOptions.aSameAs +
                               " holds several records; give it exactly the one to look for" );
    return ToMString( aText );
}

bool Fits( const FindOptions& rOptions, const DecodedRecord& rRecord )
{
    return ( !rOptions.aErrorClass || *rOptions.aErrorClass == rRecord.aErrorClass ) &&
           ( !rOptions.aNumber || ParseErrorNumber( *rOptions.aNumber ) == rRecord.lNumber ) &&
           ( !rOptions.aSystemError || ParseSystemError( *rOptions.aSystemError ) == rRecord.dwSystemError );
}

std::vector<size_t> FindAll( const FindOptions& rOptions )
{
    const std::optional<MString> aWanted = ReadWantedText( rOptions );
    const MString aStream = ReadErrorStream( rOptions.aSource );
    std::vector<size_t> aFound;
    RecordWalk aWalk( ViewOf( aStream ) );
    BrokenRecords aBroken( rOptions.aSource );
    RecordDecoder aDecoder;
    DecodedRecord aRecord;
    std::string aReason;
    for ( std::string_view aText; aWalk.Next( aText ) && !( rOptions.fFirst && !aFound.empty() ); )
        if ( !aDecoder.Decode( aText, aRecord, aReason ) )
            aBroken.Name( aWalk.GetIndex(), aReason );
        else if ( ( !aWanted || ViewOf( *aWanted ) == aText ) && Fits( rOptions, aRecord ) )
            aFound.push_back( aWalk.GetIndex() );
    aBroken.Finish();
    return aFound;
}

ExitCode Find( const FindOptions& rOptions )
{
    if ( !rOptions.aErrorClass && !rOptions.aNumber && !rOptions.aSystemError && !rOptions.aSameAs )
        throw ToolFailure( ExitCode::Usage,
                           "nothing to look for; give --class, --number, --system-error or --same-as" );
    const std::vector<size_t> aFound = FindAll( rOptions );
    std::string aOut;
    for ( size_t nIndex : aFound )
        aOut += ( rOptions.fJson && !aOut.empty() ? "," : "" ) + std::to_string( nIndex ) +
                ( rOptions.fJson ? "" : "\n" );
    WriteOutput( rOptions.fJson ? "{\"found\":[" + aOut + "]}\n" : aOut );
    return aFound.empty() ? ExitCode::No : ExitCode::Ok;
}

} // namespace

void AddFindCommand( Command aFamily, ExitCode& rExitCode )
{
    const Command aCommand = aFamily.AddSubcommand( "find", "Print the indexes of the records that fit" );
    aCommand.SetFooter( EXAMPLES );
    auto pOptions = std::make_shared<FindOptions>();
    AddStreamSource( aCommand, pOptions->aSource );
    aCommand.AddOption( "--class", pOptions->aErrorClass, "Error class, exactly as written" );
    aCommand.AddOption( "--number", pOptions->aNumber, "Error number, decimal or 0x..." )
        .TypeName( "NUMBER" )
        .CheckedBy( CheckErrorNumber );
    aCommand.AddOption( "--system-error", pOptions->aSystemError, "The system's last error" )
        .TypeName( "NUMBER" )
        .CheckedBy( CheckSystemError );
    aCommand
        .AddOption( "--same-as", pOptions->aSameAs,
                    "A file with one record; finds those whose bytes are the same" )
        .TypeName( "FILE" );
    aCommand.AddFlag( "--first", pOptions->fFirst, "Stop at the first record that fits" );
    aCommand.AddFlag( "--json", pOptions->fJson, "Print JSON instead" );
    aCommand.SetAction( [pOptions, &rExitCode] { rExitCode = Find( *pOptions ); } );
}
