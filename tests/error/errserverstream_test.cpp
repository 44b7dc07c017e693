#include "error/errserver.h"
#include "error/records.h"
#include "support/recorder.h"

#include <gtest/gtest.h>

namespace
{

constexpr char READ_HEADER[] =
    "From BOOL ERRServer::Error2ObjectFromStream( ErrObjectBase& aErrObjectBase, ULONG ulIndex, const MString& aErrStream )";
constexpr char WRONG_FORMAT[] = " Error: wrong stream format";
constexpr char WRONG_INDEX[] = " Error: ulIndex >= (ULONG) ( usCount - 1 ) -> wrong value for ulIndex";
constexpr char NOT_DELETED[] = " Error: !aErrStream.DeleteTokenStr( (USHORT) ulIndex + 1 )";

ULONG CountOf( const std::string& strStream )
{
    ULONG ulCount = 99;
    EXPECT_TRUE( ERRServer::GetAvailableErrorCountFromStream( ulCount, ToMString( strStream ) ) );
    EXPECT_EQ( ulCount != 0, ERRServer::IsErrorStream( ToMString( strStream ) ) != FALSE );
    return ulCount;
}

std::string Reversed( const std::string& strStream )
{
    MString aStream = ToMString( strStream );
    EXPECT_TRUE( ERRServer::ReverseStream( aStream ) );
    return ToText( aStream );
}

ULONG Found( const std::string& strRecord, const std::string& strStream )
{
    OpenRecord aRecord( strRecord );
    ULONG ulIndex = 99;
    EXPECT_TRUE( ERRServer::FindObjectInStream( ulIndex, aRecord, ToMString( strStream ) ) );
    return ulIndex;
}

TEST( ErrStream, IsKnownByItsHeaderAndFirstSeparator )
{
    EXPECT_EQ( 1u, CountOf( HEADER + SEP ) ) << "one record, an empty one";
    EXPECT_EQ( 1u, CountOf( HEADER + SEP + "\xB0$\xB1$" ) );
    EXPECT_EQ( 2u, CountOf( HEADER + SEP + "$" + SEP + "\xB0" ) );
    EXPECT_EQ( 3u, CountOf( HEADER + SEP + "a" + SEP + SEP ) );
    for ( const std::string& strNone :
          { std::string(), HEADER, HEADER + "$", HEADER + "\xB0", "x" + HEADER + SEP, SEP + HEADER,
            HEADER + "x" + SEP, HEADER + "\xC2\xB0" } )
        EXPECT_EQ( 0u, CountOf( strNone ) ) << strNone;
}

TEST( ErrStream, ReadsEachRecord )
{
    DebugRecorder aDebug;
    const Texts aRecords = { NumberedRecord( 5 ), "1.0.0+?+X+?+-1+?+2+?+a+?+b+?+c!;!d", "broken" };
    const MString aStream = ToMString( StreamOf( aRecords ) );
    OpenRecord aRecord;
    for ( ULONG ul : { 0u, 1u } )
    {
        ASSERT_TRUE( ERRServer::Error2ObjectFromStream( aRecord, ul, aStream ) );
        EXPECT_EQ( aRecords[ul], aRecord.Text() );
    }
    for ( ULONG ulIndex : { 2u, 3u, 0x10000u, 0xFFFFFFFFu } )
        EXPECT_FALSE( ERRServer::Error2ObjectFromStream( aRecord, ulIndex, aStream ) );
    EXPECT_FALSE( ERRServer::Error2ObjectFromStream( aRecord, 0, "no stream" ) );
    const Report aWrongIndex( READ_HEADER, WRONG_INDEX );
    EXPECT_TRUE( aDebug.OnlyReports( { { "From BOOL ErrObjectBase::FromStream( const MString& aStream )",
                                         " Error: aVersion != ERROBJECT_VERSION -> version mismatch" },
                                       { READ_HEADER, " Error: !aErrObjectBase.FromStream( aLocalStream )" },
                                       aWrongIndex,
                                       aWrongIndex,
                                       aWrongIndex,
                                       { READ_HEADER, WRONG_FORMAT } } ) );
}

TEST( ErrStream, ReversesFindsAndAppends )
{
    EXPECT_EQ( StreamOf( { "C", "", "A" } ), Reversed( StreamOf( { "A", "", "C" } ) ) );
    for ( const std::string& strSame : { StreamOf( { "only" } ), HEADER, std::string(), "x" + SEP + "y" } )
        EXPECT_EQ( strSame, Reversed( strSame ) );

    const Texts aRecords = { NumberedRecord( 1 ), NumberedRecord( 2 ), NumberedRecord( 2 ) + "p" };
    EXPECT_EQ( 1u, Found( aRecords[1], StreamOf( aRecords ) ) );
    EXPECT_EQ( 2u, Found( aRecords[2], StreamOf( aRecords ) ) );
    EXPECT_EQ( 0xFFFFFFFF, Found( NumberedRecord( 3 ), StreamOf( aRecords ) ) );

    const std::string strLong( 200000, 'x' );
    for ( const auto& [strText, strAppended, strExpected] :
          std::vector<std::tuple<std::string, std::string, std::string>>{
              { StreamOf( { "A" } ), "B", StreamOf( { "A", "B" } ) },
              { "", "", SEP },
              { StreamOf( { "A" } ), StreamOf( { "B", "C" } ), SEP + "B" + SEP + "C" },
              { "A", HEADER + SEP + strLong + SEP, SEP + strLong + SEP }, // nothing is cut
              { "A", "A", "A" + SEP + "A" },
              { StreamOf( { strLong } ), StreamOf( { strLong } ), SEP + strLong } } )
    {
        MString aStream = ToMString( strText );
        const MString aOther = ToMString( strAppended );
        // A stream may be appended to itself.
        EXPECT_TRUE( ERRServer::Append2Stream( aStream, strText == strAppended ? aStream : aOther ) );
        EXPECT_EQ( strExpected, ToText( aStream ) );
    }
}

// Meant to delete a record, it deletes what stands between semicolons.
TEST( ErrStream, DeletesAtSemicolons )
{
    DebugRecorder aDebug;
    MString aStream = ToMString( StreamOf( { "A one!;!two!;!three", "B" } ) );
    EXPECT_TRUE( ERRServer::DeleteErrorFromStream( 0, aStream ) );
    EXPECT_EQ( StreamOf( { "A one!;!three", "B" } ), ToText( aStream ) );
    for ( const auto& [strText, ulIndex, pReason] : std::vector<std::tuple<std::string, ULONG, const char*>>{
              { StreamOf( { "A", "B" } ), 1, NOT_DELETED },
              { StreamOf( { "A;a", "B;b" } ), 2, WRONG_INDEX },
              { "a;b", 0, WRONG_FORMAT },
              { StreamOf( Texts( 70000, ";" ) ), 65536, NOT_DELETED } } )
    {
        aStream = ToMString( strText );
        EXPECT_FALSE( ERRServer::DeleteErrorFromStream( ulIndex, aStream ) );
        EXPECT_TRUE( aDebug.OnlyReport(
            "From BOOL ERRServer::DeleteErrorFromStream( ULONG ulIndex, MString& aErrStream )", pReason ) );
        EXPECT_EQ( strText, ToText( aStream ) );
    }
}

// Beyond what 16 bits count.
TEST( ErrStream, SeventyThousandRecords )
{
    const Texts aRecords = NumberedRecords( 70000 );
    const std::string strStream = StreamOf( aRecords );
    EXPECT_EQ( 70000u, CountOf( strStream ) );
    EXPECT_EQ( 69999u, Found( aRecords.back(), strStream ) );
    EXPECT_EQ( 0u, Found( aRecords.back(), Reversed( strStream ) ) );
    OpenRecord aRecord;
    ASSERT_TRUE( ERRServer::Error2ObjectFromStream( aRecord, 65541, ToMString( strStream ) ) );
    EXPECT_EQ( aRecords[65541], aRecord.Text() );
}

// Cut anywhere and with any byte changed, a stream has as many records as can be asked for.
TEST( ErrStream, DamagedStreamsAreConsistent )
{
    const std::string strWhole =
        StreamOf( { NumberedRecord( 1 ), NumberedRecord( 22 ), NumberedRecord( 333 ) } );
    for ( const std::string& strText : Damaged( strWhole, std::string( "\0$\xB0+;\xFF", 6 ) ) )
    {
        const ULONG ulCount = CountOf( strText );
        for ( ULONG ul = 0; ul <= ulCount; ++ul )
        {
            OpenRecord aRecord;
            const bool fRead =
                ERRServer::Error2ObjectFromStream( aRecord, ul, ToMString( strText ) ) != FALSE;
            EXPECT_EQ( fRead, aRecord.IsInitialized() != FALSE );
            EXPECT_FALSE( fRead && ul == ulCount );
        }
        EXPECT_EQ( ulCount, CountOf( Reversed( strText ) ) );
        EXPECT_EQ( strText, Reversed( Reversed( strText ) ) );
    }
}

} // namespace
