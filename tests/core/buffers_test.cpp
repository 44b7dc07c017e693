// Text buffers and what is written into them: formatted texts, copies, escapes.
#include "core/buffserver.h"
#include "support/failnew.h"
#include "support/recorder.h"
#include "support/threads.h"

#include <bxtools/buffers.h>
#include <bxtools/mstring.h>

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstring>
#include <string>
#include <tuple>
#include <utility>

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

// Length of a text that was formatted to that many characters; 0 when it was not.
size_t BuildLength( int nLength )
{
    const LPCTSTR pText = Build( "%*d", nLength, 7 );
    return pText != NULL ? std::strlen( pText ) : 0;
}

// Both forms give the same.
std::string Converted( const std::string& strText )
{
    std::string strInPlace( strText );
    ReplaceAllBackSlashChars( strInPlace.data() );
    MString aString( strText.c_str() );
    ReplaceAllBackSlashChars( aString );
    EXPECT_STREQ( strInPlace.c_str(), aString );
    return aString.data();
}

struct TextBuffers : ::testing::Test
{
    DebugRecorder m_aDebug;
};

} // namespace

TEST_F( TextBuffers, GrowWithAndWithoutTheirContents )
{
    LPTSTR pBuffer = NULL;
    ULONG uSize = 0;
    EXPECT_TRUE( EpandTCHARBuffer( TRUE, &uSize, 4, 4, &pBuffer ) ) << "from nothing";
    std::memcpy( pBuffer, "abc", 4 );
    EXPECT_TRUE( EpandTCHARBuffer( TRUE, &uSize, 3, 7, &pBuffer ) );
    EXPECT_EQ( 7u, uSize );
    EXPECT_STREQ( "abc", pBuffer );
    EXPECT_TRUE( EpandTCHARBuffer( FALSE, &uSize, 31737, 32000, &pBuffer ) );
    std::memset( pBuffer, 'x', 31744 );
    const LPTSTR pBefore = pBuffer;
    for ( const auto& [uExpand, uLimit] : { std::pair( 1024u, 32000u ), std::pair( ~0u, ~0u ) } )
    {
        EXPECT_FALSE( EpandTCHARBuffer( TRUE, &uSize, uExpand, uLimit, &pBuffer ) );
        EXPECT_TRUE( m_aDebug.OnlyReport( EXPAND, TOO_LARGE ) );
    }
    EXPECT_EQ( pBefore, pBuffer );
    EXPECT_EQ( 31744u, uSize );
    EXPECT_FALSE( EpandTCHARBuffer( TRUE, NULL, 1, 1, &pBuffer ) );
    EXPECT_TRUE( m_aDebug.OnlyReport( EXPAND, " Error: puBufferSize == NULL || ppBuffer == NULL" ) );
    EXPECT_TRUE( MyTCHARDeleter( pBuffer ) && MyTCHARDeleter( NULL ) );
}

TEST_F( TextBuffers, SafeCopyCutsTerminatesAndSaysSo )
{
    constexpr char CUT[] = " Warning: lLenSource > ( lDestSize - 1 ) -> destination buffer is too small";
    constexpr char NOTHING_GIVEN[] = " Error: pDest == NULL || pSource == NULL";
    const std::string strLong( 65536 + 3, 'y' );
    char szDest[8];
    // What is copied to how many characters, what then stands there, and the report; NULL: none.
    const std::tuple<LPTSTR, LPCTSTR, LONG, LPCTSTR, LPCTSTR> aCases[] = {
        { szDest, "abcdefg", 8, "abcdefg", NULL },
        { szDest, "", 1, "", NULL },
        { szDest, "abcdefgh", 8, "abcdefg", CUT },
        { szDest, "x", 1, "", CUT },
        { szDest, "x", 0, "#", " Error: lDestSize <= 0" },
        { szDest, NULL, 5, "#", NOTHING_GIVEN },
        { NULL, "x", 5, "#", NOTHING_GIVEN },
        { szDest, strLong.c_str(), 8, "yyy", NULL } // modulo 65,536
    };
    for ( const auto& [pDest, pSource, lSize, pCopied, pReport] : aCases )
    {
        std::strcpy( szDest, "#" );
        EXPECT_EQ( pReport == NULL, SafeCopy( pDest, pSource, lSize ) != FALSE );
        EXPECT_STREQ( pCopied, szDest );
        EXPECT_TRUE( pReport == NULL ? m_aDebug.Silent() : m_aDebug.OnlyReport( SAFE_COPY, pReport ) );
    }
}

TEST_F( TextBuffers, FormatGoesIntoTheThreadsBuffer )
{
    const LPCTSTR pText = Build( "%s|%lld|%08.3f", "text", -5000000000LL, 2.5 );
    EXPECT_STREQ( "text|-5000000000|0002.500", pText );
    EXPECT_EQ( pText, Build( "%d", 1 ) ) << "the same buffer for the next text";
    EXPECT_STREQ( "1", pText );
    OnOtherThread( [&] { EXPECT_NE( pText, Build( "%d", 2 ) ); } );
    EXPECT_STREQ( "1", pText );
    EXPECT_STREQ( "", Build( "%s", "" ) );
    EXPECT_EQ( NULL, Build( NULL ) );
    EXPECT_TRUE( m_aDebug.OnlyReport( BUILD, " Error: argptr == NULL || pFormat == NULL" ) );
    EXPECT_EQ( NULL, Build( "" ) );
    EXPECT_TRUE( m_aDebug.OnlyReport( BUILD, " Error: STRLEN( pFormat ) == 0" ) );
}

// Each thread has buffers of its own, which begin small.
TEST_F( TextBuffers, FormatGrowsInStepsKeepsWhatItReachedAndGivesUpAfterTwenty )
{
    const auto Grow = []
    {
        BUFFServer& rServer = *GetBUFFServer();
        // One character less than the buffer holds counts as not fitting.
        for ( const auto& [nLength, ulSize] :
              { std::pair( 1022, 1024u ), std::pair( 1023, 2048u ), std::pair( 3000, 3072u ) } )
        {
            EXPECT_EQ( size_t( nLength ), BuildLength( nLength ) );
            EXPECT_EQ( ulSize, rServer.GetTextBufferSize( OBJTYPE_BUF_FUNC_VSNPRINTF ) );
        }
        EXPECT_EQ( Build( "text" ), rServer.GetTextBuffer( OBJTYPE_BUF_FUNC_VSNPRINTF ) );
        EXPECT_EQ( 1024u, rServer.GetTextBufferSize( 2 ) ) << "each function id has a buffer of its own";
    };
    OnOtherThread( Grow );
    OnOtherThread( [] { EXPECT_EQ( 20478u, BuildLength( 20478 ) ); } );
    const auto GiveUp = [&]
    {
        EXPECT_EQ( 0u, BuildLength( 20479 ) );
        EXPECT_TRUE( m_aDebug.OnlyReport( BUILD, " Error: ++i >= MAX_ATTEMPT" ) );
        EXPECT_EQ( 20479u, BuildLength( 20479 ) ) << "a buffer that has grown reaches further";
        EXPECT_EQ( 0u, BuildLength( 40000 ) );
        EXPECT_TRUE( m_aDebug.OnlyReports(
            { { EXPAND, TOO_LARGE },
              { OBJECT_EXPAND, " Error: !EpandTCHARBuffer(...) failed" },
              { BUILD,
                " Error: !( fStat = pBUFFServer->EpandBuffer( OBJTYPE_BUF_FUNC_VSNPRINTF, FALSE ) )" } } ) );
    };
    OnOtherThread( GiveUp );
}

TEST_F( TextBuffers, BufferObjectGrowsByOneStepAndCutsTheTextToIt )
{
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

    constexpr char ASSIGN[] = "From BufferObj& BufferObj::operator=( LPCTSTR pData )";
    rBuffer.BufferObj::operator=( static_cast<LPCTSTR>( NULL ) );
    EXPECT_TRUE( aHooks.OnlyReport( ASSIGN, " Error: pData == NULL" ) );
    rBuffer.BufferObj::operator=( aServer.GetTextBuffer( 7 ) );
    EXPECT_TRUE( aHooks.OnlyReport( ASSIGN, " Warning: m_pDbgTextBuffer == pData" ) );
    while ( rBuffer.GetTextBufferSize() < 31744 )
        ASSERT_TRUE( rBuffer.EpandBuffer( TRUE ) );
    rBuffer.BufferObj::operator=( std::string( 40000, 'x' ).c_str() );
    EXPECT_TRUE(
        aHooks.OnlyReports( { { OBJECT_EXPAND, " Error: !EpandTCHARBuffer(...) failed" },
                              { "From BOOL BufferObj::SetNewBufferSize( ULONG uNewSize, BOOL fWithCopy )",
                                " Error: !EpandBuffer( fWithCopy )" },
                              { ASSIGN, " Error: !SetNewBufferSize( uNewSize + 1, FALSE )" } } ) );
    EXPECT_TRUE( m_aDebug.OnlyReport( EXPAND, TOO_LARGE ) );
    EXPECT_STREQ( "short", aServer.GetTextBuffer( 7 ) );
}

TEST_F( TextBuffers, BufferObjectIsNotCopied )
{
    const BufferObj aOriginal;
    BufferObj aCopy( aOriginal );
    EXPECT_EQ(
        "BXTOOLS.DLL -> BufferObj( const BufferObj& aCopyConstObj ) -> !!!!!!!!!!! THIS FUNCTION NEEDS SOME "
        "CODING !!!!!!!!!!!\r\n",
        m_aDebug.Take() );
    EXPECT_TRUE( aCopy.EpandBuffer( TRUE ) ) << "it has no buffer, and can get one";
    EXPECT_EQ( 1024u, aCopy.GetTextBufferSize() );
}

TEST_F( TextBuffers, EscapesBecomeTheirCharacters )
{
    const std::pair<const char*, const char*> aCases[] = { { "a\\tb", "a\tb" },
                                                           { "\\a\\b\\f\\n\\r\\t\\v", "\a\b\f\n\r\t\v" },
                                                           { "\\A\\N\\T", "\a\n\t" },
                                                           { "one\\0two", "one" },
                                                           { "", "" },
                                                           { "%zx\\ty%Z", "x\\ty" },
                                                           { "%z%z\\t", "\t" },
                                                           { "\\t%z\\t%z\\t", "\t\\t\t" },
                                                           { "50%", "50" },
                                                           { "50% x%y", "50% x%y" },
                                                           { "path\\", "path" },
                                                           { "%zpath\\", "path" },
                                                           { "\\", "\\" },
                                                           { "%z", "%z" },
                                                           { "%z%z", "%z%z" },
                                                           { "%", "%" } };
    for ( const auto& [pText, pExpected] : aCases )
        EXPECT_EQ( pExpected, Converted( pText ) ) << pText;
}

TEST_F( TextBuffers, UnknownEscapesAreReportedAndStay )
{
    constexpr char HEADER[] = "From static BOOL GetValidSign( TCHAR& cSign )";
    char szText[] = "\\Q\\\\n\\\xE4";
    ReplaceAllBackSlashChars( szText );
    EXPECT_STREQ( "\\Q\\\n\\\xE4", szText );
    EXPECT_TRUE( m_aDebug.OnlyReports( { { HEADER, "LocalSign = Q not supported" },
                                         { HEADER, "LocalSign = \\ not supported" },
                                         { HEADER, "LocalSign = \xE4 not supported" } } ) );
    ReplaceAllBackSlashChars( static_cast<LPTSTR>( NULL ) );
    EXPECT_TRUE( m_aDebug.OnlyReport( "From ReplaceAllBackSlashChars(...)", " Error: pszStr == NULL" ) );
}

TEST( OutOfMemory, TextBuffersReportAndStayConsistent )
{
    DebugRecorder aRecorder;
    for ( const BOOL fWithCopy : { TRUE, FALSE } )
    {
        const auto Expand = [&]( NewFault& rFault )
        {
            ULONG uSize = 4;
            LPTSTR pBuffer = MyTCHARFactory( uSize );
            std::memcpy( pBuffer, "abc", 4 );
            const BOOL fDone =
                rFault.During( [&] { return EpandTCHARBuffer( fWithCopy, &uSize, 4, 8, &pBuffer ); } );
            EXPECT_NE( rFault.Hit(), fDone != FALSE );
            EXPECT_EQ( fDone ? 8u : fWithCopy ? 4u : 0u, uSize );
            EXPECT_EQ( !fDone && !fWithCopy, pBuffer == NULL );
            MyTCHARDeleter( pBuffer );
        };
        EXPECT_EQ( 1u, ForEachFailingNew( Expand ) );
    }
    EXPECT_TRUE( aRecorder.Take().starts_with(
        "BXTOOLS.DLL -> From DLL_EXPORT_MOD LPTSTR DLL_EXPORT MyTCHARFactory( ULONG ulSize )\r\n"
        " Error: pRet = aFactory.CreateVector( usSize ) failed -> memory exception\r\n" ) );
}

TEST( OutOfMemory, AThreadThatRanOutFormatsAgainWhenThereIsMemory )
{
    DebugRecorder aRecorder;
    unsigned long ulFailures = 0;
    // Each time a new thread, which has no buffers yet. What it makes for itself first may be tried twice, so that a
    // failed allocation need not fail the call.
    const auto FormatOnce = [&]( NewFault& rFault )
    {
        const bool fBuilt = rFault.During( [] { return BuildLength( 5000 ); } ) != 0;
        EXPECT_TRUE( fBuilt ? rFault.Hit() || aRecorder.Silent() : !aRecorder.Take().empty() );
        ulFailures += !fBuilt;
        BuildLength( 1 );
        EXPECT_STREQ( "7", Build( "%d", 7 ) );
        const unsigned long ulBefore = NewCount();
        BuildLength( 900 );
        EXPECT_EQ( ulBefore, NewCount() ) << "nothing is allocated in the steady state";
        aRecorder.Take();
    };
    ForEachFailingNew( [&]( NewFault& rFault ) { OnOtherThread( [&] { FormatOnce( rFault ); } ); } );
    EXPECT_GE( ulFailures, 5u );
}
