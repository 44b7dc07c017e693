#include "process/processes.h"
#include "support/threads.h"

#include <bxtools/sync.h>

#include <gtest/gtest.h>

#include <deque>

namespace
{

constexpr int PROCESSES = 8;
constexpr int THREADS = 2;
constexpr int TURNS = 5000;
constexpr char NOBODY[] =
    "SignalActionFinished1| Error: ( aMyEvent = OpenEvent( EVENT_MODIFY_STATE, TRUE, pEventName ) ) == NULL\n";

// A name that no other test run has.
std::string OwnName( const std::string& strWhat )
{
    return "bx sync " + strWhat + " " + std::to_string( GetCurrentProcessId() );
}

HANDLE Entered( const std::string& strName )
{
    HANDLE hSection = NULL;
    EXPECT_TRUE( EnterInterProcessCriticalSection( strName.c_str(), &hSection ) );
    return hSection;
}

bool IsThere( const std::string& strName )
{
    const HANDLE hMutex = OpenMutexA( SYNCHRONIZE, FALSE, strName.c_str() );
    return hMutex != NULL && CloseHandle( hMutex );
}

} // namespace

BX_ROLE( lock_counter )
{
    const HANDLE hMapping = OpenFileMappingA( FILE_MAP_WRITE, FALSE, Arguments[1].c_str() );
    volatile long* const pCount =
        static_cast<volatile long*>( MapViewOfFile( hMapping, FILE_MAP_WRITE, 0, 0, 0 ) );
    const auto Count = [&]
    {
        for ( int nTurn = 0; nTurn < TURNS; ++nTurn )
        {
            const HANDLE hSection = Entered( Arguments[0] );
            *pCount = *pCount + 1;
            ReleaseInterProcessCriticalSection( hSection );
        }
    };
    OnThreads( THREADS, Count );
    return 0;
}

BX_ROLE( signal_waiter )
{
    return WaitForActionFinished( Arguments[0].c_str(), 1, NULL ) ? 0 : 1;
}

TEST( NamedLock, LosesNoTurnOfManyProcessesAndLeavesNothing )
{
    const std::string strName = OwnName( "turns" );
    const std::string strCount = OwnName( "count" );
    const HANDLE hMapping =
        CreateFileMappingA( INVALID_HANDLE_VALUE, NULL, PAGE_READWRITE, 0, sizeof( long ), strCount.c_str() );
    const void* const pCount = MapViewOfFile( hMapping, FILE_MAP_READ, 0, 0, 0 );
    std::deque<SecondProcess> aProcesses;
    for ( int nProcess = 0; nProcess < PROCESSES; ++nProcess )
        aProcesses.emplace_back( "lock_counter", std::vector{ strName, strCount } );
    for ( SecondProcess& rProcess : aProcesses )
        EXPECT_EQ( 0, rProcess.Wait() );
    EXPECT_EQ( PROCESSES * THREADS * TURNS, *static_cast<const long*>( pCount ) );
    EXPECT_FALSE( IsThere( strName ) );
    UnmapViewOfFile( pCount );
    CloseHandle( hMapping );
}

TEST( NamedLock, BelongsToItsThreadUntilThatEnds )
{
    const std::string strName = OwnName( "thread" );
    HANDLE hLeft = NULL;
    OnOtherThread( [&] { hLeft = Entered( strName ); } );
    const HANDLE hFirst = Entered( strName );
    const HANDLE hSecond = Entered( strName );
    const HANDLE hMutex = OpenMutexA( SYNCHRONIZE, FALSE, strName.c_str() );
    const auto IsFree = [hMutex]
    {
        DWORD dwResult = WAIT_FAILED;
        OnOtherThread( [&] { dwResult = WaitForSingleObject( hMutex, 0 ); } );
        return dwResult != WAIT_TIMEOUT;
    };
    EXPECT_TRUE( ReleaseInterProcessCriticalSection( hFirst ) );
    EXPECT_FALSE( IsFree() );
    OnOtherThread( [hSecond] { EXPECT_TRUE( ReleaseInterProcessCriticalSection( hSecond ) ); } );
    EXPECT_TRUE( ReleaseInterProcessCriticalSection( hSecond ) ); // closed by now, which is not looked at
    EXPECT_FALSE( IsFree() );
    EXPECT_TRUE( ReleaseMutex( hMutex ) && IsFree() );
    CloseHandle( hMutex );
    CloseHandle( hLeft );
}

TEST( NamedLock, AndSignalReportWhatTheyLack )
{
    const std::string strName = OwnName( "event" );
    const HANDLE hEvent = CreateEventA( NULL, TRUE, FALSE, strName.c_str() );
    HANDLE hSection = hEvent;
    DebugRecorder aRecorder;
    EXPECT_FALSE( EnterInterProcessCriticalSection( NULL, NULL ) ||
                  EnterInterProcessCriticalSection( "", &hSection ) ||
                  EnterInterProcessCriticalSection( strName.c_str(), &hSection ) );
    EXPECT_EQ( static_cast<DWORD>( ERROR_INVALID_HANDLE ), GetLastError() );
    EXPECT_EQ( NULL, hSection );
    CloseHandle( hEvent );
    const HANDLE hMutex = CreateMutexA( NULL, FALSE, strName.c_str() );
    EXPECT_FALSE( ReleaseInterProcessCriticalSection( NULL ) || SignalActionFinished( NULL ) ||
                  WaitForActionFinished( "", 0, NULL ) || WaitForActionFinished( strName.c_str(), 0, NULL ) );
    EXPECT_EQ(
        "EnterInterProcessCriticalSection| Error: phSectionID == NULL\n"
        "EnterInterProcessCriticalSection| Error: pSectionName == NULL || STRLEN( pSectionName ) <= 0\n"
        "EnterInterProcessCriticalSection| Error: hMutexHandle == NULL\n"
        "ReleaseInterProcessCriticalSection| Error: hSectionID == NULL\n"
        "SignalActionFinished1| Error: pEventName == NULL || STRLEN( pEventName ) <= 0\n"
        "WaitForActionFinished| Error: pEventName == NULL || STRLEN( pEventName ) <= 0\n"
        "WaitForActionFinished| Error: ( aMyEvent = CreateEvent( NULL, TRUE, FALSE, pEventName ) ) == NULL\n",
        Reported( aRecorder ) );
    CloseHandle( hMutex );
}

TEST( FinishSignal, ReachesThoseWhoWaitAndNoOthers )
{
    const std::string strName = OwnName( "signal" );
    const char* pName = strName.c_str();
    DebugRecorder aRecorder;
    const DWORD dwStart = GetTickCount();
    EXPECT_FALSE( SignalActionFinished1( pName, 3, 50 ) );
    EXPECT_GE( GetTickCount() - dwStart + 1, 150u ); // three pauses among four attempts
    EXPECT_EQ( static_cast<DWORD>( ERROR_FILE_NOT_FOUND ), GetLastError() );
    EXPECT_EQ( NOBODY, Reported( aRecorder ) );
    SecondProcess aWaiter( "signal_waiter", { strName } );
    EXPECT_TRUE( SignalActionFinished1( pName, 60000, 1 ) );
    EXPECT_EQ( 0, aWaiter.Wait() );
    EXPECT_EQ( "", Reported( aRecorder ) );
    EXPECT_FALSE( SignalActionFinished( pName ) );
    EXPECT_EQ( NOBODY, Reported( aRecorder ) );
}

// Result: whether the signal came and no message was left.
static DWORD WINAPI WaitWithMessages( LPVOID pName )
{
    for ( const UINT uMessage : { UINT( WM_USER ), UINT( WM_QUIT ), UINT( WM_USER ) } )
        PostThreadMessageA( GetCurrentThreadId(), uMessage, 0, 0 );
    MSG aMessage;
    PeekMessageA( &aMessage, NULL, 0, 0, PM_NOREMOVE ); // so that they are old
    return WaitForActionFinished( static_cast<LPCSTR>( pName ), 10, NULL ) &&
           !PeekMessageA( &aMessage, NULL, 0, 0, PM_REMOVE );
}

TEST( FinishSignal, IsWaitedForBeyondTheLimitWhileMessagesFlow )
{
    std::string strName = OwnName( "limit" );
    const HANDLE hThread = CreateThread( NULL, 0, WaitWithMessages, strName.data(), 0, NULL );
    HANDLE hEvent = NULL;
    while ( hEvent == NULL )
        hEvent = OpenEventA( EVENT_MODIFY_STATE, FALSE, strName.c_str() );
    EXPECT_EQ( static_cast<DWORD>( WAIT_TIMEOUT ), WaitForSingleObject( hThread, 300 ) );
    EXPECT_TRUE( SignalActionFinished( strName.c_str() ) );
    WaitForSingleObject( hThread, INFINITE );
    DWORD dwGood = 0;
    EXPECT_TRUE( GetExitCodeThread( hThread, &dwGood ) && dwGood == 1 );
    CloseHandle( hEvent );
    CloseHandle( hThread );
}
