#include "tools/errors/bytes.h"
#include "tools/errors/commands.h"
#include "tools/errors/recordjson.h"
#include "tools/errors/recordlayout.h"
#include "tools/errors/recordwalk.h"
#include "tools/errors/streaminput.h"
#include "tools/talk.h"
#include "tools/terminal.h"

#include <memory>

namespace
{

constexpr char EXAMPLES[] =
    "Prints one line for each record where that fits the terminal or the output is no terminal,\n"
    "and a block of lines for each otherwise. Bytes that are not UTF-8 are shown as U+FFFD.\n"
    "A record that cannot be read is named on standard error, and the exit code is 4.\n\n"
    "Examples:\n"
    "  bxtool errors show failed.stream\n"
    "  some-program | bxtool errors show --layout blocks\n"
    "  bxtool errors show --json failed.stream | jq '.records[].systemText'\n";

struct ShowOptions
{
    StreamSource aSource;
    std::string aLayout = "auto";
    bool fJson = false;
};

// Hands every good record to rVisit( index, record ) and every broken one to rBroken( index, reason ).
template <class Visit, class Broken>
void DecodeAll( const MString& aStream, Visit&& rVisit, Broken&& rBroken )
{
    RecordWalk aWalk( ViewOf( aStream ) );
    RecordDecoder aDecoder;
    DecodedRecord aRecord;
    std::string aReason;
    for ( std::string_view aText; aWalk.Next( aText ); )
        if ( aDecoder.Decode( aText, aRecord, aReason ) )
            rVisit( aWalk.GetIndex(), aRecord );
        else
            rBroken( aWalk.GetIndex(), aReason );
}

void IgnoreRecord( size_t, const DecodedRecord& ) {}
void IgnoreBroken( size_t, const std::string& ) {}

ExitCode ShowTexts( const ShowOptions& rOptions, const MString& aStream )
{
    BrokenRecords aBroken( rOptions.aSource );
    RecordTable aTable;
    DecodeAll(
        aStream, [&]( size_t nIndex, const DecodedRecord& rRecord ) { aTable.Measure( nIndex, rRecord ); },
        [&]( size_t nIndex, const std::string& aReason ) { aBroken.Name( nIndex, aReason ); } );

    const size_t nColumns = GetTerminalColumns( stdout );
    const bool fFits = nColumns == 0 || aTable.GetWidth() <= nColumns;
    const bool fBlocks = rOptions.aLayout == "auto" ? !fFits : rOptions.aLayout == "blocks";
    if ( !fBlocks )
        aTable.PrintHeading();
    const auto PrintRecord = [&]( size_t nIndex, const DecodedRecord& rRecord )
    {
        if ( fBlocks )
            PrintRecordBlock( nIndex, rRecord, nColumns );
        else
            aTable.Print( nIndex, rRecord );
    };
    DecodeAll( aStream, PrintRecord, IgnoreBroken );
    return aBroken.Finish();
}

// Writes the items of a JSON array, a line each, as they come: a large stream is never in memory as a document.
class JsonLines
{
public:
    void Add( const std::string& aItem )
    {
        WriteOutput( m_fFirst ? "\n" : ",\n" );
        WriteOutput( aItem );
        m_fFirst = false;
    }

private:
    bool m_fFirst = true;
};

ExitCode ShowJson( const ShowOptions& rOptions, const MString& aStream )
{
    BrokenRecords aBroken( rOptions.aSource );
    JsonLines aGoodLines;
    WriteOutput( "{\"records\":[" );
    DecodeAll(
        aStream,
        [&]( size_t nIndex, const DecodedRecord& rRecord ) { aGoodLines.Add( ToJson( nIndex, rRecord ) ); },
        [&]( size_t nIndex, const std::string& aReason ) { aBroken.Name( nIndex, aReason ); } );
    JsonLines aBrokenLines;
    WriteOutput( "\n],\"broken\":[" );
    DecodeAll( aStream, IgnoreRecord,
               [&]( size_t nIndex, const std::string& aReason )
               { aBrokenLines.Add( BrokenToJson( nIndex, aReason ) ); } );
    WriteOutput( "\n]}\n" );
    return aBroken.Finish();
}

} // namespace

void AddShowCommand( Command aFamily, ExitCode& rExitCode )
{
    const Command aCommand = aFamily.AddSubcommand( "show", "Print the records of an error stream" );
    aCommand.SetFooter( EXAMPLES );
    auto pOptions = std::make_shared<ShowOptions>();
    AddStreamSource( aCommand, pOptions->aSource );
    const Option aLayout =
        aCommand.AddOption( "--layout", pOptions->aLayout, "auto (as said below), table or blocks" )
            .OneOf( { "auto", "table", "blocks" } );
    aCommand.AddFlag( "--json", pOptions->fJson, "Print JSON instead" ).Excludes( aLayout );
    aCommand.SetAction(
        [pOptions, &rExitCode]
        {
            const MString aStream = ReadErrorStream( pOptions->aSource );
            rExitCode = pOptions->fJson ? ShowJson( *pOptions, aStream ) : ShowTexts( *pOptions, aStream );
        } );
}
