// The error interface as a caller of the library uses it.
#include "cerror_calls.h"
#include "support/recorder.h"
#include "support/threads.h"

#include <bxtools/cerror.h>
#include <bxtools/error.h>
#include <bxtools/platform.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

class ErrorApi : public ::testing::Test
{
protected:
    void TearDown() override { ClearErrors(); }

    DebugRecorder m_aDebug;
};

TEST_F( ErrorApi, WorksOnTheOwnStack )
{
    for ( ERR lNumber : { 1, 2, 3 } )
        EXPECT_TRUE( SetLastErr( "C", lNumber, 0, "", "", "p!;!q" ) );
    const auto Count = []
    {
        ULONG ulCount = 9;
        EXPECT_TRUE( GetAvailableErrorCount( ulCount ) );
        return ulCount;
    };
    OnOtherThread( [&] { EXPECT_EQ( 0u, Count() ); } );
    EXPECT_EQ( 3u, Count() );
    EXPECT_TRUE( DeleteError( 1 ) );
    ErrObjectBase aRecord;
    EXPECT_TRUE( Error2Object( aRecord, 1 ) );
    MString aText;
    MString aSame;
    EXPECT_TRUE( aRecord.ToStream( aText ) );
    EXPECT_STREQ( "1.0.0+?+C+?+3+?+0+?++?++?+p!;!q", aText );
    EXPECT_TRUE( Error2Stream( aSame, 1 ) );
    EXPECT_TRUE( aText == aSame );
    EXPECT_FALSE( IsErrorStream( aText ) );
    EXPECT_TRUE( ClearErrors() );
    EXPECT_TRUE( m_aDebug.Silent() );

    EXPECT_FALSE( Error2Stream( aText, 0 ) );
    EXPECT_TRUE( m_aDebug.OnlyReports(
        { { "From BOOL ERRServer::Error2Stream( MString& aStream, ULONG ulIndex )",
            " Error: ( pErrObjectBase = GetItem( (long)ulIndex ) ) == NULL" },
          { "From DLL_EXPORT_MOD BOOL DLL_EXPORT Error2Stream( MString& aStream, ULONG ulIndex )",
            " Error: !pERRServer->Error2Stream( aStream, ulIndex )" } } ) );
    for ( ULONG ulIndex : { 0x80000000u, 0xFFFFFFFFu } )
        EXPECT_FALSE( Error2Stream( aText, ulIndex ) || DeleteError( ulIndex ) );
    m_aDebug.Take();
    EXPECT_FALSE( Error2Object( aRecord, 0 ) );
    EXPECT_TRUE( m_aDebug.OnlyReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT Error2Object( ErrObjectBase& aErrObjectBase, ULONG ulIndex )",
        " Error: ( pErrObjectBase = pERRServer->GetItem( (long) ulIndex ) ) == NULL" ) );
}

TEST_F( ErrorApi, PlainC )
{
    EXPECT_STREQ( NULL, CheckOwnErrors() );
    EXPECT_STREQ( NULL, CheckLosingAll() );
    EXPECT_STREQ( NULL, CheckStreams() );
    m_aDebug.Take();
    EXPECT_STREQ( NULL, CheckNullArguments() );
    const std::string strReports = m_aDebug.Take();
    size_t uReports = 0;
    for ( size_t u = 0; ( u = strReports.find( " == NULL\r\n", u ) ) != std::string::npos; ++u )
        ++uReports;
    EXPECT_EQ( 9u, uReports ) << strReports;
    EXPECT_EQ( std::string::npos, strReports.find( "ERRServer" ) ) << "refused before anything was asked";
}

// Beyond what 16 bits count.
TEST_F( ErrorApi, PlainCHandsOutLongStreams )
{
    for ( size_t uLength : { 0xFFFFu, 0x10000u, 0x10001u, 200000u } )
    {
        const std::string strRest = "$\xB0" + std::string( uLength - 2, 'y' );
        std::vector<char> aBuffer( uLength + 1, 'z' );
        aBuffer[0] = 0;
        EXPECT_TRUE( C_Append2Stream( aBuffer.data(), ULONG( uLength + 1 ), NULL, strRest.c_str() ) );
        EXPECT_EQ( strRest, aBuffer.data() );
    }
    const std::string strRecord = "1.0.0+?+C+?+1+?+0+?+" + std::string( 70000, 'x' ) + "+?++?+";
    std::vector<char> aBuffer( 100000 );
    EXPECT_TRUE( SetLastErr( "C", 1, 0, std::string( 70000, 'x' ).c_str(), "", "" ) );
    m_aDebug.Take();
    USHORT usNeeded = 0;
    EXPECT_FALSE( C_Error2Stream( aBuffer.data(), 0xFFFF, 0, &usNeeded ) );
    EXPECT_EQ( USHORT( strRecord.size() + 1 ), usNeeded ) << "modulo 65,536";
    EXPECT_TRUE( m_aDebug.OnlyReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT C_Error2Stream( LPTSTR aStream, USHORT usSize, ULONG ulIndex, USHORT* pusNeededSize )",
        " Error: lNeeded > usSize -> buffer too small" ) );
    EXPECT_TRUE( C_AllErrors2Stream( aBuffer.data(), ULONG( aBuffer.size() ), NULL ) );
    EXPECT_EQ( "##HDRMSG0$\xB0" + strRecord, aBuffer.data() );
}

} // namespace
