#include "tools/byteinput.h"
#include "tools/errors/bytes.h"
#include "tools/errors/commands.h"
#include "tools/errors/decodedrecord.h"
#include "tools/errors/recordwalk.h"
#include "tools/errors/streaminput.h"
#include "tools/talk.h"

#include <bxtools/error.h>

#include <memory>

namespace
{

constexpr char COUNT_EXAMPLES[] = "Counts all records, without looking whether they can be read.\n\n"
                                  "Examples:\n"
                                  "  bxtool errors count failed.stream\n"
                                  "  bxtool errors count --json <failed.stream\n";
constexpr char REVERSE_EXAMPLES[] = "The records' bytes stay as they are, those of broken ones, too.\n\n"
                                    "Examples:\n"
                                    "  bxtool errors reverse failed.stream >latest-first.stream\n"
                                    "  bxtool errors reverse failed.stream | bxtool errors show\n";
constexpr char APPEND_EXAMPLES[] =
    "The result holds all records of STREAM and then all of FURTHER, byte for byte. (The\n"
    "library's own Append2Stream takes one record at a time: given a whole stream, it keeps\n"
    "that one only.) A broken record is carried on, named on standard error, and makes the\n"
    "exit code 4.\n\n"
    "Examples:\n"
    "  bxtool errors append monday.stream tuesday.stream >both.stream\n"
    "  some-program | bxtool errors append all.stream - >more.stream\n";

ExitCode Count( const StreamSource& rSource, bool fJson )
{
    ULONG ulCount = 0;
    GetAvailableErrorCountFromStream( ulCount, ReadErrorStream( rSource ) );
    const std::string aCount = std::to_string( ulCount );
    WriteOutput( fJson ? "{\"count\":" + aCount + "}\n" : aCount + "\n" );
    return ExitCode::Ok;
}

ExitCode Reverse( const StreamSource& rSource )
{
    MString aStream = ReadErrorStream( rSource );
    if ( !ReverseStream( aStream ) )
        throw ToolFailure(
            ExitCode::Internal,
            GetInputTitle( rSource.aName ) +
                " could not be reversed; is there enough memory? \"bxtool debug last\" may tell more" );
    WriteOutput( ViewOf( aStream ) );
    return ExitCode::Ok;
}

ExitCode Append( const StreamSource& rTarget, const StreamSource& rFurther )
{
    if ( rTarget.aName == "-" && rFurther.aName == "-" )
        throw ToolFailure( ExitCode::Usage,
                           "standard input can be only one of the two streams; name a file for the other" );
    MString aStream = ReadErrorStream( rTarget );
    const MString aFurther = ReadErrorStream( rFurther );
    BrokenRecords aBroken( rFurther );
    RecordDecoder aDecoder;
    DecodedRecord aRecord;
    std::string aReason;
    RecordWalk aWalk( ViewOf( aFurther ) );
    for ( std::string_view aText; aWalk.Next( aText ); )
    {
        if ( !aDecoder.Decode( aText, aRecord, aReason ) )
        {
            aBroken.Name( aWalk.GetIndex(), aReason );
        }
        const size_t nExpected =
            aStream.GetLength() + sizeof( ERRSTREAM_RECORD_SEPARATOR ) - 1 + aText.size();
        Append2Stream( aStream, ToMString( aText ) );
        // The string keeps what it had when there is no memory for more.
        if ( aStream.GetLength() != nExpected )
            throw std::bad_alloc();
    }
    WriteOutput( ViewOf( aStream ) );
    return aBroken.Finish();
}

} // namespace

void AddCountCommand( Command aFamily, ExitCode& rExitCode )
{
    const Command aCommand = aFamily.AddSubcommand( "count", "Print the number of records" );
    aCommand.SetFooter( COUNT_EXAMPLES );
    auto pSource = std::make_shared<StreamSource>();
    AddStreamSource( aCommand, *pSource );
    auto pJson = std::make_shared<bool>( false );
    aCommand.AddFlag( "--json", *pJson, "Print JSON instead" );
    aCommand.SetAction( [pSource, pJson, &rExitCode] { rExitCode = Count( *pSource, *pJson ); } );
}

void AddReverseCommand( Command aFamily, ExitCode& rExitCode )
{
    const Command aCommand =
        aFamily.AddSubcommand( "reverse", "Write the stream with its last record first" );
    aCommand.SetFooter( REVERSE_EXAMPLES );
    auto pSource = std::make_shared<StreamSource>();
    AddStreamSource( aCommand, *pSource );
    aCommand.SetAction( [pSource, &rExitCode] { rExitCode = Reverse( *pSource ); } );
}

void AddAppendCommand( Command aFamily, ExitCode& rExitCode )
{
    const Command aCommand =
        aFamily.AddSubcommand( "append", "Write the records of two streams as one stream" );
    aCommand.SetFooter( APPEND_EXAMPLES );
    auto pTarget = std::make_shared<StreamSource>();
    auto pFurther = std::make_shared<StreamSource>();
    aCommand.AddWord( "STREAM", pTarget->aName, "The stream whose records come first; - is standard input" );
    aCommand.AddWord( "FURTHER", pFurther->aName, "The stream whose records come behind them" );
    AddKeepLineEnd( aCommand, *pTarget );
    aCommand.SetAction(
        [pTarget, pFurther, &rExitCode]
        {
            pFurther->fKeepLineEnd = pTarget->fKeepLineEnd;
            rExitCode = Append( *pTarget, *pFurther );
        } );
}
