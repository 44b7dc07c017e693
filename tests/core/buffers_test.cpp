#include "core/buffserver.h"
#include "support/recorder.h"

#include <bxtools/buffers.h>

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstring>
#include <string>
#include <thread>

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

// Runs on a thread of its own, whose scratch buffers are fresh.
template <class Body>
void OnFreshThread( Body aBody )
{
    std::thread( aBody ).join();
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
    DebugRecorder aRecorder;
    char szDest[8] = "#######";
    EXPECT_TRUE( SafeCopy( szDest, "abcdefg", 8 ) );
    EXPECT_STREQ( "abcdefg", szDest );
    EXPECT_TRUE( SafeCopy( szDest, "", 1 ) );
    EXPECT_STREQ( "", szDest );
    EXPECT_TRUE( aRecorder.Silent() );

    constexpr char CUT[] = " Warning: lLenSource > ( lDestSize - 1 ) -> destination buffer is too small";
    EXPECT_FALSE( SafeCopy( szDest, "abcdefgh", 8 ) );
    EXPECT_TRUE( aRecorder.OnlyReport( SAFE_COPY, CUT ) );
    EXPECT_STREQ( "abcdefg", szDest );
    EXPECT_FALSE( SafeCopy( szDest, "x", 1 ) );
    EXPECT_TRUE( aRecorder.OnlyReport( SAFE_COPY, CUT ) );
    EXPECT_STREQ( "", szDest );

    szDest[0] = '#';
    EXPECT_FALSE( SafeCopy( szDest, "x", 0 ) );
    EXPECT_TRUE( aRecorder.OnlyReport( SAFE_COPY, " Error: lDestSize <= 0" ) );
    EXPECT_FALSE( SafeCopy( szDest, NULL, 5 ) );
    EXPECT_FALSE( SafeCopy( NULL, "x", 5 ) );
    constexpr char NOTHING_GIVEN[] = " Error: pDest == NULL || pSource == NULL";
    EXPECT_TRUE( aRecorder.OnlyReports( { { SAFE_COPY, NOTHING_GIVEN }, { SAFE_COPY, NOTHING_GIVEN } } ) );
    EXPECT_EQ( '#', szDest[0] );

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
    OnFreshThread( [&] { EXPECT_NE( pText, Build( "%d", 2 ) ); } );
    EXPECT_STREQ( "1", pText );
    EXPECT_TRUE( aRecorder.Silent() );

    EXPECT_STREQ( "", Build( "%s", "" ) );
    EXPECT_EQ( NULL, Build( NULL ) );
    EXPECT_TRUE( aRecorder.OnlyReport( BUILD, " Error: argptr == NULL || pFormat == NULL" ) );
    EXPECT_EQ( NULL, Build( "" ) );
    EXPECT_TRUE( aRecorder.OnlyReport( BUILD, " Error: STRLEN( pFormat ) == 0" ) );
}

TEST( BuildStr, GrowsInStepsAndKeepsWhatItReached )
{
    OnFreshThread(
        []
        {
            DebugRecorder aRecorder;
            BUFFServer& rServer = *GetBUFFServer();
            EXPECT_EQ( 1022u, std::strlen( BuildLength( 1022 ) ) );
            EXPECT_EQ( 1024u, rServer.GetTextBufferSize( OBJTYPE_BUF_FUNC_VSNPRINTF ) );
            EXPECT_EQ( 1023u, std::strlen( BuildLength( 1023 ) ) );
            EXPECT_EQ( 2048u, rServer.GetTextBufferSize( OBJTYPE_BUF_FUNC_VSNPRINTF ) )
                << "one less counts as not fitting";
            EXPECT_EQ( 3000u, std::strlen( BuildLength( 3000 ) ) );
            EXPECT_EQ( 3072u, rServer.GetTextBufferSize( OBJTYPE_BUF_FUNC_VSNPRINTF ) );
            const LPCTSTR pText = BuildLength( 3000 );
            EXPECT_EQ( pText, rServer.GetTextBuffer( OBJTYPE_BUF_FUNC_VSNPRINTF ) );
            EXPECT_EQ( 1024u, rServer.GetTextBufferSize( 2 ) ) << "each function id has a buffer of its own";
            EXPECT_TRUE( aRecorder.Silent() );
        } );
}

TEST( BuildStr, GivesUpAfterTwentyAttempts )
{
    OnFreshThread(
        []
        {
            DebugRecorder aRecorder;
            EXPECT_EQ( 20478u, std::strlen( BuildLength( 20478 ) ) );
            EXPECT_TRUE( aRecorder.Silent() );
        } );
    OnFreshThread(
        []
        {
            DebugRecorder aRecorder;
            EXPECT_EQ( NULL, BuildLength( 20479 ) );
            EXPECT_TRUE( aRecorder.OnlyReport( BUILD, " Error: ++i >= MAX_ATTEMPT" ) );
            EXPECT_EQ( 20479u, std::strlen( BuildLength( 20479 ) ) )
                << "a buffer that has grown reaches further";
            EXPECT_TRUE( aRecorder.Silent() );
            EXPECT_EQ( NULL, BuildLength( 40000 ) );
            EXPECT_TRUE( aRecorder.OnlyReports(
                { { EXPAND, TOO_LARGE },
                  { OBJECT_EXPAND, " Error: !EpandTCHARBuffer(...) failed" },
                  { BUILD,
                    " Error: !( fStat = pBUFFServer->EpandBuffer( OBJTYPE_BUF_FUNC_VSNPRINTF, FALSE ) )" } } ) );
        } );
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
