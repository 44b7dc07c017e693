#include "error/errserver.h"
#include "error/records.h"
#include "support/recorder.h"
#include "support/threads.h"

#include <gtest/gtest.h>

namespace
{

TEST( ErrServer, KeepsTheFirstSeventyErrors )
{
    DebugRecorder aDebug;
    ERRServer aServer;
    MString aStream( "as it was" );
    EXPECT_TRUE( aServer.AllErrors2Stream( aStream ) );
    EXPECT_STREQ( "as it was", aStream ) << "an empty stack leaves the text alone";
    for ( ERR l = 0; l < 70; ++l )
        EXPECT_TRUE( aServer.SetLastErr( "TEST.CLASS", l, 0, "origin", "", "" ) );
    EXPECT_FALSE( aServer.SetLastErr( "TEST.CLASS", 70, 0, "", "", "" ) );
    EXPECT_TRUE( aDebug.OnlyReport(
        "From BOOL ERRServer::SetLastErr( LPCTSTR szCurErrCls, ERR lCurErr, DWORD dwSysLastErr, const MString& aOriginErrText, const MString& aOptionalText, const MString& aOptionalTextParams )",
        " Error: ItemCount() >= MAX_ERRORS_ONSTACK -> STACK OVERFLOW; too many error objects on stack" ) );
    EXPECT_TRUE( aServer.AllErrors2Stream( aStream ) );
    EXPECT_EQ( StreamOf( NumberedRecords( 70 ) ), ToText( aStream ) );
    EXPECT_EQ( 0u, aServer.ItemCount() );
}

TEST( ErrServer, SlotsAreMadeInOrder )
{
    DebugRecorder aDebug;
    const auto UseSlots = [&]
    {
        ERRServer* pFirst = GetERRServer( 3 );
        EXPECT_EQ( pFirst, GetERRServer( 0 ) ) << "the first one, whatever was asked for";
        EXPECT_TRUE( GetERRServer( 3 ) == NULL );
        for ( ULONG ulSlot = 1; ulSlot < MAX_ERROR_SLOTS_ONSTACK; ++ulSlot )
            EXPECT_TRUE( GetERRServer( ulSlot ) != NULL );
        EXPECT_TRUE( GetERRServer( 10 ) == NULL );
        constexpr char SLOT_HEADER[] = "From ERRServer* GetERRServer( ULONG ulSlotID )";
        EXPECT_TRUE( aDebug.OnlyReports(
            { { SLOT_HEADER, " Error: ( pERRServer = pErrList->GetItem( ulSlotID ) ) == NULL" },
              { SLOT_HEADER,
                " Error: lCount >= MAX_ERROR_SLOTS_ONSTACK -> STACK OVERFLOW; too many ERRServer objects on stack" } } ) );
    };
    // A thread of its own has no slots yet.
    OnOtherThread( UseSlots );
}

// What happens on the way to the record, on a thread's first error above all, must not change the last error.
TEST( ErrServer, TakesTheLastErrorOfTheCaller )
{
    const auto SetErrors = []
    {
        for ( DWORD dwError : { 2u, 1450u } )
        {
            SetLastError( dwError );
            EXPECT_TRUE( SetLastErr( "OTHER", 9, 0, "", "", "" ) );
            EXPECT_EQ( dwError, GetLastError() );
            EXPECT_TRUE( SetLastErr( ERRCLS_SYS_LASTERROR, 9, 0, "", "", "" ) );
            MString aText;
            EXPECT_TRUE( Error2Stream( aText, 1 ) );
            EXPECT_EQ( "1.0.0+?+BXTOOLS.ERRCLS_SYS_LASTERROR+?+9+?+" + std::to_string( dwError ) +
                           "+?++?++?+",
                       ToText( aText ) );
            EXPECT_TRUE( ClearErrors() );
        }
    };
    OnOtherThread( SetErrors );
}

} // namespace
