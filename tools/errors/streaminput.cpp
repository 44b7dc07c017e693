#include "tools/errors/streaminput.h"

#include "tools/byteinput.h"
#include "tools/errors/bytes.h"
#include "tools/errors/decodedrecord.h"
#include "tools/talk.h"
#include "tools/toolfailure.h"

#include <bxtools/error.h>

namespace
{

// Of a stream that is broken throughout nobody reads more.
constexpr size_t MOST_NAMED = 100;

void DropLineEnd( std::string& rBytes )
{
    if ( !rBytes.empty() && rBytes.back() == '\n' )
        rBytes.pop_back();
    else
        return;
    if ( !rBytes.empty() && rBytes.back() == '\r' )
        rBytes.pop_back();
}

// What people hand in instead of a stream, and what they can do about it. The first beginning that fits is meant.
struct Mistake
{
    std::string_view aBeginning;
    const char* pExplanation;
    bool fWithReason;
};
constexpr Mistake MISTAKES[] = {
    { "##HDRMSG0$\xC2\xB0",
      " is an error stream that something has converted to UTF-8; convert it back, for example with iconv -f UTF-8 "
      "-t LATIN1, or better keep it as bytes",
      false },
    { ERRSTREAM_HEADER,
      " begins like an error stream, but no record separator (the bytes 24 B0) follows; it was cut short or changed "
      "on its way",
      false },
    { "1.0.0+?+", " looks like a single error record, but ", true },
};

[[noreturn]] void ThrowNoStream( const std::string& aTitle, const std::string& aBytes,
                                 const std::string& aReason )
{
    if ( aBytes.empty() )
        throw ToolFailure( ExitCode::Input,
                           aTitle + " is empty; where there are no errors there is no error stream" );
    for ( const Mistake& rMistake : MISTAKES )
        if ( aBytes.starts_with( rMistake.aBeginning ) )
            throw ToolFailure( ExitCode::Input,
                               aTitle + rMistake.pExplanation + ( rMistake.fWithReason ? aReason : "" ) );
    throw ToolFailure( ExitCode::Input,
                       aTitle + " is no error stream: it does not begin with \"##HDRMSG0\"" );
}

} // namespace

void AddStreamSource( Command aCommand, StreamSource& rSource )
{
    aCommand.AddOption( "FILE", rSource.aName, "The error stream; - or nothing: standard input" )
        .TypeName( "" );
    AddKeepLineEnd( aCommand, rSource );
}

void AddKeepLineEnd( Command aCommand, StreamSource& rSource )
{
    aCommand.AddFlag( "--keep-line-end", rSource.fKeepLineEnd,
                      "Take a line end behind the last record as part of it (it is dropped otherwise)" );
}

MString ReadErrorStream( const StreamSource& rSource )
{
    const std::string aTitle = GetInputTitle( rSource.aName );
    std::string aBytes = ReadInput( rSource.aName );
    if ( !rSource.fKeepLineEnd )
        DropLineEnd( aBytes );
    MString aStream = ToMString( aBytes );
    if ( IsErrorStream( aStream ) )
        return aStream;

    DecodedRecord aRecord;
    std::string aReason;
    if ( !RecordDecoder().Decode( aBytes, aRecord, aReason ) )
        ThrowNoStream( aTitle, aBytes, aReason );
    SayNote( aTitle + " holds a single error record without a stream's header; taken as a stream of one" );
    return ToMString( ERRSTREAM_HEADER + ( ERRSTREAM_RECORD_SEPARATOR + aBytes ) );
}

void BrokenRecords::Name( size_t nIndex, const std::string& aReason )
{
    if ( m_nCount++ < MOST_NAMED )
        SayError( GetInputTitle( m_rSource.aName ) + ": record " + std::to_string( nIndex ) +
                  " is broken: " + aReason );
}

ExitCode BrokenRecords::Finish() const
{
    if ( m_nCount > MOST_NAMED )
        SayError( GetInputTitle( m_rSource.aName ) + ": " + std::to_string( m_nCount - MOST_NAMED ) +
                  " more records are broken; bxtool errors show --json lists them all" );
    return m_nCount == 0 ? ExitCode::Ok : ExitCode::Broken;
}
