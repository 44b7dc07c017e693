// A full error stack's 70 records as an error stream: built, read, searched and turned round through the exported
// calls, beside what a program would do with GLib's strings.
//
//   build70     70 records that are there already become one stream: each writes its text, which is appended. GString
//               appends the same pieces of the same records, numbers by its own formatter.
//   push70      70 errors are set on the thread's stack, which is then taken as a stream, and so emptied. The peer is a
//               list of records on the heap, whose texts are appended to one std::string.
//   read70      every record of a stream is read by its index. g_strsplit cuts records and fields; the parameters
//               stay joined on both sides.
//   reverse70   in the stream's own string; g_strsplit and g_strjoinv make a new text.
//   find70      the last record is looked for. memmem finds its text, and the separators before it are counted.
//   count70     the records are counted.
#include "measure.h"
#include "streamsample.h"

#include <bxtools/error.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <glib.h>
#include <list>
#include <memory>
#include <string_view>

static std::string Written( const ErrObjectBase& aRecord )
{
    MString aText;
    ErrObjectBase( aRecord ).ToStream( aText );
    return aText.data();
}

// One record as g_strsplit gives it.
struct SplitRecord
{
    gchar** m_ppFields;
    long m_lNumber;
    unsigned long m_ulSystemError;
};

static std::string Written( const SplitRecord& aRecord )
{
    gchar** ppFields = aRecord.m_ppFields;
    return TextOf(
        { ppFields[1], aRecord.m_lNumber, aRecord.m_ulSystemError, ppFields[4], ppFields[5], ppFields[6] } );
}

static std::string RecordLines( const std::vector<SampleRecord>& aRecords )
{
    std::string strLines;
    for ( const SampleRecord& aRecord : aRecords )
        strLines += TextOf( aRecord ) + "\n";
    return strLines;
}

static void RegisterBuild( const std::vector<SampleRecord>& aRecords )
{
    std::vector<ErrObjectBase> aObjects( aRecords.size() );
    for ( size_t i = 0; i < aRecords.size(); ++i )
        aObjects[i].FromStream( TextOf( aRecords[i] ).c_str() );
    const std::string strExpected = StreamOf( aRecords ) + "\n";

    Measure( "stream/build70/bxtools", strExpected,
             [aObjects]( auto& rUse ) mutable
             {
                 MString aStream( ERRSTREAM_HEADER );
                 MString aText;
                 for ( ErrObjectBase& aObject : aObjects )
                 {
                     aObject.ToStream( aText );
                     Append2Stream( aStream, aText );
                 }
                 rUse( aStream.data() );
             } );
    Measure( "stream/build70/GString", strExpected,
             [aRecords]( auto& rUse )
             {
                 GString* pStream = g_string_new( SAMPLE_HEADER );
                 for ( const SampleRecord& aRecord : aRecords )
                 {
                     g_string_append( pStream, SAMPLE_SEPARATOR );
                     g_string_append( pStream, "1.0.0" );
                     g_string_append( pStream, SAMPLE_FIELD_SEPARATOR );
                     g_string_append_len( pStream, aRecord.m_strClass.data(),
                                          gssize( aRecord.m_strClass.size() ) );
                     g_string_append( pStream, SAMPLE_FIELD_SEPARATOR );
                     g_string_append_printf( pStream, "%ld", aRecord.m_lNumber );
                     g_string_append( pStream, SAMPLE_FIELD_SEPARATOR );
                     g_string_append_printf( pStream, "%lu", aRecord.m_ulSystemError );
                     g_string_append( pStream, SAMPLE_FIELD_SEPARATOR );
                     g_string_append_len( pStream, aRecord.m_strOriginText.data(),
                                          gssize( aRecord.m_strOriginText.size() ) );
                     g_string_append( pStream, SAMPLE_FIELD_SEPARATOR );
                     g_string_append_len( pStream, aRecord.m_strOptionalText.data(),
                                          gssize( aRecord.m_strOptionalText.size() ) );
                     g_string_append( pStream, SAMPLE_FIELD_SEPARATOR );
                     g_string_append_len( pStream, aRecord.m_strParameters.data(),
                                          gssize( aRecord.m_strParameters.size() ) );
                 }
                 rUse( static_cast<const char*>( pStream->str ) );
                 g_string_free( pStream, TRUE );
             } );
}

// What a caller of SetLastErr has at hand.
struct PushedError
{
    std::string m_strClass;
    ERR m_lNumber;
    DWORD m_dwSystemError;
    MString m_aOriginText;
    MString m_aOptionalText;
    MString m_aParameters;
};

static void RegisterPush( const std::vector<SampleRecord>& aRecords )
{
    std::vector<PushedError> aErrors;
    for ( const SampleRecord& aRecord : aRecords )
        aErrors.push_back( { aRecord.m_strClass, static_cast<ERR>( aRecord.m_lNumber ),
                             static_cast<DWORD>( aRecord.m_ulSystemError ), aRecord.m_strOriginText.c_str(),
                             aRecord.m_strOptionalText.c_str(), aRecord.m_strParameters.c_str() } );
    const std::string strExpected = StreamOf( aRecords ) + "\n";

    Measure( "stream/push70/bxtools", strExpected,
             [aErrors]( auto& rUse )
             {
                 for ( const PushedError& aError : aErrors )
                     SetLastErr( aError.m_strClass.c_str(), aError.m_lNumber, aError.m_dwSystemError,
                                 aError.m_aOriginText, aError.m_aOptionalText, aError.m_aParameters );
                 MString aStream;
                 AllErrors2Stream( aStream );
                 rUse( aStream.data() );
             } );
    Measure( "stream/push70/heap-list", strExpected,
             [aRecords]( auto& rUse )
             {
                 std::list<std::unique_ptr<SampleRecord>> aStack;
                 for ( const SampleRecord& aRecord : aRecords )
                     aStack.push_back( std::make_unique<SampleRecord>( aRecord ) );
                 std::string strStream = SAMPLE_HEADER;
                 for ( const std::unique_ptr<SampleRecord>& pRecord : aStack )
                 {
                     strStream += SAMPLE_SEPARATOR;
                     AppendText( *pRecord, strStream );
                 }
                 rUse( strStream.c_str() );
             } );
}

static void RegisterRead( const std::vector<SampleRecord>& aRecords )
{
    const std::string strStream = StreamOf( aRecords );
    const MString aStream( strStream.c_str() );
    const ULONG ulCount = static_cast<ULONG>( aRecords.size() );

    Measure( "stream/read70/bxtools", RecordLines( aRecords ),
             [aStream, ulCount]( auto& rUse )
             {
                 ErrObjectBase aRecord;
                 for ( ULONG i = 0; i < ulCount; ++i )
                 {
                     Error2ObjectFromStream( aRecord, i, aStream );
                     rUse( aRecord );
                 }
             } );
    Measure( "stream/read70/g_strsplit", RecordLines( aRecords ),
             [strStream]( auto& rUse )
             {
                 gchar** ppRecords = g_strsplit( strStream.c_str(), SAMPLE_SEPARATOR, -1 );
                 for ( gchar** ppRecord = ppRecords + 1; *ppRecord != NULL; ++ppRecord )
                 {
                     SplitRecord aRecord;
                     aRecord.m_ppFields = g_strsplit( *ppRecord, SAMPLE_FIELD_SEPARATOR, -1 );
                     aRecord.m_lNumber = std::strtol( aRecord.m_ppFields[2], NULL, 10 );
                     aRecord.m_ulSystemError = std::strtoul( aRecord.m_ppFields[3], NULL, 10 );
                     rUse( aRecord );
                     g_strfreev( aRecord.m_ppFields );
                 }
                 g_strfreev( ppRecords );
             } );
}

static void RegisterReverse( const std::vector<SampleRecord>& aRecords )
{
    const std::string strStream = StreamOf( aRecords );
    const std::string strExpected = ReverseStreamOf( aRecords ) + "\n";

    Measure( "stream/reverse70/bxtools", strExpected,
             [aStream = MString( strStream.c_str() )]( auto& rUse ) mutable
             {
                 ReverseStream( aStream );
                 rUse( aStream.data() );
             } );
    Measure( "stream/reverse70/g_strsplit", strExpected,
             [strStream]( auto& rUse )
             {
                 gchar** ppRecords = g_strsplit( strStream.c_str(), SAMPLE_SEPARATOR, -1 );
                 std::reverse( ppRecords + 1, ppRecords + g_strv_length( ppRecords ) );
                 gchar* pReversed = g_strjoinv( SAMPLE_SEPARATOR, ppRecords );
                 rUse( static_cast<const char*>( pReversed ) );
                 g_free( pReversed );
                 g_strfreev( ppRecords );
             } );
}

static size_t CountSeparators( std::string_view strText )
{
    size_t ulCount = 0;
    for ( size_t ulFound = 0; ( ulFound = strText.find( SAMPLE_SEPARATOR, ulFound ) ) != strText.npos;
          ulFound += 2 )
        ++ulCount;
    return ulCount;
}

static void RegisterFind( const std::vector<SampleRecord>& aRecords )
{
    const std::string strStream = StreamOf( aRecords );
    const std::string strLast = TextOf( aRecords.back() );
    const std::string strExpected = std::to_string( aRecords.size() - 1 ) + "\n";
    const MString aStream( strStream.c_str() );
    ErrObjectBase aLast;
    aLast.FromStream( strLast.c_str() );

    Measure( "stream/find70/bxtools", strExpected,
             [aStream, aLast]( auto& rUse ) mutable
             {
                 ULONG ulIndex = 0;
                 FindObjectInStream( ulIndex, aLast, aStream );
                 rUse( ulIndex );
             } );
    Measure( "stream/find70/memmem", strExpected,
             [strStream, strLast]( auto& rUse )
             {
                 const char* pText = strStream.data();
                 const void* pFound = memmem( pText, strStream.size(), strLast.data(), strLast.size() );
                 const size_t ulBefore = static_cast<size_t>( static_cast<const char*>( pFound ) - pText );
                 rUse( CountSeparators( { pText, ulBefore } ) - 1 );
             } );
}

static void RegisterCount( const std::vector<SampleRecord>& aRecords )
{
    const std::string strStream = StreamOf( aRecords );
    const std::string strExpected = std::to_string( aRecords.size() ) + "\n";

    Measure( "stream/count70/bxtools", strExpected,
             [aStream = MString( strStream.c_str() )]( auto& rUse )
             {
                 ULONG ulCount = 0;
                 GetAvailableErrorCountFromStream( ulCount, aStream );
                 rUse( ulCount );
             } );
    Measure( "stream/count70/g_strsplit", strExpected,
             [strStream]( auto& rUse )
             {
                 gchar** ppRecords = g_strsplit( strStream.c_str(), SAMPLE_SEPARATOR, -1 );
                 rUse( g_strv_length( ppRecords ) - 1 );
                 g_strfreev( ppRecords );
             } );
    Measure( "stream/count70/std::string_view", strExpected,
             [strStream]( auto& rUse ) { rUse( CountSeparators( strStream ) ); } );
}

void RegisterStreamMeasurements()
{
    const std::vector<SampleRecord> aRecords = MakeSampleRecords( STACK_RECORDS );
    CheckAnswer( "the stream's length", std::to_string( StreamOf( aRecords ).size() ), "7240" );
    RegisterBuild( aRecords );
    RegisterPush( aRecords );
    RegisterRead( aRecords );
    RegisterReverse( aRecords );
    RegisterFind( aRecords );
    RegisterCount( aRecords );
}
