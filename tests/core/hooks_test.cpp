#include "core/callreport.h"
#include "support/recorder.h"

#include <bxtools/platform.h>

#include <gtest/gtest.h>

#include <new>
#include <string>

namespace
{

constexpr char TODO_END[] = " -> !!!!!!!!!!! THIS FUNCTION NEEDS SOME CODING !!!!!!!!!!!";
constexpr char HEADER[] = "From BOOL Probe::Call()";

class Probe : public BaseObject
{
public:
    using BaseObject::BaseObject;

    LPCTSTR Header() const { return m_pHeader; }
    LPCTSTR Out() const { return m_pOut; }

    template <class Body>
    auto Call( Body aBody )
    {
        CallReport aReport( *this, HEADER );
        return aBody( aReport );
    }
    void CallConst() const { CallReport( *this, HEADER ); }
};

} // namespace

TEST( Hooks, DebugPutsTheStoredTextsInWhereThereIsADebugHook )
{
    HookRecorder aHooks;
    Probe aProbe( &HookRecorder::Debug, NULL );
    aProbe.SetHeader( "h" );
    aProbe.SetOut( "o" );
    aProbe.Debug( NULL, NULL, FALSE );
    EXPECT_TRUE( aHooks.OnlyReport( "h", "o" ) );
    aProbe.Debug( "H", "O", FALSE );
    EXPECT_TRUE( aHooks.OnlyReport( "H", "O" ) );

    aProbe.SetLogFunc( &HookRecorder::Log );
    aProbe.Debug( NULL, "O", TRUE );
    EXPECT_EQ( ( std::vector<std::string>{ "%s\r\n%s\r\n|h|O" } ), aHooks.TakeLogLines() );
    EXPECT_EQ( 1u, aHooks.TakeReports().size() );

    aProbe.SetDbgFunc( NULL );
    aProbe.Debug( NULL, "O", TRUE );
    EXPECT_EQ( ( std::vector<std::string>{ "%s\r\n%s\r\n|(null)|O" } ), aHooks.TakeLogLines() );
    aProbe.Debug( "H", "O", FALSE );
    EXPECT_TRUE( aHooks.Silent() );

    aProbe.OnInit( &HookRecorder::Debug, NULL );
    EXPECT_EQ( NULL, aProbe.Header() );
    EXPECT_STREQ( "Nothing", aProbe.Out() );
}

TEST( Hooks, OnlyTheSecondBaseHasAHookOfItsOwn )
{
    struct Second : BaseObject2
    {
        using BaseObject2::BaseObject2;
        void Fail() { CallReport( *this, HEADER ).Fail( " Error: x" ); }
    };
    DebugRecorder aRecorder;
    Probe( NULL, NULL ).Call( []( CallReport& aReport ) { return aReport.Fail( " Error: x" ); } );
    EXPECT_TRUE( aRecorder.Silent() );
    Second().Fail();
    EXPECT_TRUE( aRecorder.OnlyReport( HEADER, " Error: x" ) );
    Second aSecond( NULL, NULL );
    aSecond.SetFuncPtr( NULL, NULL );
    aSecond.Fail();
    EXPECT_TRUE( aRecorder.OnlyReport( HEADER, " Error: x" ) );

    HookRecorder aHooks;
    aSecond.SetFuncPtr( &HookRecorder::Debug, NULL );
    Second( aSecond ).Fail();
    EXPECT_TRUE( aHooks.OnlyReport( HEADER, " Error: x" ) ) << "copies take the hooks along";
}

TEST( Hooks, ToDoMessageIsCutToItsLengthModulo65536 )
{
    HookRecorder aHooks;
    Probe aProbe( &HookRecorder::Debug, NULL );
    aProbe.SetHeader( "h" );
    aProbe.ToDoMessage( "Init" );
    EXPECT_TRUE( aHooks.OnlyReport( "h", std::string( "Init" ) + TODO_END ) );
    aProbe.ToDoMessage( NULL );
    EXPECT_TRUE( aHooks.OnlyReport( "h", TODO_END ) );
    const std::string strLong( 65536 + 10, 'x' );
    aProbe.ToDoMessage( strLong.c_str() );
    EXPECT_TRUE( aHooks.OnlyReport( "h", std::string( 10 + sizeof( TODO_END ) - 1, 'x' ) ) );
    Probe( NULL, NULL ).ToDoMessage( "Init" );
    EXPECT_TRUE( aHooks.Silent() );
}

TEST( Hooks, NoDbgFuncMessageReachesTheUserWithoutADisplay )
{
    DebugRecorder aRecorder;
    testing::internal::CaptureStderr();
    Probe( NULL, NULL ).NoDbgFuncMessage( "Init" );
    const std::string strShown = testing::internal::GetCapturedStderr();
    EXPECT_NE( std::string::npos, strShown.find( "Error" ) );
    EXPECT_NE( std::string::npos,
               strShown.find( "Init -> !!!!!!!!!!! THIS OBJECT HAS NO DEBUG FUNCTION !!!!!!!!!!!" ) );
    EXPECT_TRUE( aRecorder.Silent() );
}

TEST( Reports, AFailedCallReportsOnceAndASuccessfulOneNever )
{
    HookRecorder aHooks;
    Probe aProbe( &HookRecorder::Debug, NULL );
    EXPECT_FALSE( aProbe.Call(
        []( CallReport& rReport )
        {
            rReport.Warn( " Warning: w" );
            rReport.Tail( "a warning gives way" ).Fail( " Error: first" );
            return rReport.Fail( " Error: second" );
        } ) );
    EXPECT_TRUE( aHooks.OnlyReport( HEADER, " Error: first" ) );
    EXPECT_STREQ( HEADER, aProbe.Header() );
    EXPECT_STREQ( " Error: first", aProbe.Out() );
    aProbe.CallConst();
    EXPECT_STREQ( " Error: first", aProbe.Out() ) << "a const call that succeeds writes nothing";
    EXPECT_TRUE( aProbe.Call( []( CallReport& ) { return TRUE; } ) );
    EXPECT_STREQ( "Nothing", aProbe.Out() );
    EXPECT_TRUE( aHooks.Silent() );
    EXPECT_TRUE( aProbe.Call( []( CallReport& rReport ) { return rReport.Warn( " Warning: w" ); } ) );
    EXPECT_TRUE( aHooks.OnlyReport( HEADER, " Warning: w" ) );

    aProbe.Call(
        []( CallReport& rReport )
        {
            rReport.Fail( " Error: e" );
            rReport.Tail( ", a = " ).Tail( -5 ).Tail( ", b = " ).Tail( 4294967295u ).ReportNow();
            rReport.Fail( " Error: dropped" );
            rReport.Drop();
            return rReport.Fail( " Error: f" );
        } );
    EXPECT_TRUE(
        aHooks.OnlyReports( { { HEADER, " Error: e, a = -5, b = 4294967295" }, { HEADER, " Error: f" } } ) );
    EXPECT_STREQ( " Error: f", aProbe.Out() );
}

TEST( Reports, AnExceptionIsAFailureLikeAnyOther )
{
    HookRecorder aHooks;
    Probe aProbe( &HookRecorder::Debug, NULL );
    const auto Throw = []( CallReport& rReport )
    {
        return rReport.Guard( -1, " Error: own",
                              [&]() -> int
                              {
                                  rReport.Fail( " Error: on the way" );
                                  throw std::bad_alloc();
                              } );
    };
    EXPECT_EQ( -1, aProbe.Call( Throw ) );
    EXPECT_TRUE( aHooks.OnlyReport( HEADER, " Error: own" ) );
    EXPECT_FALSE(
        aProbe.Call( []( CallReport& rReport ) { return rReport.Guard( []() -> BOOL { throw 5; } ); } ) );
    EXPECT_TRUE( aHooks.OnlyReport( HEADER, "Severe error occurred executing this function" ) );
}

TEST( Reports, TheLastErrorSurvivesTheHook )
{
    Probe aProbe( []( LPCTSTR, LPCTSTR ) { SetLastError( 99 ); }, NULL );
    SetLastError( 5 );
    aProbe.Call( []( CallReport& aReport ) { return aReport.Fail( " Error: e" ); } );
    EXPECT_EQ( 5u, GetLastError() );
}
