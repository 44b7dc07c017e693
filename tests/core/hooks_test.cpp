#include "core/callreport.h"
#include "support/recorder.h"
#include "support/shown.h"

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
};

struct Hooks : ::testing::Test
{
    HookRecorder m_aHooks;
    DebugRecorder m_aDebug;
    Probe m_aProbe{ &HookRecorder::Debug, NULL };
};

} // namespace

TEST_F( Hooks, DebugPutsTheStoredTextsInWhereThereIsADebugHook )
{
    m_aProbe.SetHeader( "h" );
    m_aProbe.SetOut( "o" );
    m_aProbe.Debug( NULL, NULL, FALSE );
    m_aProbe.Debug( "H", "O", FALSE );
    EXPECT_TRUE( m_aHooks.OnlyReports( { { "h", "o" }, { "H", "O" } } ) );

    m_aProbe.SetLogFunc( &HookRecorder::Log );
    m_aProbe.Debug( NULL, "O", TRUE );
    EXPECT_EQ( ( std::vector<std::string>{ "%s\r\n%s\r\n|h|O" } ), m_aHooks.TakeLogLines() );
    EXPECT_EQ( 1u, m_aHooks.TakeReports().size() );

    m_aProbe.SetDbgFunc( NULL );
    m_aProbe.Debug( NULL, "O", TRUE );
    EXPECT_EQ( ( std::vector<std::string>{ "%s\r\n%s\r\n|(null)|O" } ), m_aHooks.TakeLogLines() );
    m_aProbe.Debug( "H", "O", FALSE );

    m_aProbe.OnInit( &HookRecorder::Debug, NULL );
    EXPECT_EQ( NULL, m_aProbe.Header() );
    EXPECT_STREQ( "Nothing", m_aProbe.Out() );
}

TEST_F( Hooks, OnlyTheSecondBaseHasAHookOfItsOwn )
{
    const auto Fail = []( HookFields& rObject ) { CallReport( rObject, HEADER ).Fail( " Error: x" ); };
    Probe aWithout( NULL, NULL );
    Fail( aWithout );
    BaseObject2 aSecond;
    Fail( aSecond );
    aSecond.SetFuncPtr( NULL, NULL );
    Fail( aSecond );
    EXPECT_TRUE( m_aDebug.OnlyReports( { { HEADER, " Error: x" }, { HEADER, " Error: x" } } ) );
    aSecond.SetFuncPtr( &HookRecorder::Debug, NULL );
    BaseObject2 aCopy( aSecond );
    Fail( aCopy );
    EXPECT_TRUE( m_aHooks.OnlyReport( HEADER, " Error: x" ) ) << "copies take the hooks along";
}

TEST_F( Hooks, ToDoMessageIsCutToItsLengthModulo65536 )
{
    m_aProbe.SetHeader( "h" );
    const std::string strLong( 65536 + 10, 'x' );
    for ( const LPCTSTR pText : { LPCTSTR( "Init" ), LPCTSTR( NULL ), strLong.c_str() } )
        m_aProbe.ToDoMessage( pText );
    EXPECT_TRUE( m_aHooks.OnlyReports( { { "h", std::string( "Init" ) + TODO_END },
                                         { "h", TODO_END },
                                         { "h", std::string( 10 + sizeof( TODO_END ) - 1, 'x' ) } } ) );
    Probe( NULL, NULL ).ToDoMessage( "Init" );
}

TEST_F( Hooks, NoDbgFuncMessageReachesTheUserWithoutADisplay )
{
    const std::string strShown = ShownBy( [] { Probe( NULL, NULL ).NoDbgFuncMessage( "Init" ); } );
    EXPECT_NE( std::string::npos, strShown.find( "Error" ) );
    EXPECT_NE( std::string::npos,
               strShown.find( "Init -> !!!!!!!!!!! THIS OBJECT HAS NO DEBUG FUNCTION !!!!!!!!!!!" ) );
}

TEST_F( Hooks, AFailedCallReportsOnceAndASuccessfulOneNever )
{
    {
        CallReport aReport( m_aProbe, HEADER );
        aReport.Warn( " Warning: w" );
        aReport.Tail( "a warning gives way" ).Fail( " Error: first" );
        EXPECT_FALSE( aReport.Fail( " Error: second" ) );
    }
    EXPECT_STREQ( HEADER, m_aProbe.Header() );
    EXPECT_STREQ( " Error: first", m_aProbe.Out() );
    CallReport( std::as_const( m_aProbe ), HEADER );
    EXPECT_STREQ( " Error: first", m_aProbe.Out() ) << "a const call that succeeds writes nothing";
    CallReport( m_aProbe, HEADER );
    EXPECT_STREQ( "Nothing", m_aProbe.Out() );
    EXPECT_TRUE( CallReport( m_aProbe, HEADER ).Warn( " Warning: w" ) );
    {
        CallReport aReport( m_aProbe, HEADER );
        aReport.Fail( " Error: e" );
        aReport.Tail( ", a = " ).Tail( -5 ).Tail( ", b = " ).Tail( 4294967295u ).ReportNow();
        aReport.Fail( " Error: dropped" );
        aReport.Drop();
        aReport.Fail( " Error: f" );
    }
    EXPECT_TRUE( m_aHooks.OnlyReports( { { HEADER, " Error: first" },
                                         { HEADER, " Warning: w" },
                                         { HEADER, " Error: e, a = -5, b = 4294967295" },
                                         { HEADER, " Error: f" } } ) );
    EXPECT_STREQ( " Error: f", m_aProbe.Out() );
}

TEST_F( Hooks, AnExceptionIsAFailureLikeAnyOther )
{
    {
        CallReport aReport( m_aProbe, HEADER );
        aReport.Fail( " Error: on the way" );
        EXPECT_EQ( -1, aReport.Guard( -1, " Error: own", []() -> int { throw std::bad_alloc(); } ) );
    }
    EXPECT_FALSE( CallReport( m_aProbe, HEADER ).Guard( []() -> BOOL { throw 5; } ) );
    EXPECT_TRUE( m_aHooks.OnlyReports(
        { { HEADER, " Error: own" }, { HEADER, "Severe error occurred executing this function" } } ) );
}

TEST_F( Hooks, TheLastErrorSurvivesTheHook )
{
    m_aProbe.SetDbgFunc( []( LPCTSTR, LPCTSTR ) { SetLastError( 99 ); } );
    SetLastError( 5 );
    CallReport( m_aProbe, HEADER ).Fail( " Error: e" );
    EXPECT_EQ( 5u, GetLastError() );
}
