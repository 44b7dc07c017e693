// bxtool file: what the numbers in reports on files mean.

#include "tools/errors/decodedrecord.h"
#include "tools/errors/numbers.h"
#include "tools/families.h"
#include "tools/jsonline.h"
#include "tools/talk.h"

#include <bxtools/file.h>

#include <memory>

namespace
{

constexpr char EXAMPLES[] =
    "Prints, for each number, the cause that a report on a file names for it, and the system's\n"
    "own text. Reports show the number behind \"OsError =\"; with -1 the system gave none.\n\n"
    "Examples:\n"
    "  bxtool file cause 32\n"
    "  bxtool file cause 2 3 0x70 --json\n\n";

struct CauseOptions
{
    std::vector<std::string> aNumbers;
    bool fJson = false;
};

struct ExplainedNumber
{
    LONG lNumber;
    LONG lCause;
    std::string aCauseText;
    std::string aSystemText; // empty: there is none
};

ExplainedNumber Explain( const std::string& aNumber )
{
    const LONG lNumber = *ParseErrorNumber( aNumber );
    const LONG lCause = CFileException::CauseOf( lNumber );
    return { lNumber, lCause, CFileException::CauseText( lCause ),
             GetSystemText( static_cast<DWORD>( lNumber ) ) };
}

std::string ToJson( const std::vector<ExplainedNumber>& aExplained )
{
    Json aList = Json::Array();
    for ( const ExplainedNumber& rOne : aExplained )
        aList.Add( { { "number", rOne.lNumber },
                     { "cause", rOne.lCause },
                     { "causeText", rOne.aCauseText },
                     { "systemText", rOne.aSystemText } } );
    const Json aJson = { { "errors", aList } };
    return JsonLine( aJson );
}

ExitCode ShowCauses( const CauseOptions& rOptions )
{
    std::vector<ExplainedNumber> aExplained;
    for ( const std::string& aNumber : rOptions.aNumbers )
        aExplained.push_back( Explain( aNumber ) );
    if ( rOptions.fJson )
    {
        WriteOutput( ToJson( aExplained ) );
        return ExitCode::Ok;
    }
    for ( const ExplainedNumber& rOne : aExplained )
    {
        WriteHeading( std::to_string( rOne.lNumber ) );
        WriteOutput( "\n  cause   " + std::to_string( rOne.lCause ) + ", " + rOne.aCauseText +
                     "\n  system  " + ( rOne.aSystemText.empty() ? "no text" : rOne.aSystemText ) + "\n" );
    }
    return ExitCode::Ok;
}

} // namespace

void AddFileFamily( Command aProgram, ExitCode& rExitCode )
{
    const Command aFamily = aProgram.AddSubcommand( "file", "Files: cause" );
    aFamily.SetFooter( std::string( EXAMPLES ) + EXIT_CODE_HELP );
    aFamily.RequireSubcommand();
    const Command aCause = aFamily.AddSubcommand( "cause", "Explain the error numbers of reports on files" );
    aCause.SetFooter( EXAMPLES );
    auto pOptions = std::make_shared<CauseOptions>();
    aCause.AddWord( "NUMBER", pOptions->aNumbers, "System errors, decimal or 0x..." )
        .CheckedBy( CheckErrorNumber );
    aCause.AddFlag( "--json", pOptions->fJson, "Print JSON instead" );
    aCause.SetAction( [pOptions, &rExitCode] { rExitCode = ShowCauses( *pOptions ); } );
}
