#include "tools/byteinput.h"
#include "tools/errors/bytes.h"
#include "tools/errors/commands.h"
#include "tools/errors/decodedrecord.h"
#include "tools/errors/numbers.h"
#include "tools/errors/recordjson.h"
#include "tools/talk.h"

#include <bxtools/error.h>
#include <bxtools/platform.h>

#include <algorithm>
#include <memory>

namespace
{

constexpr char EXAMPLES[] =
    "The records are set as a program would set them: an errno error (class\n"
    "BXTOOLS.ERRCLS_SYS_ERRNO) without --origin gets the run-time library's text.\n"
    "Texts must not hold \"+?+\", \"!;!\" or the bytes 24 B0: the format cannot carry them.\n\n"
    "Examples:\n"
    "  bxtool errors make --class APP.ERRORS --number 12 --system-error 2 \\\n"
    "      --origin 'CreateFile failed' --param 'c:\\data\\a.txt' --param read >one.stream\n"
    "  bxtool errors make --class APP.A --number 1 --record --class APP.B --number 2 >two.stream\n"
    "  bxtool errors show --json two.stream | bxtool errors make --json-in >copy.stream\n";

// The separators cannot be escaped, and a text ends at its first zero for plain C callers.
struct Forbidden
{
    std::string_view aBytes;
    const char* pName;
};
constexpr Forbidden FORBIDDEN[] = {
    { ERROBJECT_FIELD_SEPARATOR, "the field separator \"+?+\"" },
    { STRLIST_ITEM_SEPARATOR, "the parameter separator \"!;!\"" },
    { ERRSTREAM_RECORD_SEPARATOR, "the record separator (bytes 24 B0)" },
    { std::string_view( "\0", 1 ), "a zero byte" },
};

[[noreturn]] void ThrowUnfit( size_t nIndex, const std::string& aWhat )
{
    throw ToolFailure( ExitCode::Usage, "record " + std::to_string( nIndex ) + ": " + aWhat +
                                            "; an error stream cannot carry that, change the text" );
}

void CheckText( size_t nIndex, const char* pWhich, std::string_view aText )
{
    for ( const Forbidden& rForbidden : FORBIDDEN )
        if ( aText.find( rForbidden.aBytes ) != std::string_view::npos )
            ThrowUnfit( nIndex, std::string( pWhich ) + " holds " + rForbidden.pName );
}

void CheckTexts( size_t nIndex, const DecodedRecord& rRecord )
{
    CheckText( nIndex, "the class", rRecord.aErrorClass );
    CheckText( nIndex, "the origin text", rRecord.aOrigin );
    CheckText( nIndex, "the optional text", rRecord.aOptional );
    for ( const std::string& aParameter : rRecord.aParameters )
        CheckText( nIndex, "a parameter", aParameter );
    if ( rRecord.aParameters.size() == 1 && rRecord.aParameters[0].empty() )
        ThrowUnfit( nIndex, "its only parameter is empty, which reads back as no parameter" );
}

// AddErrorTextParams would drop empty parameters at the front.
std::string JoinParameters( const std::vector<std::string>& rParameters )
{
    std::string aJoined;
    for ( const std::string& aParameter : rParameters )
        aJoined.append( &aParameter == &rParameters.front() ? "" : STRLIST_ITEM_SEPARATOR )
            .append( aParameter );
    return aJoined;
}

// The end of one text can make a separator together with the one that follows it ("a+?" before "+?+").
void CheckReadsBack( size_t nIndex, const DecodedRecord& rRecord, const MString& aText )
{
    DecodedRecord aBack;
    std::string aReason;
    const bool fSame = RecordDecoder().Decode( ViewOf( aText ), aBack, aReason ) &&
                       aBack.aErrorClass == rRecord.aErrorClass && aBack.aOptional == rRecord.aOptional &&
                       aBack.aParameters == rRecord.aParameters &&
                       ( rRecord.aOrigin.empty() || aBack.aOrigin == rRecord.aOrigin );
    if ( !fSame )
        ThrowUnfit( nIndex, "a text ends in the beginning of a separator, such as \"+?\" or \"!;\"" );
}

MString MakeRecord( size_t nIndex, const DecodedRecord& rRecord )
{
    CheckTexts( nIndex, rRecord );
    // This tool's own last error must not become the record's.
    SetLastError( NO_ERROR );
    MString aText;
    const BOOL fMade = SetLastErr( rRecord.aErrorClass.c_str(), rRecord.lNumber, rRecord.dwSystemError,
                                   ToMString( rRecord.aOrigin ), ToMString( rRecord.aOptional ),
                                   ToMString( JoinParameters( rRecord.aParameters ) ) ) &&
                       Error2Stream( aText, 0 ) && ClearErrors();
    if ( !fMade )
        throw ToolFailure(
            ExitCode::Internal,
            "record " + std::to_string( nIndex ) +
                " could not be set; run again with BXTOOLS_DEBUG_SINK=stderr for the library's reason" );
    CheckReadsBack( nIndex, rRecord, aText );
    return aText;
}

ExitCode Make( const std::vector<DecodedRecord>& rRecords )
{
    if ( rRecords.empty() )
        throw ToolFailure( ExitCode::Usage, "there is no record to make; a stream holds at least one" );
    // Nothing is written before everything is known to be fit.
    std::string aStream = ERRSTREAM_HEADER;
    for ( size_t i = 0; i < rRecords.size(); i++ )
        aStream.append( ERRSTREAM_RECORD_SEPARATOR ).append( ViewOf( MakeRecord( i, rRecords[i] ) ) );
    WriteOutput( aStream );
    return ExitCode::Ok;
}

struct Setting
{
    const char* pName;
    const char* pType;
    const char* pHelp;
    std::string ( *pCheck )( const std::string& aText );
    void ( *pSet )( DecodedRecord& rRecord, const std::string& aValue );
    bool fRepeats;
};
std::string AcceptAll( const std::string& )
{
    return std::string();
}
constexpr Setting SETTINGS[] = {
    { "--class", "TEXT", "Error class; every record has one", AcceptAll,
      []( DecodedRecord& rRecord, const std::string& aValue ) { rRecord.aErrorClass = aValue; }, false },
    { "--number", "NUMBER", "Error number within the class, decimal or 0x...; 0 if not given",
      CheckErrorNumber,
      []( DecodedRecord& rRecord, const std::string& aValue )
      { rRecord.lNumber = *ParseErrorNumber( aValue ); },
      false },
    { "--system-error", "NUMBER", "The system's last error that went with it", CheckSystemError,
      []( DecodedRecord& rRecord, const std::string& aValue )
      { rRecord.dwSystemError = *ParseSystemError( aValue ); },
      false },
    { "--origin", "TEXT", "Origin text: what the reporting code had at hand", AcceptAll,
      []( DecodedRecord& rRecord, const std::string& aValue ) { rRecord.aOrigin = aValue; }, false },
    { "--text", "TEXT", "Optional text", AcceptAll,
      []( DecodedRecord& rRecord, const std::string& aValue ) { rRecord.aOptional = aValue; }, false },
    { "--param", "TEXT", "A text parameter; may be repeated", AcceptAll,
      []( DecodedRecord& rRecord, const std::string& aValue ) { rRecord.aParameters.push_back( aValue ); },
      true },
};

struct MakeFlags
{
    bool fJsonIn = false;
    bool fRecord = false; // where it stands among the options is what counts
};

[[noreturn]] void ThrowIncomplete( size_t nIndex, const std::string& aWhat )
{
    throw ToolFailure( ExitCode::Usage, "record " + std::to_string( nIndex ) + " " + aWhat );
}

// The records in the order of the options: what stands behind a --record belongs to the next one.
std::vector<DecodedRecord> RecordsFromOptions( Command aCommand )
{
    std::vector<DecodedRecord> aRecords;
    bool aSet[std::size( SETTINGS )] = {}; // what the last record has already
    for ( const GivenOption& rGiven : aCommand.GetGiven() )
    {
        if ( rGiven.aName == "--record" || aRecords.empty() )
        {
            aRecords.emplace_back();
            std::fill( std::begin( aSet ), std::end( aSet ), false );
        }
        for ( size_t i = 0; i < std::size( SETTINGS ); i++ )
        {
            if ( rGiven.aName != SETTINGS[i].pName )
                continue;
            if ( aSet[i] && !SETTINGS[i].fRepeats )
                ThrowIncomplete( aRecords.size() - 1, std::string( "has " ) + SETTINGS[i].pName +
                                                          " twice; begin the next record with --record" );
            aSet[i] = true;
            SETTINGS[i].pSet( aRecords.back(), rGiven.aValue );
        }
    }
    for ( size_t i = 0; i < aRecords.size(); i++ )
        if ( aRecords[i].aErrorClass.empty() )
            ThrowIncomplete( i, "has no error class; give it --class" );
    return aRecords;
}

std::vector<DecodedRecord> RecordsFromStandardInput( Command aCommand )
{
    for ( const GivenOption& rGiven : aCommand.GetGiven() )
        if ( rGiven.aName != "--json-in" )
            throw ToolFailure( ExitCode::Usage, rGiven.aName +
                                                    " does not go with --json-in, which brings whole "
                                                    "records; see --help" );
    return RecordsFromJson( ReadInput( "-" ) );
}

} // namespace

void AddMakeCommand( Command aFamily, ExitCode& rExitCode )
{
    const Command aCommand = aFamily.AddSubcommand( "make", "Write an error stream to standard output" );
    aCommand.SetFooter( EXAMPLES );
    auto pFlags = std::make_shared<MakeFlags>();
    for ( const Setting& rSetting : SETTINGS )
        aCommand.AddRepeated( rSetting.pName, rSetting.pHelp )
            .TypeName( rSetting.pType )
            .CheckedBy( rSetting.pCheck );
    aCommand.AddFlag( "--record", pFlags->fRecord, "Begin the next record" );
    aCommand.AddFlag( "--json-in", pFlags->fJsonIn,
                      "Read the records as JSON, as show --json gives them, from standard input" );
    aCommand.SetAction(
        [aCommand, pFlags, &rExitCode]
        {
            rExitCode = Make( pFlags->fJsonIn ? RecordsFromStandardInput( aCommand )
                                              : RecordsFromOptions( aCommand ) );
        } );
}
