// bxtool errors explain: what the errors of a stream say to the users of the programs.
#include "tools/errors/bytes.h"
#include "tools/errors/commands.h"
#include "tools/errors/decodedrecord.h"
#include "tools/errors/displaytext.h"
#include "tools/errors/recordwalk.h"
#include "tools/errors/streaminput.h"
#include "tools/jsonline.h"
#include "tools/talk.h"
#include "tools/terminal.h"
#include "tools/textsource.h"

#include <bxtools/errclient.h>
#include <bxtools/platform.h>

#include <memory>

namespace
{

constexpr char EXAMPLES[] =
    "Prints each record as programs show it to their users: the message in their language, with class,\n"
    "number and source of the error. A message that is nowhere in the texts is the origin text.\n"
    "TEXTS are the library's own unless others are named; the system's errors are in the system's words.\n"
    "A record that cannot be read or translated is named on standard error, and the exit code is 4.\n\n"
    "Examples:\n"
    "  bxtool errors explain failed.stream\n"
    "  bxtool errors explain failed.stream --texts product.nls --language 49,44\n"
    "  bxtool errors explain failed.stream --language 44 --json | jq '.records[].texts[].message'\n";

struct ExplainOptions
{
    StreamSource aSource;
    std::string aTexts;
    std::vector<int> aLanguages;
    bool fJson = false;
};

// What a record says in one language.
struct Explained
{
    std::string aMessage;
    std::string aDetails;
    std::string aHelpFile;
    HELP_ID usHelpTopic = 0;
    std::string aReason; // why there is no message; empty otherwise
};

// A row for each language, with all records of the stream.
using Explanations = std::vector<std::vector<Explained>>;

std::string WithoutFrame( const MString& aText )
{
    std::string aPlain( ViewOf( aText ) );
    std::erase( aPlain, '\r' );
    const size_t nFirst = aPlain.find_first_not_of( '\n' );
    if ( nFirst == std::string::npos )
        return std::string();
    return aPlain.substr( nFirst, aPlain.find_last_not_of( '\n' ) - nFirst + 1 );
}

Explained Explain( std::string_view aRecord, ErrObjectClient& rClient )
{
    Explained aExplained;
    MString aMessage;
    MString aDetails;
    MString aHelpFile;
    // A system error of 0 would give the text of this program's own last error.
    SetLastError( 0 );
    if ( rClient.FromStream( ToMString( aRecord ) ) && rClient.GetTranslatedErrText( aMessage ) &&
         rClient.GetDetailsErrText( aDetails ) && rClient.GetHelpData( aHelpFile, aExplained.usHelpTopic ) )
    {
        aExplained.aMessage = WithoutFrame( aMessage );
        aExplained.aDetails = WithoutFrame( aDetails );
        aExplained.aHelpFile = ViewOf( aHelpFile );
        return aExplained;
    }
    MString aDump;
    rClient.GetDumpStr( aDump );
    DecodedRecord aUnused;
    if ( RecordDecoder().Decode( aRecord, aUnused, aExplained.aReason ) )
        aExplained.aReason = "it cannot be translated: " + MakeVisible( ViewOf( aDump ) );
    return aExplained;
}

// A thread reads one language at a time, and a record keeps the language that it was made in.
Explanations ExplainAll( const ExplainOptions& rOptions, const std::string& aTexts, const MString& aStream )
{
    Explanations aExplanations;
    for ( int nLanguage : rOptions.aLanguages )
    {
        UseTexts( aTexts, nLanguage );
        ErrObjectClient aClient;
        RecordWalk aWalk( ViewOf( aStream ) );
        std::vector<Explained>& rRow = aExplanations.emplace_back();
        for ( std::string_view aRecord; aWalk.Next( aRecord ); )
            rRow.push_back( Explain( aRecord, aClient ) );
    }
    return aExplanations;
}

std::string LanguageName( int nLanguage )
{
    return nLanguage == 0 ? "the system's language" : "language " + std::to_string( nLanguage );
}

void PrintLines( const std::string& aText, size_t nColumns )
{
    size_t nStart = 0;
    while ( nStart < aText.size() )
    {
        const size_t nEnd = std::min( aText.find( '\n', nStart ), aText.size() );
        const std::string aLine = MakeVisible( std::string_view( aText ).substr( nStart, nEnd - nStart ) );
        WriteOutput( aLine.empty() ? "\n" : Wrap( "    ", aLine, nColumns ) );
        nStart = nEnd + 1;
    }
}

void PrintExplained( const Explained& rExplained, size_t nColumns )
{
    PrintLines( rExplained.aMessage, nColumns );
    if ( !rExplained.aDetails.empty() )
        WriteOutput( "\n" );
    PrintLines( rExplained.aDetails, nColumns );
    if ( !rExplained.aHelpFile.empty() )
        WriteOutput( "\n    " + MakeVisible( rExplained.aHelpFile ) + ", topic " +
                     std::to_string( rExplained.usHelpTopic ) + "\n" );
}

void PrintTexts( const ExplainOptions& rOptions, const Explanations& rExplanations )
{
    const size_t nColumns = GetTerminalColumns( stdout );
    for ( size_t nRecord = 0; nRecord < rExplanations[0].size(); nRecord++ )
        for ( size_t i = 0; i < rExplanations.size(); i++ )
        {
            const Explained& rExplained = rExplanations[i][nRecord];
            if ( !rExplained.aReason.empty() )
                continue;
            WriteHeading( "record " + std::to_string( nRecord ) + ", " +
                          LanguageName( rOptions.aLanguages[i] ) );
            WriteOutput( "\n" );
            PrintExplained( rExplained, nColumns );
            WriteOutput( "\n" );
        }
}

Json ToJson( int nLanguage, const Explained& rExplained )
{
    Json aJson = { { "language", nLanguage },
                   { "message", rExplained.aMessage },
                   { "details", rExplained.aDetails },
                   { "helpFile", rExplained.aHelpFile },
                   { "helpTopic", rExplained.usHelpTopic } };
    if ( !rExplained.aReason.empty() )
        aJson.Set( "reason", rExplained.aReason );
    return aJson;
}

void PrintJson( const ExplainOptions& rOptions, const Explanations& rExplanations )
{
    Json aRecords = Json::Array();
    for ( size_t nRecord = 0; nRecord < rExplanations[0].size(); nRecord++ )
    {
        Json aTexts = Json::Array();
        for ( size_t i = 0; i < rExplanations.size(); i++ )
            aTexts.Add( ToJson( rOptions.aLanguages[i], rExplanations[i][nRecord] ) );
        aRecords.Add( { { "index", nRecord }, { "texts", aTexts } } );
    }
    WriteOutput( JsonLines( { { "records", aRecords } } ) );
}

ExitCode Explain( ExplainOptions& rOptions )
{
    if ( rOptions.aLanguages.empty() )
        rOptions.aLanguages = { 0 };
    const std::string aTexts = rOptions.aTexts.empty() ? FindOwnTexts().value_or( "" ) : rOptions.aTexts;
    if ( aTexts.empty() )
        throw ToolFailure( ExitCode::Input, "the library's language files are not where this program was "
                                            "installed; --texts names others" );
    const MString aStream = ReadErrorStream( rOptions.aSource );
    const Explanations aExplanations = ExplainAll( rOptions, aTexts, aStream );
    BrokenRecords aBroken( rOptions.aSource );
    for ( size_t nRecord = 0; nRecord < aExplanations[0].size(); nRecord++ )
        for ( const std::vector<Explained>& rRow : aExplanations )
            if ( !rRow[nRecord].aReason.empty() )
            {
                aBroken.Name( nRecord, rRow[nRecord].aReason );
                break;
            }
    if ( rOptions.fJson )
        PrintJson( rOptions, aExplanations );
    else
        PrintTexts( rOptions, aExplanations );
    return aBroken.Finish();
}

} // namespace

void AddExplainCommand( Command aFamily, ExitCode& rExitCode )
{
    const Command aCommand = aFamily.AddSubcommand( "explain", "Print what the errors say to users" );
    aCommand.SetFooter( EXAMPLES );
    auto pOptions = std::make_shared<ExplainOptions>();
    AddStreamSource( aCommand, pOptions->aSource );
    aCommand
        .AddOption( "--language", pOptions->aLanguages,
                    "The language's number, or several with commas; nothing: the system's" )
        .DividedBy( ',' )
        .InRange( FIRST_LANGUAGE, LAST_LANGUAGE );
    aCommand.AddOption( "--texts", pOptions->aTexts, "A release file, or a folder of language files" )
        .TypeName( "TEXTS" );
    aCommand.AddFlag( "--json", pOptions->fJson, "Print JSON instead" );
    aCommand.SetAction( [pOptions, &rExitCode] { rExitCode = Explain( *pOptions ); } );
}
