#include "core/buffserver.h"
#include "support/recorder.h"
#include "support/threads.h"

#include <bxtools/buffers.h>

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstring>
#include <string>

namespace
{

constexpr char EXPAND[] =
    "From DLL_EXPORT_MOD BOOL DLL_EXPORT EpandTCHARBuffer( BOOL fWithCopy, ULONG* puBufferSize, "
    "ULONG uExpandSize, ULONG uMaxBufSize, LPTSTR* ppBuffer )";
constexpr char OBJECT_EXPAND[] = "From BOOL BufferObj::EpandBuffer( BOOL fWithCopy )";
constexpr char BUILD[] =
    "From DLL_EXPORT_MOD LPCTSTR DLL_EXPORT internalBuildStr( LPCTSTR pFormat, va_list argptr )";
constexpr char SAFE_COPY[] = "From BOOL SafeCopy( LPTSTR pDest, LPCTSTR pSource, LONG lDestSize )";
constexpr char TOO_LARGE[] = " Error: uTempSize > uMaxBufSize";

// Without the compiler's look at the format, some of which are wrong on purpose.
LPCTSTR Build( LPCTSTR pFormat, ... )
{
    va_list aArguments;
    va_start( aArguments, pFormat );
    const LPCTSTR pText = internalBuildStr( pFormat, aArguments );
    va_end( aArguments );
    return pText;
}

// A text of that many characters, formatted.
LPCTSTR BuildLength( int nLength )
{
    return Build( "%*d", nLength, 7 );
}

} // namespace

TEST( TextBuffers, GrowWithAndWithoutTheirContents )
{
    DebugRecorder aRecorder;
    ULONG uSize = 4;
    LPTSTR pBuffer = MyTCHARFactory( uSize );
    std::memcpy( pBuffer, "abc", 4 );
    EXPECT_TRUE( EpandTCHARBuffer( TRUE, &uSize, 3, 7, &pBuffer ) );
    EXPECT_EQ( 7u, uSize );
    EXPECT_STREQ( "abc", pBuffer );
    EXPECT_TRUE( EpandTCHARBuffer( FALSE, &uSize, 31737, 32000, &pBuffer ) );
    EXPECT_EQ( 31744u, uSize );
    std::memset( pBuffer, 'x', uSize );
    EXPECT_TRUE( aRecorder.Silent() );

    const LPTSTR pBefore = pBuffer;
    EXPECT_FALSE( EpandTCHARBuffer( FALSE, &uSize, 1024, 32000, &pBuffer ) );
    EXPECT_TRUE( aRecorder.OnlyReport( EXPAND, TOO_LARGE ) );
    EXPECT_FALSE( EpandTCHARBuffer( TRUE, &uSize, 0xFFFFFFFF, 0xFFFFFFFF, &pBuffer ) ) << "beyond 32 bits";
    EXPECT_TRUE( aRecorder.OnlyReport( EXPAND, TOO_LARGE ) );
    EXPECT_EQ( pBefore, pBuffer );
    EXPECT_EQ( 31744u, uSize );
    EXPECT_TRUE( MyTCHARDeleter( pBuffer ) );

    pBuffer = NULL;
    uSize = 0;
    EXPECT_TRUE( EpandTCHARBuffer( TRUE, &uSize, 10, 10, &pBuffer ) ) << "from nothing";
    EXPECT_TRUE( MyTCHARDeleter( pBuffer ) );
    EXPECT_TRUE( MyTCHARDeleter( NULL ) );
    EXPECT_TRUE( aRecorder.Silent() );
    EXPECT_FALSE( EpandTCHARBuffer( TRUE, NULL, 1, 1, &pBuffer ) );
    EXPECT_TRUE( aRecorder.OnlyReport( EXPAND, " Error: puBufferSize == NULL || ppBuffer == NULL" ) );
}

TEST( SafeCopy, CutsTerminatesAndSaysSo )
{
    constexpr char CUT[] = " Warning: lLenSource > ( lDestSize - 1 ) -> destination buffer is too small";
    constexpr char NOTHING_GIVEN[] = " Error: pDest == NULL || pSource == NULL";
    struct Case
    {
        LPCTSTR pSource;
        LONG lSize;
        LPCTSTR pCopied;
        LPCTSTR pReport; // NULL: none
    };
    DebugRecorder aRecorder;
    char szDest[8];
    for ( const Case& rCase :
          { Case{ "abcdefg", 8, "abcdefg", NULL }, Case{ "", 1, "", NULL },
            Case{ "abcdefgh", 8, "abcdefg", CUT }, Case{ "x", 1, "", CUT },
            Case{ "x", 0, "#", " Error: lDestSize <= 0" }, Case{ NULL, 5, "#", NOTHING_GIVEN } } )
    {
        std::strcpy( szDest, "#" );
        EXPECT_EQ( rCase.pReport == NULL, SafeCopy( szDest, rCase.pSource, rCase.lSize ) != FALSE );
        EXPECT_STREQ( rCase.pCopied, szDest );
        EXPECT_TRUE( rCase.pReport == NULL ? aRecorder.Silent()
                                           : aRecorder.OnlyReport( SAFE_COPY, rCase.pReport ) );
    }
    EXPECT_FALSE( SafeCopy( NULL, "x", 5 ) );
    EXPECT_TRUE( aRecorder.OnlyReport( SAFE_COPY, NOTHING_GIVEN ) );
    EXPECT_TRUE( SafeCopy( szDest, std::string( 65536 + 3, 'y' ).c_str(), 8 ) )
        << "the length counts modulo 65,536";
    EXPECT_STREQ( "yyy", szDest );
}

TEST( BuildStr, FormatsIntoTheThreadsBuffer )
{
    DebugRecorder aRecorder;
    const LPCTSTR pText = Build( "%s|%lu|%-4hd|%08.3f|%lld|%zu", "text", 4294967295ul,
                                 static_cast<short>( -7 ), 2.5, -5000000000LL, static_cast<size_t>( 9 ) );
    EXPECT_STREQ( "text|4294967295|-7  |0002.500|-5000000000|9", pText );
    EXPECT_EQ( pText, Build( "%d", 1 ) ) << "the same buffer for the next text";
    EXPECT_STREQ( "1", pText );
    OnOtherThread( [&] { EXPECT_NE( pText, Build( "%d", 2 ) ); } );
    EXPECT_STREQ( "1", pText );
    EXPECT_TRUE( aRecorder.Silent() );

    EXPECT_STREQ( "", Build( "%s", "" ) );
    EXPECT_EQ( NULL, Build( NULL ) );
    EXPECT_TRUE( aRecorder.OnlyReport( BUILD, " Error: argptr == NULL || pFormat == NULL" ) );
    EXPECT_EQ( NULL, Build( "" ) );
    EXPECT_TRUE( aRecorder.OnlyReport( BUILD, " Error: STRLEN( pFormat ) == 0" ) );
}

// Each on a thread of its own, whose scratch buffers are fresh.
TEST( BuildStr, GrowsInStepsAndKeepsWhatItReached )
{
    const auto Grow = []
    {
        DebugRecorder aRecorder;
        BUFFServer& rServer = *GetBUFFServer();
        const std::pair<int, ULONG> aSteps[] = { { 1022, 1024 },
                                                 { 1023, 2048 } /* one less counts as not fitting */,
                                                 { 3000, 3072 } };
        for ( const auto& [nLength, ulSize] : aSteps )
        {
            EXPECT_EQ( size_t( nLength ), std::strlen( BuildLength( nLength ) ) );
            EXPECT_EQ( ulSize, rServer.GetTextBufferSize( OBJTYPE_BUF_FUNC_VSNPRINTF ) );
        }
        EXPECT_EQ( BuildLength( 3000 ), rServer.GetTextBuffer( OBJTYPE_BUF_FUNC_VSNPRINTF ) );
        EXPECT_EQ( 1024u, rServer.GetTextBufferSize( 2 ) ) << "each function id has a buffer of its own";
        EXPECT_TRUE( aRecorder.Silent() );
    };
    OnOtherThread( Grow );
}

TEST( BuildStr, GivesUpAfterTwentyAttempts )
{
    OnOtherThread( [] { EXPECT_EQ( 20478u, std::strlen( BuildLength( 20478 ) ) ); } );
    const auto GiveUp = []
    {
        DebugRecorder aRecorder;
        EXPECT_EQ( NULL, BuildLength( 20479 ) );
        EXPECT_TRUE( aRecorder.OnlyReport( BUILD, " Error: ++i >= MAX_ATTEMPT" ) );
        EXPECT_EQ( 20479u, std::strlen( BuildLength( 20479 ) ) ) << "a buffer that has grown reaches further";
        EXPECT_TRUE( aRecorder.Silent() );
        EXPECT_EQ( NULL, BuildLength( 40000 ) );
        EXPECT_TRUE( aRecorder.OnlyReports(
            { { EXPAND, TOO_LARGE },
              { OBJECT_EXPAND, " Error: !EpandTCHARBuffer(...) failed" },
              { BUILD,
                " Error: !( fStat = pBUFFServer->EpandBuffer( OBJTYPE_BUF_FUNC_VSNPRINTF, FALSE ) )" } } ) );
    };
    OnOtherThread( GiveUp );
}

TEST( BufferObject, GrowsByOneStepAndCutsTheTextToIt )
{
    DebugRecorder aRecorder;
    HookRecorder aHooks;
    BUFFServer aServer;
    internalBufferObj& rBuffer = *aServer.GetObject( 7 );
    EXPECT_EQ( &rBuffer, aServer.GetObject( 7 ) );
    rBuffer.SetFuncPtr( &HookRecorder::Debug, NULL );
    EXPECT_TRUE( rBuffer.SetNewBufferSize( 1024, FALSE ) );
    EXPECT_EQ( 1024u, rBuffer.GetTextBufferSize() );
    EXPECT_TRUE( rBuffer.SetNewBufferSize( 5000, TRUE ) );
    EXPECT_EQ( 2048u, rBuffer.GetTextBufferSize() );
    rBuffer.BufferObj::operator=( std::string( 5000, 'x' ).c_str() );
    EXPECT_EQ( 3072u, rBuffer.GetTextBufferSize() );
    EXPECT_EQ( std::string( 3071, 'x' ), aServer.GetTextBuffer( 7 ) );
    rBuffer.BufferObj::operator=( "short" );
    EXPECT_STREQ( "short", aServer.GetTextBuffer( 7 ) );
    EXPECT_TRUE( aHooks.Silent() );

    constexpr char ASSIGN[] = "From BufferObj& BufferObj::operator=( LPCTSTR pData )";
    rBuffer.BufferObj::operator=( static_cast<LPCTSTR>( NULL ) );
    EXPECT_TRUE( aHooks.OnlyReport( ASSIGN, " Error: pData == NULL" ) );
    rBuffer.BufferObj::operator=( aServer.GetTextBuffer( 7 ) );
    EXPECT_TRUE( aHooks.OnlyReport( ASSIGN, " Warning: m_pDbgTextBuffer == pData" ) );
    while ( rBuffer.GetTextBufferSize() < 31744 )
        ASSERT_TRUE( rBuffer.EpandBuffer( TRUE ) );
    EXPECT_TRUE( aRecorder.Silent() );
    rBuffer.BufferObj::operator=( std::string( 40000, 'x' ).c_str() );
    EXPECT_TRUE(
        aHooks.OnlyReports( { { OBJECT_EXPAND, " Error: !EpandTCHARBuffer(...) failed" },
                              { "From BOOL BufferObj::SetNewBufferSize( ULONG uNewSize, BOOL fWithCopy )",
                                " Error: !EpandBuffer( fWithCopy )" },
                              { ASSIGN, " Error: !SetNewBufferSize( uNewSize + 1, FALSE )" } } ) );
    EXPECT_TRUE( aRecorder.OnlyReport( EXPAND, TOO_LARGE ) );
    EXPECT_STREQ( "short", aServer.GetTextBuffer( 7 ) );
}

TEST( BufferObject, CopyingIsNotWritten )
{
    DebugRecorder aRecorder;
    const BufferObj aOriginal;
    BufferObj aCopy( aOriginal );
    EXPECT_EQ(
        "BXTOOLS.DLL -> BufferObj( const BufferObj& aCopyConstObj ) -> !!!!!!!!!!! THIS FUNCTION NEEDS SOME "
        "CODING !!!!!!!!!!!\r\n",
        aRecorder.Take() );
    EXPECT_TRUE( aCopy.EpandBuffer( TRUE ) ) << "it has no buffer, and can get one";
    EXPECT_EQ( 1024u, aCopy.GetTextBufferSize() );
}
