#include "core/callreport.h"
#include "core/dbgserver.h"
#include "core/dllglobals.h"
#include "core/dllmain.h"
#include "core/servedobjects.h"
#include "core/taskname.h"
#include "core/threadcontainer.h"
#include "support/leftovers.h"
#include "support/meeting.h"
#include "support/recorder.h"
#include "support/threads.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>

namespace
{

using Served = std::vector<std::string>;

constexpr char ATTACH_HEADER[] = "From BOOL DLLMainGlobalThreadData::OnProcessATTACH()";
constexpr char DETACH_HEADER[] = "From BOOL DLLMainGlobalThreadData::OnProcessDETACH()";
constexpr char GETOBJ_HEADER[] = "From LPVOID CThreadGlobalObjectElemInterface::GetObj()";
constexpr char ELEMENT_END_HEADER[] =
    "From CThreadGlobalObjectElemInterface::~CThreadGlobalObjectElemInterface()";
const Report ATTACHED_TWICE( ATTACH_HEADER,
                             " Error: InterlockedIncrement( &m_lProcessCount ) -> m_lProcessCount > 1" );

// An attached registry that reports to the test.
class RegistryTest : public ::testing::Test
{
protected:
    RegistryTest()
    {
        TakeServed();
        m_aRegistry.SetFuncPtr( &HookRecorder::Debug, NULL );
        EXPECT_TRUE( m_aRegistry.OnProcessATTACH( NULL, NULL ) );
    }
    ~RegistryTest() override
    {
        if ( m_aRegistry.GetSlot() != TLS_OUT_OF_INDEXES )
            Detach();
    }

    void Detach() { EXPECT_TRUE( m_aRegistry.OnProcessDETACH() ); }
    LPVOID Get( CreateThreadElemFuc pCreate, DeleteThreadElemFuc pDelete )
    {
        return m_aRegistry.GetThreadSpecialObject( pCreate, pDelete );
    }

    HookRecorder m_aHooks;
    DebugRecorder m_aDebug;
    DLLMainGlobalThreadData m_aRegistry;
};

TEST_F( RegistryTest, ServesOneObjectPerPairAndThread )
{
    constexpr std::pair<CreateThreadElemFuc, DeleteThreadElemFuc> PAIRS[] = {
        { &CreateA, &DeleteA }, { &CreateA, &DeleteB }, { &CreateB, &DeleteA }, { &CreateB, &DeleteB }
    };
    std::vector<LPVOID> aObjects;
    for ( const auto& [pCreate, pDelete] : PAIRS )
        aObjects.push_back( Get( pCreate, pDelete ) );
    const auto ExpectTheSame = [&]
    {
        for ( size_t uPair = 0; uPair < aObjects.size(); ++uPair )
            EXPECT_EQ( aObjects[uPair], Get( PAIRS[uPair].first, PAIRS[uPair].second ) );
    };
    ExpectTheSame();
    EXPECT_EQ( ( Served{ "+a", "+a", "+b", "+b" } ), TakeServed() );
    OnOtherThread(
        [&]
        {
            const LPVOID pOther = Get( &CreateA, &DeleteA );
            EXPECT_EQ( 0, std::count( aObjects.begin(), aObjects.end(), pOther ) );
            Get( &CreateB, &DeleteB );
            EXPECT_EQ( pOther, Get( &CreateA, &DeleteA ) );
            EXPECT_TRUE( m_aRegistry.OnThreadDETACH() );
        } );
    EXPECT_EQ( ( Served{ "+a", "+b", "-a", "-b" } ), TakeServed() );
    OnOtherThread( [&] { EXPECT_TRUE( m_aRegistry.OnThreadATTACH() && m_aRegistry.OnThreadDETACH() ); } );
    ExpectTheSame();
    Detach();
    EXPECT_EQ( ( Served{ "-a", "-a", "-b", "-b" } ), TakeServed() );
}

TEST_F( RegistryTest, RefusedAttachStaysCounted )
{
    EXPECT_FALSE( m_aRegistry.OnProcessATTACH( NULL, NULL ) );
    Detach();
    EXPECT_FALSE( m_aRegistry.OnProcessATTACH( NULL, NULL ) );
    EXPECT_TRUE( m_aHooks.OnlyReports( { ATTACHED_TWICE, ATTACHED_TWICE } ) );
}

TEST_F( RegistryTest, LoadsLibrariesAndNamesTheOneThatIsMissing )
{
    DLLMainGlobalThreadData aRegistry;
    EXPECT_FALSE(
        aRegistry.OnProcessATTACH( &HookRecorder::Debug, LIB_TO_LOAD1, "NOSUCH.DLL", "BXTOOLS.DLL", NULL ) );
    const std::vector<Report> aReports = m_aHooks.TakeReports();
    ASSERT_EQ( 2u, aReports.size() );
    EXPECT_EQ( "From BOOL DLLMainGlobalThreadData::LoadLibraries( va_list argptr )", aReports[0].first );
    const std::string strText =
        " Error: ( hTempModule = LoadLibrary( pObj ) ) == NULL, pObj = NOSUCH.DLL\r\n";
    EXPECT_TRUE( aReports[0].second.starts_with( strText ) && aReports[0].second != strText );
    EXPECT_EQ( Report( ATTACH_HEADER, " Error: !LoadLibraries( (va_list) argptr )" ), aReports[1] );

    // The steps behind the failed one were not done, so the requests fail; the detach releases what was loaded.
    EXPECT_EQ( nullptr, aRegistry.GetThreadGlobalObject() );
    EXPECT_FALSE( aRegistry.OnProcessDETACH() );
    EXPECT_TRUE( m_aHooks.OnlyReports(
        { NO_SLOT,
          { "From CThreadGlobalObjectInterface* DLLMainGlobalThreadData::GetThreadGlobalObject()",
            " Error: ( pObj = internalGetThreadGlobalObject() ) == NULL" },
          NO_SLOT,
          { "From BOOL DLLMainGlobalThreadData::DeleteThreadGlobalObject( BOOL fOnThreadDetach )",
            " Error: ( pThreadGlobalObject = internalGetThreadGlobalObject( fOnThreadDetach ) ) == NULL" },
          { DETACH_HEADER, " Error: !DeleteThreadGlobalObject()" },
          { DETACH_HEADER, " Error: !TlsFree( m_dwTlsGlobalOffset )" } } ) );
}

TEST_F( RegistryTest, WhatIsNotMadeOrDestroyedIsReported )
{
    static int nAsked = 0;
    const CreateThreadElemFuc pLate = []() -> LPVOID { return ++nAsked <= 2 ? NULL : CreateA(); };
    const CreateThreadElemFuc pNever = []() -> LPVOID { return NULL; };
    const CreateThreadElemFuc pThrowing = []() -> LPVOID { throw 1; };
    const CreateThreadElemFuc pNone = NULL;
    for ( const CreateThreadElemFuc pCreate : { pLate, pNever, pLate, pThrowing, pNone } )
    {
        EXPECT_EQ( nullptr, Get( pCreate, &DeleteB ) );
        EXPECT_TRUE( m_aHooks.OnlyReport(
            SPECIAL_HEADER,
            " Error: ( lValue = pThreadGlobalObject->GetObject( pCreateFunc, pDeleteFunc ) ) == 0" ) );
    }
    EXPECT_TRUE( m_aDebug.OnlyReports(
        { { GETOBJ_HEADER, " Error: m_plObj = (*m_pCreatorFunc)() caused uncaught exception" },
          { GETOBJ_HEADER, " Error: m_pCreatorFunc == NULL -> wrong initializaton" } } ) );
    const LPVOID pFirst = Get( pLate, &DeleteB );
    EXPECT_NE( nullptr, pFirst );
    EXPECT_EQ( pFirst, Get( pLate, &DeleteB ) );

    const DeleteThreadElemFuc pDeleteThrowing = []( LPVOID ) -> BOOL { throw 1; };
    const LPVOID apUndeleted[] = { Get( &CreateA, pDeleteThrowing ), Get( &CreateB, NULL ) };
    EXPECT_NE( nullptr, Get( &CreateB, &DeleteA ) );
    // Each pair stands in the list once, a deleter hears of an object that never was, and one's failure keeps nobody
    // else's object alive.
    Detach();
    EXPECT_TRUE( m_aDebug.OnlyReports(
        { { ELEMENT_END_HEADER, " Error: (*m_pDeleteFunc)() caused uncaught exception" },
          { ELEMENT_END_HEADER, " Error: m_pDeleteFunc == NULL -> wrong initializaton" } } ) );
    EXPECT_EQ( ( Served{ "+a", "+a", "+b", "+b", "-a", "null", "null", "null", "-b" } ), TakeServed() );
    for ( const LPVOID pObject : apUndeleted )
        EXPECT_TRUE( DeleteA( pObject ) );
}

Meeting g_aMeeting( 2 );

// Meet the test before and after it has been in the registry.
LPVOID DLL_EXPORT CreateSlowly()
{
    g_aMeeting.ArriveAndWait();
    g_aMeeting.ArriveAndWait();
    return CreateB();
}

BOOL DLL_EXPORT DeleteSlowly( LPVOID pObject )
{
    g_aMeeting.ArriveAndWait();
    g_aMeeting.ArriveAndWait();
    return DeleteB( pObject );
}

TEST_F( RegistryTest, NobodyWaitsForAnotherThreadsCreatorOrDeleter )
{
    const LPVOID pA = Get( &CreateA, &DeleteA );
    std::thread aBusy( [&] { Get( &CreateSlowly, &DeleteSlowly ), m_aRegistry.OnThreadDETACH(); } );
    g_aMeeting.ArriveAndWait();
    EXPECT_EQ( pA, Get( &CreateA, &DeleteA ) );
    EXPECT_NE( nullptr, m_aRegistry.GetThreadGlobalObject() );
    g_aMeeting.ArriveAndWait();
    g_aMeeting.ArriveAndWait();
    EXPECT_NE( nullptr, Get( &CreateB, &DeleteB ) );
    EXPECT_TRUE( m_aRegistry.OnThreadDETACH() );
    g_aMeeting.ArriveAndWait();
    aBusy.join();
}

TEST_F( RegistryTest, DetachLeavesOtherThreadsAloneAndFailsThemCleanly )
{
    AllowLeftovers();
    LPVOID pTheirs = NULL;
    OnOtherThread(
        [&]
        {
            pTheirs = Get( &CreateA, &DeleteA );
            // This thread has no container of its own when it detaches the process.
            OnOtherThread( [&] { Detach(); } );
            SetLastError( 4711 );
            EXPECT_EQ( nullptr, Get( &CreateA, &DeleteA ) );
            EXPECT_EQ( 4711u, GetLastError() );
            EXPECT_TRUE( m_aHooks.OnlyReports( { NO_SLOT, NO_CONTAINER } ) );
            EXPECT_TRUE( m_aRegistry.OnThreadDETACH() );
        } );
    EXPECT_EQ( ( Served{ "+a" } ), TakeServed() );
    DeleteA( pTheirs );
}

DLLMainGlobalThreadData* g_pReentered = NULL;

// Asks for an object of another pair.
BOOL DLL_EXPORT DeleteAndAsk( LPVOID pObject )
{
    EXPECT_NE( nullptr, g_pReentered->GetThreadSpecialObject( &CreateB, &DeleteB ) );
    return DeleteA( pObject );
}

// Asks for the very object that goes, and so each time anew.
BOOL DLL_EXPORT DeleteAndAskAgain( LPVOID pObject )
{
    EXPECT_NE( pObject, g_pReentered->GetThreadSpecialObject( &CreateA, &DeleteAndAskAgain ) );
    return DeleteA( pObject );
}

TEST_F( RegistryTest, DeleterThatCallsInFindsAFreshStart )
{
    g_pReentered = &m_aRegistry;
    Get( &CreateA, &DeleteAndAsk );
    Get( &CreateB, &DeleteB );
    EXPECT_TRUE( m_aRegistry.OnThreadDETACH() );
    EXPECT_EQ( ( Served{ "+a", "+b", "+b", "-a", "-b", "-b" } ), TakeServed() );

    // One that never ends it is given up with its last object.
    AllowLeftovers();
    const long lBefore = ServedCount();
    Get( &CreateA, &DeleteAndAskAgain );
    Detach();
    EXPECT_EQ( lBefore + 1, ServedCount() );
}

TEST_F( RegistryTest, ContainerIsNamedAndKeepsItsLogHookOnly )
{
    SetLastError( 4711 );
    CThreadGlobalObjectInterface* pOwn = m_aRegistry.GetThreadGlobalObject();
    EXPECT_EQ( 4711u, GetLastError() );
    ASSERT_NE( nullptr, pOwn );
    std::string strTask = LPCTSTR( GetTaskName() );
    EXPECT_TRUE( strTask.starts_with( "test_core" ) );
    std::transform( strTask.begin(), strTask.end(), strTask.begin(), ::toupper );
    EXPECT_STREQ( strTask.c_str(), LPCTSTR( pOwn->GetProcName() ) );
    EXPECT_STREQ( std::to_string( GetCurrentThreadId() ).c_str(), LPCTSTR( pOwn->GetThreadName() ) );

    CThreadGlobalObjectInterface aContainer( &HookRecorder::Debug, &HookRecorder::Log );
    EXPECT_FALSE( aContainer.SetThisData( 3 ) );
    EXPECT_TRUE( m_aDebug.OnlyReport( "From BOOL CThreadGlobalObjectInterface::SetThisData( int nMode )",
                                      " Internal Error: mode not supported: switch ( nMode ) -> default" ) );
}

TEST_F( RegistryTest, ProcessDetachMeetsThreadsThatCallIn )
{
    AllowLeftovers();
    m_aRegistry.SetFuncPtr( []( LPCTSTR, LPCTSTR ) {}, NULL );
    std::atomic<int> nInside{ 0 };
    const auto CallIn = [&]
    {
        ++nInside;
        while ( Get( &CreateA, &DeleteA ) != NULL )
            m_aRegistry.OnThreadDETACH();
    };
    std::thread aCallers( [&] { OnThreads( 8, CallIn ); } );
    while ( nInside < 8 )
        std::this_thread::yield();
    Detach();
    aCallers.join();
}

// Looks into the object's last message.
class OpenGlobalData : public MyDLLMainGlobalThreadData
{
public:
    LPCTSTR Out() const { return m_pOut; }
};

TEST( GlobalObject, SecondAttachIsRefusedAndTakesNothingAway )
{
    OpenGlobalData aGlobal;
    DebugRecorder aDebug;
    const Report aNothing( "From BOOL MyDLLMainGlobalThreadData::OnProcessATTACH1()", "Nothing" );
    EXPECT_TRUE( aGlobal.OnProcessATTACH1() );
    EXPECT_STREQ( "Nothing", aGlobal.Out() );
    const LPVOID pA = aGlobal.GetThreadSpecialObject( &CreateA, &DeleteA );
    EXPECT_FALSE( aGlobal.OnProcessATTACH1() );
    EXPECT_TRUE( aDebug.OnlyReports( { ATTACHED_TWICE, aNothing } ) );
    EXPECT_STREQ( " Error: !OnProcessATTACH( MyDbgMessage, LIB_TO_LOAD1, NULL )", aGlobal.Out() );
    EXPECT_EQ( pA, aGlobal.GetThreadSpecialObject( &CreateA, &DeleteA ) );
    EXPECT_TRUE( aGlobal.OnProcessDETACH1() && aGlobal.OnProcessDETACH1() );
    // The same at the library's entry point, which ignores what it does not know.
    for ( const DWORD dwReason : { DWORD( DLL_THREAD_ATTACH ), DWORD( 4 ), DWORD( -1 ) } )
        EXPECT_TRUE( DllMain( NULL, dwReason, NULL ) );
    EXPECT_FALSE( DllMain( NULL, DLL_PROCESS_ATTACH, NULL ) );
    EXPECT_TRUE(
        aDebug.OnlyReports( { ATTACHED_TWICE,
                              aNothing,
                              { "From DllMain( HINSTANCE hinstDLL, DWORD dwReason, LPVOID lpReserved )",
                                " Error: !aGlobalDllObject.OnProcessATTACH1()" } } ) );
}

TEST( GlobalObject, HasOneDataLogUntilItsEnd )
{
    // Made first: it may report that settings are missing.
    MyDLLMainGlobalThreadData aEnded;
    DebugRecorder aDebug;
    DBGServer* pDBGServer = GetDBGServer();
    ASSERT_NE( nullptr, pDBGServer );
    OnOtherThread( [&] { EXPECT_EQ( pDBGServer, GetDBGServer() ); } );
    EXPECT_EQ( &aGlobalDllObject, GetDLLGlobalObjectPtr() );
    EXPECT_FALSE( DeleteDBGServer( NULL ) );
    EXPECT_TRUE( aDebug.OnlyReport( "From static BOOL DLL_EXPORT DeleteDBGServer( LPVOID lValue )",
                                    " Error: pDBGServer == NULL" ) );
    EXPECT_NE( nullptr, aEnded.GetGlobalDBGServer() );
    aEnded.DeleteOwnedObjects();
    EXPECT_EQ( nullptr, aEnded.GetGlobalDBGServer() );
}

TEST( ThreadObjects, AThousandThreadsLeaveNothingBehind )
{
    DebugRecorder aDebug;
    const long lBefore = ServedCount();
    const auto Use = []
    {
        EXPECT_NE( nullptr, GetThreadSpecialObject( &CreateA, &DeleteA ) );
        EXPECT_NE( nullptr, GetThreadSpecialObject( &CreateB, &DeleteB ) );
    };
    for ( int nThread = 0; nThread < 1000; ++nThread )
        OnOtherThread( Use );
    EXPECT_EQ( lBefore, ServedCount() );
}

} // namespace
