// bxtool reg export and import: .reg files.
#include "tools/byteinput.h"
#include "tools/outputfile.h"
#include "tools/reg/commands.h"
#include "tools/reg/regaccess.h"
#include "tools/reg/regapply.h"
#include "tools/reg/regtext.h"
#include "tools/reg/utf16.h"
#include "tools/talk.h"

#include <memory>

namespace
{

constexpr char EXPORT_EXAMPLES[] =
    "Writes a key and all below it as a .reg file of version 5.00, sorted by names, so that\n"
    "equal contents give equal files. FILE is replaced where it exists; - or nothing is\n"
    "standard output. Exit code 4: some keys cannot be read and stand there without their\n"
    "content, or with a part of it; they are named.\n\n"
    "Examples:\n"
    "  bxtool reg export HKLM/Software/Company settings.reg\n"
    "  bxtool reg export HKLM/Software/Company --utf16 for-windows.reg\n";
constexpr char IMPORT_EXAMPLES[] =
    "Reads a .reg file of version 5.00 or REGEDIT4, in UTF-8 or in UTF-16 with its mark. The\n"
    "whole file is read first: where a line is wrong, nothing is changed.\n\n"
    "Examples:\n"
    "  bxtool reg import settings.reg\n"
    "  bxtool reg export HKLM/Software/Company | sed s/old/new/ | bxtool reg import -\n";

struct TransferOptions
{
    std::string aKey;
    std::string aFile = "-";
    bool fUtf16 = false;
};

// As the editor of the other system writes its files.
std::string ForWindows( const std::string& aText )
{
    std::string aLines;
    for ( const char ch : aText )
        ( ch == '\n' ? aLines += '\r' : aLines ) += ch;
    return "\xFF\xFE" + ToUtf16( aLines );
}

ExitCode Export( const TransferOptions& rOptions )
{
    const KeyPath aPath = ParseKeyPath( rOptions.aKey );
    const RegTree aTree = ReadTree( aPath, TreeDepth::AllBelow );
    std::string aText = GetRegHeader();
    AppendRegTree( aText, aPath, aTree );
    if ( rOptions.fUtf16 )
        aText = ForWindows( aText );
    if ( rOptions.aFile == "-" )
        WriteOutput( aText );
    else
        WriteWholeFile( rOptions.aFile, aText );
    return NameUnread( aPath, aTree ) ? ExitCode::Broken : ExitCode::Ok;
}

ExitCode Import( const TransferOptions& rOptions )
{
    const std::string aTitle = GetInputTitle( rOptions.aFile );
    ApplySteps( ParseRegText( ReadInput( rOptions.aFile ), aTitle ), aTitle );
    return ExitCode::Ok;
}

} // namespace

void AddRegExportCommand( Command aFamily, ExitCode& rExitCode )
{
    const Command aCommand =
        aFamily.AddSubcommand( "export", "Write a key and what is below it as a .reg file" );
    aCommand.SetFooter( EXPORT_EXAMPLES );
    auto pOptions = std::make_shared<TransferOptions>();
    aCommand.AddWord( "KEY", pOptions->aKey, "The key" );
    aCommand.AddOption( "FILE", pOptions->aFile, "Where to; - or nothing: standard output" ).TypeName( "" );
    aCommand.AddFlag( "--utf16", pOptions->fUtf16, "Write UTF-16 and CR LF, as Windows programs want it" );
    aCommand.SetAction( [pOptions, &rExitCode] { rExitCode = Export( *pOptions ); } );
}

void AddRegImportCommand( Command aFamily, ExitCode& rExitCode )
{
    const Command aCommand = aFamily.AddSubcommand( "import", "Make the changes that a .reg file holds" );
    aCommand.SetFooter( IMPORT_EXAMPLES );
    auto pOptions = std::make_shared<TransferOptions>();
    aCommand.AddWord( "FILE", pOptions->aFile, "The file; -: standard input" );
    aCommand.SetAction( [pOptions, &rExitCode] { rExitCode = Import( *pOptions ); } );
}
