#include "tools/errors/decodedrecord.h"

#include "tools/errors/bytes.h"
#include "tools/errors/displaytext.h"
#include "tools/errors/recordwalk.h"

#include <bxtools/error.h>
#include <bxtools/platform.h>

#include <new>

namespace
{

constexpr size_t FIELD_COUNT = 7;
// Enough to recognise a version, not enough to fill the screen with somebody's film.
constexpr size_t SHOWN_OF_VERSION = 24;

// The library says which check failed; a person wants to know what stood there instead.
std::string DescribeFailure( std::string_view aText, ErrObjectBase& rRecord )
{
    PieceWalk aFields( aText, ERROBJECT_FIELD_SEPARATOR );
    std::string_view aVersion;
    aFields.Next( aVersion );
    if ( aText.empty() )
        return "it is empty";
    if ( aVersion != ERROBJECT_VERSION )
        return "it begins with \"" + MakeVisible( aVersion.substr( 0, SHOWN_OF_VERSION ) ) +
               "\" instead of the version \"" + ERROBJECT_VERSION +
               "\"; it is no record, or one of another version of the library";

    size_t nFields = 1;
    for ( std::string_view aField; aFields.Next( aField ); )
        nFields++;
    if ( nFields != FIELD_COUNT )
        return "it has " + std::to_string( nFields ) + ( nFields == 1 ? " field" : " fields" ) +
               " instead of " + std::to_string( FIELD_COUNT ) +
               "; it was cut short, or one of its texts holds \"" + ERROBJECT_FIELD_SEPARATOR + "\"";
    MString aDump;
    rRecord.GetDumpStr( aDump );
    return MakeVisible( ViewOf( aDump ) );
}

std::vector<std::string> SplitParameters( std::string_view aField )
{
    std::vector<std::string> aParameters;
    if ( aField.empty() )
        return aParameters;
    PieceWalk aPieces( aField, STRLIST_ITEM_SEPARATOR );
    for ( std::string_view aParameter; aPieces.Next( aParameter ); )
        aParameters.emplace_back( aParameter );
    return aParameters;
}

// A text that has a place for a value, which nobody has kept, is shown with the place: "%1 is not ...". The library's
// own call leaves such a text out.
MString FormatWithInserts( DWORD dwError )
{
    char szText[1024] = "";
    FormatMessageA( FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, NULL, dwError, 0, szText,
                    sizeof( szText ), NULL );
    return szText;
}

} // namespace

bool RecordDecoder::Decode( std::string_view aText, DecodedRecord& rRecord, std::string& rReason )
{
    m_aText.assign( aText.data(), aText.size() );
    if ( !m_aRecord.FromStream( m_aText ) )
    {
        rReason = DescribeFailure( aText, m_aRecord );
        return false;
    }
    // The record's texts are its own; written out they lie between separators again.
    if ( !m_aRecord.GetOriginError( m_aText, rRecord.lNumber, rRecord.dwSystemError ) ||
         !m_aRecord.ToStream( m_aText ) )
        throw std::bad_alloc();
    std::string_view aFields[FIELD_COUNT];
    PieceWalk aWalk( ViewOf( m_aText ), ERROBJECT_FIELD_SEPARATOR );
    for ( std::string_view& rField : aFields )
        aWalk.Next( rField );
    rRecord.aErrorClass = aFields[1];
    rRecord.aOrigin = aFields[4];
    rRecord.aOptional = aFields[5];
    rRecord.aParameters = SplitParameters( aFields[6] );
    return true;
}

std::string GetNumberText( const DecodedRecord& rRecord )
{
    MString aText;
    Error2StrHex( rRecord.lNumber, 0, aText, FALSE );
    return std::string( ViewOf( aText ) );
}

std::string GetSystemText( DWORD dwError )
{
    // 0 would stand for this thread's own last error.
    if ( dwError == 0 )
        return std::string();
    MString aText;
    BOOL fFound = FALSE;
    if ( !AppendLastErrMsg( aText, dwError, fFound ) )
        aText = FormatWithInserts( dwError );
    const std::string_view aView = ViewOf( aText );
    const size_t nFirst = aView.find_first_not_of( "\r\n " );
    if ( nFirst == std::string_view::npos )
        return std::string();
    return std::string( aView.substr( nFirst, aView.find_last_not_of( "\r\n " ) - nFirst + 1 ) );
}

std::string GetNumberMeaning( const DecodedRecord& rRecord )
{
    return rRecord.aErrorClass == ERRCLS_SYS_HRESULT ? GetSystemText( static_cast<DWORD>( rRecord.lNumber ) )
                                                     : std::string();
}
