#include "core/callreport.h"
#include "core/dbgserver.h"
#include "core/dllglobals.h"
#include "core/dllmain.h"
#include "core/servedobjects.h"
#include "core/taskname.h"
#include "core/threadcontainer.h"
#include "diag/debugsettings.h"
#include "support/leftovers.h"
#include "support/recorder.h"
#include "support/threads.h"

#include <bxtools/registry.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>

namespace
{

using Served = std::vector<std::string>;

constexpr char ATTACH_HEADER[] = "From BOOL DLLMainGlobalThreadData::OnProcessATTACH()";
constexpr char SPECIAL_HEADER[] =
    "From LPVOID DLLMainGlobalThreadData::GetThreadSpecialObject( CreateThreadElemFuc pCreateFunc, DeleteThreadElemFuc pDeleteFunc )";
constexpr char DETACH_HEADER[] = "From BOOL DLLMainGlobalThreadData::OnProcessDETACH()";
constexpr char GETOBJ_HEADER[] = "From LPVOID CThreadGlobalObjectElemInterface::GetObj()";
constexpr char ELEMENT_END_HEADER[] =
    "From CThreadGlobalObjectElemInterface::~CThreadGlobalObjectElemInterface()";
const Report ATTACHED_TWICE( ATTACH_HEADER,
                             " Error: InterlockedIncrement( &m_lProcessCount ) -> m_lProcessCount > 1" );
const Report
    NO_SLOT( "From CThreadGlobalObjectInterface* DLLMainGlobalThreadData::internalGetThreadGlobalObject()",
             " Error: !CheckTLS( m_dwTlsGlobalOffset )" );
const Report
    NO_VALUE( SPECIAL_HEADER,
              " Error: ( lValue = pThreadGlobalObject->GetObject( pCreateFunc, pDeleteFunc ) ) == 0" );
// What a request reports where there is no slot.
const std::vector<Report> NO_SLOT_REPORTS = {
    NO_SLOT, { SPECIAL_HEADER, " Error: ( pThreadGlobalObject = internalGetThreadGlobalObject() ) == NULL" }
};

// A registry that reports to the test.
class RegistryTest : public ::testing::Test
{
protected:
    RegistryTest()
    {
        TakeServed();
        m_aRegistry.SetFuncPtr( &HookRecorder::Debug, NULL );
    }

    void Attach() { ASSERT_TRUE( m_aRegistry.OnProcessATTACH( NULL, NULL ) ); }
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
    Attach();
    const std::pair<CreateThreadElemFuc, DeleteThreadElemFuc> aPairs[] = {
        { &CreateA, &DeleteA }, { &CreateA, &DeleteB },     { &CreateB, &DeleteA },
        { &CreateB, &DeleteB }, { &CreateA, &DeleteMaybe }, { &CreateB, &DeleteMaybe }
    };
    std::vector<LPVOID> aObjects;
    for ( const auto& [pCreate, pDelete] : aPairs )
        aObjects.push_back( Get( pCreate, pDelete ) );
    const auto ExpectTheSame = [&]
    {
        for ( size_t uPair = 0; uPair < aObjects.size(); ++uPair )
            EXPECT_EQ( aObjects[uPair], Get( aPairs[uPair].first, aPairs[uPair].second ) );
    };
    ExpectTheSame();
    EXPECT_EQ( ( Served{ "+a", "+a", "+b", "+b", "+a", "+b" } ), TakeServed() );
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
    EXPECT_TRUE( m_aRegistry.OnProcessDETACH() );
    EXPECT_EQ( ( Served{ "-a", "-a", "-b", "-b", "-a", "-b" } ), TakeServed() );
    EXPECT_TRUE( m_aHooks.Silent() );
    EXPECT_TRUE( m_aDebug.Silent() );
}

TEST_F( RegistryTest, SecondAttachIsRefusedAndTakesNothingAway )
{
    Attach();
    const LPVOID pA = Get( &CreateA, &DeleteA );
    EXPECT_FALSE( m_aRegistry.OnProcessATTACH( NULL, NULL ) );
    EXPECT_TRUE( m_aHooks.OnlyReports( { ATTACHED_TWICE } ) );
    EXPECT_EQ( pA, Get( &CreateA, &DeleteA ) );
    // The refused attach stays counted.
    EXPECT_TRUE( m_aRegistry.OnProcessDETACH() );
    EXPECT_FALSE( m_aRegistry.OnProcessATTACH( NULL, NULL ) );
    EXPECT_TRUE( m_aRegistry.OnProcessDETACH() );
}

TEST_F( RegistryTest, LoadsLibrariesAndNamesTheOneThatIsMissing )
{
    EXPECT_FALSE( m_aRegistry.OnProcessATTACH( &HookRecorder::Debug, LIB_TO_LOAD1, "NOSUCH.DLL",
                                               "BXTOOLS.DLL", NULL ) );
    const std::vector<Report> aReports = m_aHooks.TakeReports();
    ASSERT_EQ( 2u, aReports.size() );
    EXPECT_EQ( "From BOOL DLLMainGlobalThreadData::LoadLibraries( va_list argptr )", aReports[0].first );
    const std::string strText =
        " Error: ( hTempModule = LoadLibrary( pObj ) ) == NULL, pObj = NOSUCH.DLL\r\n";
    EXPECT_TRUE( aReports[0].second.starts_with( strText ) && aReports[0].second != strText );
    EXPECT_EQ( Report( ATTACH_HEADER, " Error: !LoadLibraries( (va_list) argptr )" ), aReports[1] );

    // The steps behind the failed one were not done, so the requests fail; the detach releases what was loaded.
    EXPECT_EQ( nullptr, Get( &CreateA, &DeleteA ) );
    EXPECT_TRUE( m_aHooks.OnlyReports( NO_SLOT_REPORTS ) );
    EXPECT_EQ( nullptr, m_aRegistry.GetThreadGlobalObject() );
    EXPECT_FALSE( m_aRegistry.OnProcessDETACH() );
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

TEST_F( RegistryTest, CreatorThatGivesNothingIsAskedAgain )
{
    Attach();
    EXPECT_EQ( nullptr, Get( &CreateLate, &DeleteMaybe ) );
    EXPECT_EQ( nullptr, Get( &CreateNothing, &DeleteMaybe ) );
    EXPECT_EQ( nullptr, Get( &CreateLate, &DeleteMaybe ) );
    EXPECT_TRUE( m_aHooks.OnlyReports( { NO_VALUE, NO_VALUE, NO_VALUE } ) );
    const LPVOID pLate = Get( &CreateLate, &DeleteMaybe );
    EXPECT_NE( nullptr, pLate );
    EXPECT_EQ( pLate, Get( &CreateLate, &DeleteMaybe ) );
    // Each pair stands in the list once, and the deleter hears of the object that never was.
    EXPECT_TRUE( m_aRegistry.OnProcessDETACH() );
    EXPECT_EQ( ( Served{ "+nothing", "+late", "-late", "null" } ), TakeServed() );
    EXPECT_TRUE( m_aHooks.Silent() );
    EXPECT_TRUE( m_aDebug.Silent() );
}

TEST_F( RegistryTest, WhatCreatorsAndDeletersThrowIsReported )
{
    Attach();
    EXPECT_EQ( nullptr, Get( NULL, &DeleteMaybe ) );
    EXPECT_EQ( nullptr, Get( &CreateThrowing, &DeleteMaybe ) );
    EXPECT_TRUE( m_aDebug.OnlyReports(
        { { GETOBJ_HEADER, " Error: m_pCreatorFunc == NULL -> wrong initializaton" },
          { GETOBJ_HEADER, " Error: m_plObj = (*m_pCreatorFunc)() caused uncaught exception" } } ) );
    EXPECT_TRUE( m_aHooks.OnlyReports( { NO_VALUE, NO_VALUE } ) );
    EXPECT_NE( nullptr, Get( &CreateA, &DeleteThrowing ) );
    const LPVOID pUndeleted = Get( &CreateB, NULL );
    EXPECT_NE( nullptr, Get( &CreateB, &DeleteB ) );
    // One deleter's failure keeps nobody else's object alive.
    EXPECT_TRUE( m_aRegistry.OnProcessDETACH() );
    EXPECT_TRUE( m_aDebug.OnlyReports(
        { { ELEMENT_END_HEADER, " Error: (*m_pDeleteFunc)() caused uncaught exception" },
          { ELEMENT_END_HEADER, " Error: m_pDeleteFunc == NULL -> wrong initializaton" } } ) );
    EXPECT_EQ( ( Served{ "+a", "+b", "+b", "null", "null", "-a", "-b" } ), TakeServed() );
    DeleteB( pUndeleted );
}

std::atomic<int> g_nStep{ 0 };

void Await( int nAwaited )
{
    while ( g_nStep < nAwaited )
        std::this_thread::yield();
}

void ReachAndAwait( int nReached, int nAwaited )
{
    g_nStep = nReached;
    Await( nAwaited );
}

// Wait until another thread has been in the registry.
LPVOID DLL_EXPORT CreateSlowly()
{
    ReachAndAwait( 1, 2 );
    return CreateB();
}

BOOL DLL_EXPORT DeleteSlowly( LPVOID pObject )
{
    ReachAndAwait( 3, 4 );
    return DeleteB( pObject );
}

TEST_F( RegistryTest, NobodyWaitsForAnotherThreadsCreatorOrDeleter )
{
    Attach();
    const LPVOID pA = Get( &CreateA, &DeleteA );
    std::thread aBusy( [&] { Get( &CreateSlowly, &DeleteSlowly ), m_aRegistry.OnThreadDETACH(); } );
    Await( 1 );
    EXPECT_EQ( pA, Get( &CreateA, &DeleteA ) );
    EXPECT_NE( nullptr, m_aRegistry.GetThreadGlobalObject() );
    ReachAndAwait( 2, 3 );
    EXPECT_NE( nullptr, Get( &CreateB, &DeleteB ) );
    EXPECT_TRUE( m_aRegistry.OnThreadDETACH() );
    g_nStep = 4;
    aBusy.join();
    EXPECT_TRUE( m_aRegistry.OnProcessDETACH() );
}

TEST_F( RegistryTest, DetachLeavesOtherThreadsAloneAndFailsThemCleanly )
{
    Attach();
    AllowLeftovers();
    LPVOID pTheirs = NULL;
    OnOtherThread(
        [&]
        {
            pTheirs = Get( &CreateA, &DeleteA );
            // This thread has no container of its own when it detaches the process.
            OnOtherThread( [&] { EXPECT_TRUE( m_aRegistry.OnProcessDETACH() ); } );
            EXPECT_TRUE( m_aHooks.Silent() );
            EXPECT_EQ( nullptr, Get( &CreateA, &DeleteA ) );
            EXPECT_TRUE( m_aHooks.OnlyReports( NO_SLOT_REPORTS ) );
            EXPECT_TRUE( m_aRegistry.OnThreadDETACH() );
        } );
    EXPECT_TRUE( m_aHooks.Silent() );
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
    Attach();
    g_pReentered = &m_aRegistry;
    Get( &CreateA, &DeleteAndAsk );
    Get( &CreateB, &DeleteB );
    EXPECT_TRUE( m_aRegistry.OnThreadDETACH() );
    EXPECT_EQ( ( Served{ "+a", "+b", "+b", "-a", "-b", "-b" } ), TakeServed() );

    // One that never ends it is given up with its last object.
    AllowLeftovers();
    const long lBefore = ServedCount();
    Get( &CreateA, &DeleteAndAskAgain );
    EXPECT_TRUE( m_aRegistry.OnProcessDETACH() );
    EXPECT_EQ( lBefore + 1, ServedCount() );
    EXPECT_TRUE( m_aHooks.Silent() );
}

TEST_F( RegistryTest, ContainerIsNamedAndKeepsItsLogHookOnly )
{
    Attach();
    CThreadGlobalObjectInterface* pOwn = m_aRegistry.GetThreadGlobalObject();
    ASSERT_NE( nullptr, pOwn );
    std::string strTask = LPCTSTR( GetTaskName() );
    EXPECT_TRUE( strTask.starts_with( "test_core" ) );
    std::transform( strTask.begin(), strTask.end(), strTask.begin(), ::toupper );
    EXPECT_STREQ( strTask.c_str(), LPCTSTR( pOwn->GetProcName() ) );
    EXPECT_STREQ( std::to_string( GetCurrentThreadId() ).c_str(), LPCTSTR( pOwn->GetThreadName() ) );
    EXPECT_EQ( 0, pOwn->GetProcType() );

    CThreadGlobalObjectInterface aContainer( &HookRecorder::Debug, &HookRecorder::Log );
    EXPECT_FALSE( aContainer.SetThisData( 3 ) );
    EXPECT_TRUE( m_aHooks.Silent() );
    EXPECT_TRUE( m_aDebug.OnlyReport( "From BOOL CThreadGlobalObjectInterface::SetThisData( int nMode )",
                                      " Internal Error: mode not supported: switch ( nMode ) -> default" ) );
    EXPECT_TRUE( m_aRegistry.OnProcessDETACH() );
}

TEST_F( RegistryTest, CopiesOfAContainerShareItsObjects )
{
    {
        CThreadGlobalObjectInterface aLast( NULL, NULL );
        LPVOID pA = NULL;
        {
            CThreadGlobalObjectInterface aFirst( NULL, NULL );
            pA = aFirst.GetObject( &CreateA, &DeleteA );
            CThreadGlobalObjectInterface aCopy( aFirst );
            aLast = aCopy;
            EXPECT_EQ( aCopy.GetObject( &CreateB, &DeleteB ), aFirst.GetObject( &CreateB, &DeleteB ) );
        }
        EXPECT_EQ( ( Served{ "+a", "+b" } ), TakeServed() );
        EXPECT_EQ( pA, aLast.GetObject( &CreateA, &DeleteA ) );
    }
    EXPECT_EQ( ( Served{ "-a", "-b" } ), TakeServed() );
}

TEST_F( RegistryTest, LastErrorIsTheCallers )
{
    Attach();
    const auto ExpectKept = [&]
    {
        SetLastError( 4711 );
        Get( &CreateA, &DeleteA );
        EXPECT_EQ( 4711u, GetLastError() );
        m_aRegistry.GetThreadGlobalObject();
        EXPECT_EQ( 4711u, GetLastError() );
    };
    ExpectKept();
    ExpectKept();
    EXPECT_TRUE( m_aRegistry.OnProcessDETACH() );
    ExpectKept();
}

// Looks into the object's last message.
class OpenGlobalData : public MyDLLMainGlobalThreadData
{
public:
    LPCTSTR Out() const { return m_pOut; }
};

TEST( GlobalObject, SecondAttachReportsNothingAndKeepsItsReason )
{
    OpenGlobalData aGlobal;
    DebugRecorder aDebug;
    const Report aNothing( "From BOOL MyDLLMainGlobalThreadData::OnProcessATTACH1()", "Nothing" );
    EXPECT_TRUE( aGlobal.OnProcessATTACH1() );
    EXPECT_STREQ( "Nothing", aGlobal.Out() );
    EXPECT_FALSE( aGlobal.OnProcessATTACH1() );
    EXPECT_TRUE( aDebug.OnlyReports( { ATTACHED_TWICE, aNothing } ) );
    EXPECT_STREQ( " Error: !OnProcessATTACH( MyDbgMessage, LIB_TO_LOAD1, NULL )", aGlobal.Out() );
    EXPECT_TRUE( aGlobal.OnProcessDETACH1() );
    EXPECT_TRUE( aGlobal.OnProcessDETACH1() );
    EXPECT_TRUE( aDebug.Silent() );
    // The same at the library's entry point, which ignores what it does not know.
    for ( const DWORD dwReason : { DWORD( DLL_THREAD_ATTACH ), DWORD( 4 ), DWORD( -1 ) } )
        EXPECT_TRUE( DllMain( NULL, dwReason, NULL ) );
    EXPECT_TRUE( aDebug.Silent() );
    EXPECT_FALSE( DllMain( NULL, DLL_PROCESS_ATTACH, NULL ) );
    EXPECT_TRUE(
        aDebug.OnlyReports( { ATTACHED_TWICE,
                              aNothing,
                              { "From DllMain( HINSTANCE hinstDLL, DWORD dwReason, LPVOID lpReserved )",
                                " Error: !aGlobalDllObject.OnProcessATTACH1()" } } ) );
}

TEST( GlobalObject, HasOneDataLogUntilItsEnd )
{
    // Each such object reads the settings of the debug messages, and reports what is missing of them.
    CRegistry aSettings;
    ASSERT_TRUE( aSettings.Connect( (HKEY)CRegistry::keyLocalMachine ) &&
                 aSettings.Create( DEBUG_SETTINGS_KEY ) );
    ASSERT_TRUE( aSettings.SetValue( "Out", MString( "Yes" ) ) &&
                 aSettings.SetValue( "Level", MString( "0" ) ) );
    DebugRecorder aDebug;
    DBGServer* pDBGServer = GetDBGServer();
    ASSERT_NE( nullptr, pDBGServer );
    OnOtherThread( [&] { EXPECT_EQ( pDBGServer, GetDBGServer() ); } );
    EXPECT_EQ( &aGlobalDllObject, GetDLLGlobalObjectPtr() );
    EXPECT_FALSE( DeleteDBGServer( NULL ) );
    EXPECT_TRUE( aDebug.OnlyReport( "From static BOOL DLL_EXPORT DeleteDBGServer( LPVOID lValue )",
                                    " Error: pDBGServer == NULL" ) );
    MyDLLMainGlobalThreadData aEnded;
    EXPECT_NE( nullptr, aEnded.GetGlobalDBGServer() );
    aEnded.DeleteOwnedObjects();
    EXPECT_EQ( nullptr, aEnded.GetGlobalDBGServer() );
    EXPECT_TRUE( aDebug.Silent() );
}

TEST( ThreadObjects, AThousandThreadsLeaveNothingBehind )
{
    const long lBefore = ServedCount();
    DebugRecorder aDebug;
    const auto Use = []
    {
        EXPECT_NE( nullptr, GetThreadSpecialObject( &CreateA, &DeleteA ) );
        EXPECT_NE( nullptr, GetThreadSpecialObject( &CreateB, &DeleteB ) );
    };
    for ( int nThread = 0; nThread < 1000; ++nThread )
        OnOtherThread( Use );
    EXPECT_EQ( lBefore, ServedCount() );
    EXPECT_TRUE( aDebug.Silent() );
}

TEST_F( RegistryTest, ProcessDetachMeetsThreadsThatCallIn )
{
    AllowLeftovers();
    Attach();
    static void( DLL_EXPORT* const pQuiet )( LPCTSTR, LPCTSTR ) = []( LPCTSTR, LPCTSTR ) {};
    m_aRegistry.SetFuncPtr( pQuiet, NULL );
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
    EXPECT_TRUE( m_aRegistry.OnProcessDETACH() );
    aCallers.join();
}

} // namespace
