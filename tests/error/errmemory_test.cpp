// Each allocation of each operation fails once: the call then gives FALSE with a report, nothing is lost that the
// call had not taken, nothing leaks, and the next call works.
#include "error/errserver.h"
#include "error/records.h"
#include "support/failnew.h"
#include "support/recorder.h"
#include "support/threads.h"

#include <bxtools/errclient.h>
#include <bxtools/nlsserver.h>

#include <gtest/gtest.h>

#include <functional>

namespace
{

const std::string LONG_TEXT( 300, 'x' );
const std::string LONG_RECORD =
    "1.0.0+?+C" + LONG_TEXT + "+?+1+?+2+?+" + LONG_TEXT + "+?++?+" + LONG_TEXT + "!;!b";

// Each test leaves as much memory in use as it found.
class ErrMemory : public ::testing::Test
{
protected:
    // What a thread keeps from its first lookup on is no leak.
    ErrMemory()
    {
        const NlsSettings aNoTexts;
        SetNlsSettings( &aNoTexts );
        static_cast<void>( ErrObjectClient() );
        SetNlsSettings( NULL );
        m_lBefore = NewOutstanding();
    }
    void TearDown() override { EXPECT_EQ( m_lBefore, NewOutstanding() ); }

private:
    long m_lBefore = 0;
};

// Fails each allocation of aOperation once. aCheck is run after each failure.
void FailEachAllocation(
    const std::function<BOOL()>& aOperation, const std::function<void()>& aCheck = [] {} )
{
    DebugRecorder aDebug;
    const auto RunOnce = [&]( NewFault& rFault )
    {
        const BOOL fDone = rFault.During( aOperation );
        EXPECT_NE( rFault.Hit(), fDone != FALSE );
        EXPECT_EQ( rFault.Hit(), !aDebug.Take().empty() );
        if ( rFault.Hit() )
            aCheck();
    };
    EXPECT_GT( ForEachFailingNew( RunOnce ), 0u );
}

TEST_F( ErrMemory, PushingLeavesTheOlderErrors )
{
    ERRServer aServer;
    const MString aText = ToMString( LONG_TEXT );
    ASSERT_TRUE( aServer.SetLastErr( "TEST.CLASS", 0, 0, "origin", "", "" ) );
    const auto DeleteNewError = [&]
    {
        // Also one that could not be filled stays on the stack.
        while ( aServer.ItemCount() > 1 )
            aServer.DeleteError( 1 );
    };
    FailEachAllocation( [&] { return aServer.SetLastErr( LONG_TEXT.c_str(), 1, 2, aText, aText, aText ); },
                        DeleteNewError );
    DeleteNewError();
    MString aStream;
    EXPECT_TRUE( aServer.AllErrors2Stream( aStream ) );
    EXPECT_EQ( StreamOf( { NumberedRecord( 0 ) } ), ToText( aStream ) );
}

TEST_F( ErrMemory, TakingTheStackEmptiesIt )
{
    ERRServer aServer;
    const auto TakeOnce = [&]( NewFault& rFault )
    {
        for ( ERR lNumber : { 0, 1 } )
            ASSERT_TRUE( aServer.SetLastErr( "TEST.CLASS", lNumber, 0, "origin", "", "" ) );
        MString aStream( "as it was" );
        const BOOL fTaken = rFault.During( [&] { return aServer.AllErrors2Stream( aStream ); } );
        EXPECT_NE( rFault.Hit(), fTaken != FALSE );
        EXPECT_EQ( 0u, aServer.ItemCount() );
        EXPECT_EQ( fTaken ? StreamOf( { NumberedRecord( 0 ), NumberedRecord( 1 ) } ) : "as it was",
                   ToText( aStream ) );
    };
    EXPECT_GT( ForEachFailingNew( TakeOnce ), 0u );
}

TEST_F( ErrMemory, RecordsStayUsable )
{
    const MString aText = ToMString( LONG_RECORD );
    // Where only the parameters fail, the record counts as filled all the same.
    BOOL fFilled = FALSE;
    const auto ReadNew = [&]
    {
        OpenRecord aNew;
        const BOOL fRead = aNew.FromStream( aText );
        fFilled = aNew.IsInitialized();
        EXPECT_TRUE( fRead || aNew.List() == NULL );
        return fRead;
    };
    bool fLastFailureFilled = false;
    FailEachAllocation( ReadNew, [&] { fLastFailureFilled = fFilled != FALSE; } );
    EXPECT_TRUE( fLastFailureFilled );
    OpenRecord aRecord;
    FailEachAllocation( [&] { return aRecord.FromStream( aText ); } );
    MString aWritten( "as it was" );
    FailEachAllocation( [&] { return aRecord.ToStream( aWritten ); },
                        [&] { EXPECT_STREQ( "as it was", aWritten ); } );
    EXPECT_EQ( LONG_RECORD, ToText( aWritten ) );
    FailEachAllocation( [&] { return BOOL( aRecord.List()->GetItem( 1 ) != NULL ); },
                        [&] { EXPECT_EQ( LONG_RECORD, aRecord.Text() ); } );

    DebugRecorder aDebug;
    const auto AssignOnce = [&]( NewFault& rFault )
    {
        OpenRecord aTarget;
        rFault.Arm();
        aTarget = aRecord;
        rFault.Disarm();
        EXPECT_EQ( rFault.Hit(), !aDebug.Take().empty() );
        EXPECT_EQ( rFault.Hit(), aTarget.Parameters() != aRecord.Parameters() );
    };
    ForEachFailingNew( AssignOnce );
}

TEST_F( ErrMemory, StreamsAndTextsStayAsTheyWere )
{
    const std::string strStream = StreamOf( { LONG_RECORD, NumberedRecord( 1 ) } );
    const MString aAdded = ToMString( LONG_RECORD );
    OpenRecord aRecord( LONG_RECORD );
    MString aText;
    ULONG ulIndex = 0;
    BOOL fFound = FALSE;
    const std::function<BOOL()> aOperations[] = {
        [&] { return ReverseStream( aText ); }, [&] { return Append2Stream( aText, aAdded ); },
        [&] { return FindObjectInStream( ulIndex, aRecord, aText ); },
        [&] { return AppendLastErrMsg( aText, 2, fFound ); },
        [&] { return AddErrorTextParams( aAdded, aAdded, aText ); }
    };
    for ( const std::function<BOOL()>& aOperation : aOperations )
    {
        aText = ToMString( strStream );
        FailEachAllocation( aOperation, [&] { EXPECT_EQ( strStream, ToText( aText ) ); } );
    }
}

// The first call of a thread makes what the thread needs, too.
TEST( ErrMemoryOfThread, FirstCallsSucceedOrFail )
{
    const auto CallFirst = []
    {
        FailEachAllocation( [] { return SetLastErr( "TEST.CLASS", 3, 0, "origin", "", "" ); },
                            [] { ClearErrors(); } );
        MString aText;
        EXPECT_TRUE( Error2Stream( aText, 0 ) );
        EXPECT_EQ( NumberedRecord( 3 ), ToText( aText ) );
        // The scratch buffer may come at the second attempt: empty or whole, as the result says.
        const auto BuildOnce = [&]( NewFault& rFault )
        {
            const BOOL fBuilt =
                rFault.During( [&] { return SetErrorTextParams( aText, "%s", LONG_TEXT.c_str() ); } );
            EXPECT_EQ( fBuilt ? LONG_TEXT : "", ToText( aText ) );
            EXPECT_TRUE( fBuilt || rFault.Hit() );
        };
        ForEachFailingNew( BuildOnce );
    };
    OnOtherThread( CallFirst );
}

// What cannot be looked up is as if it were not there; a text that cannot be put together is not given.
TEST_F( ErrMemory, ATranslationIsWholeOrMissing )
{
    const NlsSettings aNoTexts;
    SetNlsSettings( &aNoTexts );
    const auto Translate = []( ErrObjectClient& rClient, MString& rText )
    {
        return rClient.GetTranslatedErrText( rText ) && rClient.GetDetailsErrText( rText ) &&
               rClient.GetTranslatedErrText( rText );
    };
    ErrObjectClient aWhole;
    MString aExpected;
    ASSERT_TRUE( aWhole.FromStream( ToMString( LONG_RECORD ) ) && Translate( aWhole, aExpected ) );
    unsigned uMissing = 0;
    const auto TranslateOnce = [&]( NewFault& rFault )
    {
        ErrObjectClient aClient;
        ASSERT_TRUE( aClient.FromStream( ToMString( LONG_RECORD ) ) );
        MString aText( "as it was" );
        if ( !rFault.During( [&] { return Translate( aClient, aText ); } ) )
        {
            EXPECT_TRUE( rFault.Hit() );
            ++uMissing;
            EXPECT_TRUE( Translate( aClient, aText ) );
        }
        EXPECT_EQ( ToText( aExpected ), ToText( aText ) );
    };
    EXPECT_GT( ForEachFailingNew( TranslateOnce ), 0u );
    EXPECT_GT( uMissing, 0u );
    SetNlsSettings( NULL );
}

} // namespace
