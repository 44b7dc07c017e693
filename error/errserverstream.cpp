// The operations on error streams held as text.
#include "core/callreport.h"
#include "error/errserver.h"
#include "error/errstream.h"

#include <new>

namespace
{

constexpr ULONG NOT_FOUND = 0xFFFFFFFF;
constexpr std::string_view RECORD_SEPARATOR = ERRSTREAM_RECORD_SEPARATOR;

// The two checks that every access by index begins with.
//   aRecord  out: the text of record ulIndex.
BOOL FindRecord( CallReport& aReport, std::string_view aStream, ULONG ulIndex, std::string_view& aRecord )
{
    ErrStreamReader aReader( aStream );
    if ( !aReader.IsStream() )
        return aReport.Fail( " Error: wrong stream format" );
    if ( aReader.Skip( ulIndex ) != ulIndex || !aReader.Next( aRecord ) )
        return aReport.Fail( " Error: ulIndex >= (ULONG) ( usCount - 1 ) -> wrong value for ulIndex" );
    return TRUE;
}

// Adds a separator and a text, or nothing when there is no memory. The two strings may be one.
void AppendRecordText( RWCString& rStream, const RWCString& rText )
{
    const size_t ulStreamLength = rStream.length();
    const size_t ulTextLength = rText.length();
    rStream.append( RECORD_SEPARATOR.data(), RECORD_SEPARATOR.size() );
    try
    {
        rStream.append( rText.data(), ulTextLength );
    }
    catch ( const std::bad_alloc& )
    {
        rStream.replace( ulStreamLength, RWCString::npos, NULL, 0 );
        throw;
    }
}

// Writes a stream with its records turned round. It is as long as the stream was, and filled from its end.
//   aRecord, aReader  the first record, and the rest.
// Result: behind the last character.
char* WriteReversed( char* pText, size_t ulLength, std::string_view aRecord, ErrStreamReader aReader )
{
    AppendView( pText, ERRSTREAM_START );
    char* pPlace = pText + ulLength - aRecord.size();
    AppendView( pPlace, aRecord );
    while ( aReader.Next( aRecord ) )
    {
        pPlace -= RECORD_SEPARATOR.size();
        AppendView( pPlace, RECORD_SEPARATOR );
        pPlace -= aRecord.size();
        AppendView( pPlace, aRecord );
    }
    return pText + ulLength;
}

} // namespace

BOOL ERRServer::IsErrorStream( const MString& aErrStream )
{
    return ErrStreamReader( ViewOf( aErrStream ) ).IsStream();
}

BOOL ERRServer::GetAvailableErrorCountFromStream( ULONG& ulCount, const MString& aErrStream )
{
    ulCount = static_cast<ULONG>( ErrStreamReader( ViewOf( aErrStream ) ).CountRest() );
    return TRUE;
}

BOOL ERRServer::Error2ObjectFromStream( ErrObjectBase& aErrObjectBase, ULONG ulIndex,
                                        const MString& aErrStream )
{
    CallReport aReport(
        "From BOOL ERRServer::Error2ObjectFromStream( ErrObjectBase& aErrObjectBase, ULONG ulIndex, const MString& aErrStream )" );
    return aReport.Guard(
        [&]() -> BOOL
        {
            // A text of the record itself goes with its old values.
            const RWCString aKept( aErrStream );
            std::string_view aRecord;
            if ( !FindRecord( aReport, ViewOf( aKept ), ulIndex, aRecord ) )
                return FALSE;
            if ( !aErrObjectBase.ReadRecord( aRecord ) )
                return aReport.Fail( " Error: !aErrObjectBase.FromStream( aLocalStream )" );
            return TRUE;
        } );
}

// Cuts at semicolons, not at records: this is how callers know it.
BOOL ERRServer::DeleteErrorFromStream( ULONG ulIndex, MString& aErrStream )
{
    CallReport aReport( "From BOOL ERRServer::DeleteErrorFromStream( ULONG ulIndex, MString& aErrStream )" );
    return aReport.Guard(
        [&]() -> BOOL
        {
            std::string_view aRecord;
            if ( !FindRecord( aReport, ViewOf( aErrStream ), ulIndex, aRecord ) )
                return FALSE;
            // A number that the string's interface would cut would take another piece away.
            if ( ulIndex >= 0xFFFF || !aErrStream.DeleteTokenStr( static_cast<USHORT>( ulIndex + 1 ), ";" ) )
                return aReport.Fail( " Error: !aErrStream.DeleteTokenStr( (USHORT) ulIndex + 1 )" );
            return TRUE;
        } );
}

BOOL ERRServer::FindObjectInStream( ULONG& ulIndex, ErrObjectBase& aErrObjectBase, const MString& aErrStream )
{
    CallReport aReport(
        "From BOOL ERRServer::FindObjectInStream( ULONG& ulIndex, ErrObjectBase& aErrObjectBase, const MString& aErrStream )" );
    ulIndex = NOT_FOUND;
    return aReport.Guard(
        [&]() -> BOOL
        {
            MString aInObject;
            if ( !aErrObjectBase.ToStream( aInObject ) )
                return aReport.Fail( " Error: !aErrObjectBase.ToStream( aInObject )" );
            ErrStreamReader aReader( ViewOf( aErrStream ) );
            std::string_view aRecord;
            for ( ULONG i = 0; aReader.Next( aRecord ); ++i )
            {
                if ( aRecord != ViewOf( aInObject ) )
                    continue;
                ulIndex = i;
                break;
            }
            return TRUE;
        } );
}

BOOL ERRServer::GetOriginErrorValuesFromStream( MString& aOriginErrCls, ERR& lCurErr, DWORD& dwLastErr,
                                                ULONG ulIndex, const MString& aErrStream )
{
    CallReport aReport(
        "From BOOL ERRServer::GetOriginErrorValuesFromStream( MString& aOriginErrCls, ERR& lCurErr, DWORD& dwLastErr, ULONG ulIndex, const MString& aErrStream )" );
    return aReport.Guard(
        [&]() -> BOOL
        {
            ErrObjectBase aErrObjectBase;
            if ( !Error2ObjectFromStream( aErrObjectBase, ulIndex, aErrStream ) )
                return aReport.Fail(
                    " Error: !Error2ObjectFromStream( aErrObjectBase, ulIndex, aErrStream )" );
            return aErrObjectBase.GetOriginError( aOriginErrCls, lCurErr, dwLastErr );
        } );
}

// What is appended replaces the stream when it is a stream itself: this is how callers know it.
BOOL ERRServer::Append2Stream( MString& aErrStream, const MString& aErrStream2Append )
{
    CallReport aReport(
        "From BOOL ERRServer::Append2Stream( MString& aErrStream, const MString& aErrStream2Append )" );
    return aReport.Guard(
        [&]() -> BOOL
        {
            std::string_view aRest = ViewOf( aErrStream2Append );
            std::string_view aHeader;
            if ( CutAt( aRest, RECORD_SEPARATOR, aHeader ) )
            {
                const size_t ulFrom = aHeader.size();
                aErrStream.RWCString::assign( aErrStream2Append.data() + ulFrom,
                                              aErrStream2Append.length() - ulFrom );
                return TRUE;
            }
            AppendRecordText( aErrStream, aErrStream2Append );
            return TRUE;
        } );
}

BOOL ERRServer::ReverseStream( MString& aErrStream )
{
    CallReport aReport( "From BOOL ERRServer::ReverseStream( MString& aErrStream )" );
    return aReport.Guard(
        [&]() -> BOOL
        {
            ErrStreamReader aReader( ViewOf( aErrStream ) );
            std::string_view aFirst;
            if ( !aReader.Next( aFirst ) || aReader.IsAtEnd() )
                return TRUE;
            const size_t ulLength = aErrStream.length();
            aErrStream.RWCString::operator=(
                RWCString::written( ulLength, [&]( char* pText )
                                    { return WriteReversed( pText, ulLength, aFirst, aReader ); } ) );
            return TRUE;
        } );
}
