// bxtool nls get and dump.
#include "tools/errors/bytes.h"
#include "tools/errors/displaytext.h"
#include "tools/jsonline.h"
#include "tools/nls/commands.h"
#include "tools/nls/releasefile.h"
#include "tools/talk.h"
#include "tools/textsource.h"

#include <bxtools/nls.h>

#include <memory>

namespace
{

constexpr char GET_EXAMPLES[] =
    "Prints the text as programs get it. Exit code 1: there is none; programs show the key then.\n\n"
    "Examples:\n"
    "  bxtool nls get product.nls EDITOR.MAINWINDOW Title\n"
    "  bxtool nls get texts BXTOOLS.ERRCLS_SYS_ERRNO 2 --language 44\n";
constexpr char DUMP_EXAMPLES[] =
    "Prints the keys with their texts, in the order of the keys: language, section and key with nothing\n"
    "between them. Exit code 1: there is none.\n\n"
    "Examples:\n"
    "  bxtool nls dump product.nls\n"
    "  bxtool nls dump product.nls --language 49 --json\n";

struct ReadOptions
{
    std::string aTexts;
    std::string aSection;
    std::string aKey;
    int nLanguage = 0;
    bool fJson = false;
};

ExitCode Get( const ReadOptions& rOptions )
{
    UseTexts( rOptions.aTexts, rOptions.nLanguage );
    BOOL fFound = FALSE;
    const MString aText =
        LoadNlsStringEx( ToMString( rOptions.aSection ), MString(), ToMString( rOptions.aKey ), &fFound );
    if ( !fFound )
        throw ToolFailure( ExitCode::No, rOptions.aTexts + " has no text for key \"" +
                                             MakeVisible( rOptions.aKey ) + "\" of " +
                                             MakeVisible( rOptions.aSection ) );
    const std::string aFound( ViewOf( aText ) );
    if ( rOptions.fJson )
        WriteOutput(
            JsonLine( { { "section", rOptions.aSection }, { "key", rOptions.aKey }, { "text", aFound } } ) );
    else
    {
        WriteText( aFound );
        WriteOutput( "\n" );
    }
    return ExitCode::Ok;
}

ExitCode Dump( const ReadOptions& rOptions )
{
    const std::string aCode = rOptions.nLanguage == 0 ? "" : CodeText( rOptions.nLanguage );
    Json aJson = Json::Array();
    size_t nPairs = 0;
    for ( const ReleasePair& rPair : ReadReleaseFile( rOptions.aTexts ) )
    {
        if ( !rPair.aKey.starts_with( aCode ) )
            continue;
        nPairs++;
        if ( rOptions.fJson )
            aJson.Add( { { "key", rPair.aKey }, { "text", rPair.aValue } } );
        else
            WriteOutput( MakeVisible( rPair.aKey + " = " + rPair.aValue ) + "\n" );
    }
    if ( rOptions.fJson )
        WriteOutput( JsonLines( aJson ) );
    return nPairs == 0 ? ExitCode::No : ExitCode::Ok;
}

void AddLanguage( Command aCommand, ReadOptions& rOptions, const char* pHelp )
{
    aCommand.AddOption( "--language", rOptions.nLanguage, pHelp ).InRange( FIRST_LANGUAGE, LAST_LANGUAGE );
}

} // namespace

void AddNlsGetCommand( Command aFamily, ExitCode& rExitCode )
{
    const Command aCommand = aFamily.AddSubcommand( "get", "Print the text of a key" );
    aCommand.SetFooter( GET_EXAMPLES );
    auto pOptions = std::make_shared<ReadOptions>();
    aCommand.AddWord( "TEXTS", pOptions->aTexts, "The release file, or the folder of language files" );
    aCommand.AddWord( "SECTION", pOptions->aSection, "FILE.GROUP, such as an error class" );
    aCommand.AddWord( "KEY", pOptions->aKey, "The key, such as an error number" );
    AddLanguage( aCommand, *pOptions, "The language's number; nothing: the system's" );
    aCommand.AddFlag( "--json", pOptions->fJson, "Print JSON instead" );
    aCommand.SetAction( [pOptions, &rExitCode] { rExitCode = Get( *pOptions ); } );
}

void AddNlsDumpCommand( Command aFamily, ExitCode& rExitCode )
{
    const Command aCommand = aFamily.AddSubcommand( "dump", "Print all texts of a release file" );
    aCommand.SetFooter( DUMP_EXAMPLES );
    auto pOptions = std::make_shared<ReadOptions>();
    aCommand.AddWord( "FILE", pOptions->aTexts, "The release file" );
    AddLanguage( aCommand, *pOptions, "Only the texts of this language" );
    aCommand.AddFlag( "--json", pOptions->fJson, "Print a JSON array instead" );
    aCommand.SetAction( [pOptions, &rExitCode] { rExitCode = Dump( *pOptions ); } );
}
