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

ExitCode ShowTexts( const ShowOptions& rOptions, const MString& aStream )
{
    ExitCode aExitCode = ExitCode::Ok;
    RecordTable aTable;
    DecodeAll(
        aStream, [&]( size_t nIndex, const DecodedRecord& rRecord ) { aTable.Measure( nIndex, rRecord ); },
        [&]( size_t nIndex, const std::string& aReason )
        {
            SayBroken( rOptions.aSource, nIndex, aReason );
            aExitCode = ExitCode::Broken;
        } );

    const size_t nColumns = GetTerminalColumns( stdout );
    const bool fFits = nColumns == 0 || aTable.GetWidth() <= nColumns;
    const bool fBlocks = rOptions.aLayout == "auto" ? !fFits : rOptions.aLayout == "blocks";
    if ( !fBlocks )
        aTable.PrintHeading();
    DecodeAll(
        aStream,
        [&]( size_t nIndex, const DecodedRecord& rRecord )
        {
            if ( fBlocks )
                PrintRecordBlock( nIndex, rRecord, nColumns );
            else
                aTable.Print( nIndex, rRecord );
        },
        []( size_t, const std::string& ) {} );
    return aExitCode;
}

// Written record by record, so that a large stream is never in memory as a document.
ExitCode ShowJson( const ShowOptions& rOptions, const MString& aStream )
{
    std::string aBroken;
    const char* pBetween = "\n";
    WriteOutput( "{\"records\":[" );
    DecodeAll(
        aStream,
        [&]( size_t nIndex, const DecodedRecord& rRecord )
        {
            WriteOutput( pBetween + ToJson( nIndex, rRecord ) );
            pBetween = ",\n";
        },
        [&]( size_t nIndex, const std::string& aReason )
        {
            SayBroken( rOptions.aSource, nIndex, aReason );
            aBroken += ( aBroken.empty() ? "\n" : ",\n" ) + BrokenToJson( nIndex, aReason );
        } );
    WriteOutput( "\n],\"broken\":[" + aBroken + ( aBroken.empty() ? "]}\n" : "\n]}\n" ) );
    return aBroken.empty() ? ExitCode::Ok : ExitCode::Broken;
}

} // namespace

void AddShowCommand( CLI::App& rFamily, ExitCode& rExitCode )
{
    CLI::App* pCommand = rFamily.add_subcommand( "show", "Print the records of an error stream" );
    pCommand->footer( EXAMPLES );
    auto pOptions = std::make_shared<ShowOptions>();
    AddStreamSource( *pCommand, pOptions->aSource );
    CLI::Option* pLayout =
        pCommand->add_option( "--layout", pOptions->aLayout, "auto (as said below), table or blocks" );
    pLayout->check( CLI::IsMember( { "auto", "table", "blocks" } ) );
    pCommand->add_flag( "--json", pOptions->fJson, "Print JSON instead" )->excludes( pLayout );
    pCommand->callback(
        [pOptions, &rExitCode]
        {
            const MString aStream = ReadErrorStream( pOptions->aSource );
            rExitCode = pOptions->fJson ? ShowJson( *pOptions, aStream ) : ShowTexts( *pOptions, aStream );
        } );
}
