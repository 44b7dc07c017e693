#include "error/records.h"
#include "support/recorder.h"
#include "support/virtualslots.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <tuple>

namespace
{

constexpr char FROMSTREAM_HEADER[] = "From BOOL ErrObjectBase::FromStream( const MString& aStream )";
constexpr char FULL_TEXT[] = "1.0.0+?+A.CLASS+?+-3+?+4294967295+?+origin+?+optional+?+one!;!two!;!three";
constexpr char EMPTY_TEXT[] = "1.0.0+?++?+0+?+0+?++?++?+";

TEST( ErrObject, WritesAndReadsSevenFields )
{
    DebugRecorder aDebug;
    OpenRecord aRecord;
    EXPECT_EQ( EMPTY_TEXT, aRecord.Text() );
    EXPECT_FALSE( aRecord.IsInitialized() );
    ASSERT_TRUE( aRecord.MySetLastErr( "A.CLASS", -3, ~0u, "origin", "optional", "one!;!two!;!three" ) );
    EXPECT_EQ( FULL_TEXT, aRecord.Text() );
    EXPECT_EQ( ( Texts{ "one", "two", "three" } ), aRecord.Parameters() );
    EXPECT_EQ( FULL_TEXT, aRecord.Text() ) << "also when the parameters are strings by now";
    EXPECT_EQ( FULL_TEXT, OpenRecord( FULL_TEXT ).Text() );
    ASSERT_TRUE( aRecord.FromStream( EMPTY_TEXT ) );
    EXPECT_TRUE( aRecord.IsInitialized() );
    EXPECT_EQ( Texts{}, aRecord.Parameters() ) << "none, not an empty one";

    for ( const auto& [strJoined, aExpected] : std::vector<std::pair<std::string, Texts>>{
              { "!;!", { "", "" } }, { "!;!!;!x", { "", "", "x" } }, { "!;!;!", { "", ";!" } } } )
    {
        OpenRecord aSplit( EMPTY_TEXT + strJoined );
        EXPECT_EQ( aExpected.size(), aSplit.List()->ItemCount() ) << strJoined;
        EXPECT_EQ( aExpected, aSplit.Parameters() ) << strJoined;
    }
}

TEST( ErrObject, RejectsAnotherVersionBeforeItCountsFields )
{
    DebugRecorder aDebug;
    OpenRecord aRecord( FULL_TEXT );
    const std::string strVersion = " Error: aVersion != ERROBJECT_VERSION -> version mismatch";
    const std::string strCount = " Error: usCount != 7 -> wrong stream format";
    for ( const auto& [strText, strReason] : std::vector<std::pair<std::string, std::string>>{
              { "", strVersion },
              { "1.0.1+?+x", strVersion },
              { "1.0.0 +?++?+0+?+0+?++?++?+", strVersion },
              { "1.0.0", strCount },
              { "1.0.0+?++?+0+?+0+?++?+", strCount },
              { OpenRecord( "1.0.0+?++?+0+?+0+?+a+?++?+" ).Text() + "+?+", strCount } } )
    {
        EXPECT_FALSE( aRecord.FromStream( ToMString( strText ) ) ) << strText;
        EXPECT_TRUE( aDebug.OnlyReport( FROMSTREAM_HEADER, strReason ) ) << strText;
        EXPECT_EQ( FROMSTREAM_HEADER + strReason, aRecord.Dump() );
    }
    EXPECT_EQ( FULL_TEXT, aRecord.Text() ) << "unchanged by what it rejected";
    EXPECT_EQ( "", aRecord.Dump() ) << "writing empties it";
}

TEST( ErrObject, NumbersAreClampedTo32Bits )
{
    constexpr ERR MAXIMUM = 0x7FFFFFFF;
    constexpr ERR MINIMUM = -MAXIMUM - 1;
    for ( const auto& [strText, lExpected, dwExpected] : std::vector<std::tuple<std::string, ERR, DWORD>>{
              { "2147483648", MAXIMUM, 2147483648 },
              { "-2147483648", MINIMUM, 2147483648 },
              { "-2147483649", MINIMUM, 2147483647 },
              { "4294967296", MAXIMUM, 4294967295 },
              { "99999999999999999999999999999999", MAXIMUM, 4294967295 },
              { "-99999999999999999999999999999999", MINIMUM, 4294967295 },
              { " \t+12x9", 12, 12 },
              { "-5", -5, 4294967291 },
              { "+-1", 0, 0 },
              { "", 0, 0 } } )
    {
        MString aClass;
        ERR lNumber = 1;
        DWORD dwSystemError = 0;
        const OpenRecord aRecord( "1.0.0+?+C+?+" + strText + "+?+" + strText + "+?++?++?+" );
        EXPECT_TRUE( aRecord.GetOriginError( aClass, lNumber, dwSystemError ) );
        EXPECT_EQ( dwExpected, dwSystemError ) << strText;
        EXPECT_EQ( lExpected, lNumber ) << strText;
    }
}

// Whatever a byte turns into and wherever the text ends: either it is rejected and the record stays, or what was
// read writes a text that reads as the same again.
TEST( ErrObject, DamagedTextsAreRejectedOrRead )
{
    for ( const std::string& strText : Damaged( FULL_TEXT, std::string( "\0+?!;\xB0\xFF", 7 ) ) )
    {
        OpenRecord aRecord( EMPTY_TEXT );
        const bool fRead = aRecord.FromStream( ToMString( strText ) ) != FALSE;
        const std::string strAgain = aRecord.Text();
        EXPECT_EQ( strAgain, fRead ? OpenRecord( strAgain ).Text() : EMPTY_TEXT ) << strText;
    }
    for ( const std::string& strText :
          { std::string( 1 << 20, '?' ), std::string( "a\0b", 3 ), SEP, SEP.substr( 1 ) } )
    {
        OpenRecord aRecord;
        ASSERT_TRUE( aRecord.MySetLastErr( "C", 1, 0, ToMString( strText ), "", ToMString( strText ) ) );
        EXPECT_EQ( "1.0.0+?+C+?+1+?+0+?+" + strText + "+?++?+" + strText,
                   OpenRecord( aRecord.Text() ).Text() );
    }
}

TEST( ErrObject, CopyingSharesTheParameters )
{
    auto pFirst = std::make_unique<OpenRecord>( FULL_TEXT );
    {
        OpenRecord aCopy( *pFirst );
        *aCopy.List()->GetItem( 0 ) = "seen by both";
        ASSERT_TRUE( aCopy.List()->Remove( 1, TRUE ) );
    }
    EXPECT_EQ( ( Texts{ "seen by both", "three" } ), pFirst->Parameters() )
        << "still there after the copy's end";
    OpenRecord aLast( *pFirst );
    ASSERT_TRUE( pFirst->FromStream( EMPTY_TEXT ) );
    EXPECT_EQ( Texts{}, aLast.Parameters() ) << "filling one again empties the other's";
    pFirst.reset();
    EXPECT_EQ( "1.0.0+?+A.CLASS+?+-3+?+4294967295+?+origin+?+optional+?+", aLast.Text() );
}

TEST( ErrObject, AssigningCopiesTheParameters )
{
    OpenRecord aSource( FULL_TEXT );
    OpenRecord aTarget( std::string( EMPTY_TEXT ) + "1!;!2!;!3!;!4!;!5" );
    ASSERT_EQ( 5u, aTarget.Parameters().size() );
    OpenRecord aSharing( aTarget );
    for ( bool fAsStrings : { false, true } )
    {
        if ( fAsStrings )
            *aSource.List()->GetItem( 2 ) = "with !;! inside";
        aTarget = aSource;
        EXPECT_EQ( aSource.Parameters(), aTarget.Parameters() );
        EXPECT_EQ( aSource.Parameters(), aSharing.Parameters() ) << "through the list it shares";
    }
    *aTarget.List()->GetItem( 0 ) = "own";
    EXPECT_EQ( "one", aSource.Parameters()[0] );

    EXPECT_FALSE( aSource.FromStream( "1.0.1" ) );
    aTarget = aSource;
    EXPECT_TRUE( aTarget.IsInitialized() );
    aTarget.ClearValues();
    EXPECT_FALSE( aTarget.IsInitialized() );
    EXPECT_EQ( aSource.Dump(), aTarget.Dump() ) << "assigned, and kept by clearing";
    aTarget = OpenRecord();
    EXPECT_TRUE( aTarget.List() == NULL );
    EXPECT_TRUE( aSharing.List() != NULL ) << "only the target's share goes";
}

// A derived record may keep a whole record in its own texts, and fill itself from them.
TEST( ErrObject, IsFilledFromItsOwnTexts )
{
    const std::string strOther = "1.0.0+?+OTHER.CLASS+?+7+?+0+?+" + std::string( 100, 'o' ) + "+?++?+x!;!y";
    OpenRecord aRecord;
    const auto Hold = [&]
    {
        ASSERT_TRUE( aRecord.MySetLastErr( "C", 1, 0, "", "", "first!;!second" ) );
        *aRecord.List()->GetItem( 1 ) = ToMString( strOther );
    };
    Hold();
    ASSERT_TRUE( aRecord.FromStream( *aRecord.List()->GetItem( 1 ) ) );
    EXPECT_EQ( strOther, aRecord.Text() );
    Hold();
    *aRecord.List()->GetItem( 0 ) = ToMString( StreamOf( { strOther } ) );
    ASSERT_TRUE( Error2ObjectFromStream( aRecord, 0, *aRecord.List()->GetItem( 0 ) ) );
    EXPECT_EQ( strOther, aRecord.Text() );
    Hold();
    const MString& rOwn = *aRecord.List()->GetItem( 0 );
    ASSERT_TRUE( aRecord.MySetLastErr( rOwn, 2, 0, rOwn, rOwn, rOwn ) );
    EXPECT_EQ( "1.0.0+?+first+?+2+?+0+?+first+?+first+?+first", aRecord.Text() );
}

TEST( ErrObject, SystemClassesTakeLastErrorAndText )
{
    const auto Make = []( LPCTSTR pClass, ERR lNumber, DWORD dwSystemError, LPCTSTR pOrigin )
    {
        OpenRecord aRecord;
        EXPECT_TRUE( aRecord.MySetLastErr( pClass, lNumber, dwSystemError, pOrigin, "", "" ) );
        return aRecord.Text();
    };
    for ( const auto& [pClass, dwGiven, dwTaken, dwLeft] :
          std::vector<std::tuple<std::string, DWORD, DWORD, DWORD>>{
              { ERRCLS_SYS_LASTERROR, 0, 5, 0 },
              { ERRCLS_SYS_LASTERROR, 7, 7, 0 },
              { "bxtools.errcls_sys_lasterror", 0, 0, 5 } } )
    {
        SetLastError( 5 );
        EXPECT_EQ( "1.0.0+?+" + pClass + "+?+1+?+" + std::to_string( dwTaken ) + "+?++?++?+",
                   Make( pClass.c_str(), 1, dwGiven, "" ) );
        EXPECT_EQ( dwLeft, GetLastError() );
    }
    const std::string strStart =
        std::string( "1.0.0+?+" ) + ERRCLS_SYS_ERRNO + "+?+" + std::to_string( ENOENT ) + "+?+0+?+";
    EXPECT_EQ( strStart + std::strerror( ENOENT ) + "+?++?+", Make( ERRCLS_SYS_ERRNO, ENOENT, 0, "" ) );
    EXPECT_EQ( strStart + "own text+?++?+", Make( ERRCLS_SYS_ERRNO, ENOENT, 0, "own text" ) );
}

// Callers of another compiler reach the record through its table.
TEST( ErrObject, SlotsOfTheTableStandInTheirOrder )
{
    struct Counting : OpenRecord
    {
        void ClearValues() override { ++m_nCleared; }
        int m_nCleared = 0;
    } aRecord;
    EXPECT_EQ( std::vector<size_t>{ 2 }, SlotsOf( &Counting::ClearValues ) );
    ASSERT_TRUE( aRecord.FromStream( EMPTY_TEXT ) );
    EXPECT_EQ( 1, aRecord.m_nCleared ) << "filling clears through the table";
}

} // namespace
