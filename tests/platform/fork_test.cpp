// fork in a process with threads inside the layer.

#include "platform/object/handletable.h"
#include "platform/testobject.h"
#include "support/forked.h"
#include "support/meeting.h"
#include "support/sanitizer.h"
#include "support/threads.h"

#include <bxtools/platform.h>

#include <gtest/gtest.h>

#include <atomic>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

// Children of this test start threads: asked by the thread sanitizer.
extern "C" const char* __tsan_default_options();
const char* __tsan_default_options()
{
    return "die_after_fork=0";
}

namespace
{
bool OtherThreadTakes( CRITICAL_SECTION& rSection )
{
    bool fTaken = false;
    const auto Try = [&]
    {
        if ( ( fTaken = TryEnterCriticalSection( &rSection ) != FALSE ) )
            LeaveCriticalSection( &rSection );
    };
    OnOtherThread( Try );
    return fTaken;
}
} // namespace

TEST( Fork, LocksOfLostThreadsAreFree )
{
    if ( THREAD_SANITIZER )
        GTEST_SKIP() << "the sanitizer takes the child's thread for the lost one, which had the same stack";
    CRITICAL_SECTION aEntered{};
    CRITICAL_SECTION aTried{};
    Meeting aMeeting( 2 ); // when they are held, and at the end
    std::thread aHolder(
        [&]
        {
            for ( CRITICAL_SECTION* const pSection : { &aEntered, &aEntered, &aTried, &aTried } )
                EnterCriticalSection( pSection );
            aMeeting.ArriveAndWait();
            aMeeting.ArriveAndWait();
        } );
    aMeeting.ArriveAndWait();
    const auto Take = [&]
    {
        EnterCriticalSection( &aEntered );
        if ( !TryEnterCriticalSection( &aTried ) )
            return 1;
        if ( OtherThreadTakes( aEntered ) || OtherThreadTakes( aTried ) )
            return 2;
        // How often the lost thread had entered is forgotten.
        LeaveCriticalSection( &aEntered );
        LeaveCriticalSection( &aTried );
        return OtherThreadTakes( aEntered ) && OtherThreadTakes( aTried ) ? 0 : 3;
    };
    EXPECT_EQ( 0, InChild( Take ) );
    EXPECT_EQ( 0, InChild( [&] { return InChild( Take ); } ) );
    EXPECT_FALSE( TryEnterCriticalSection( &aEntered ) );
    aMeeting.ArriveAndWait();
    aHolder.join();
}

TEST( Fork, IdsAreThoseOfTheChild )
{
    const auto AreOwn = []
    {
        return GetCurrentProcessId() == static_cast<DWORD>( getpid() ) &&
               GetCurrentThreadId() == static_cast<DWORD>( gettid() );
    };
    EXPECT_TRUE( AreOwn() );
    EXPECT_EQ( 0, InChild( [&] { return !AreOwn(); } ) );
}

TEST( Fork, HandlesOfTheParentAreNone )
{
    TestObject::Counts aCounts;
    const HANDLE hObject = MakeHandle( new TestObject( aCounts ), 0 );
    const auto Check = [&]
    {
        if ( CloseHandle( hObject ) || GetLastError() != ERROR_INVALID_HANDLE )
            return 1;
        if ( aCounts.nAbandoned != 1 || aCounts.nDestroyed != 1 )
            return 2;
        // Every place serves again, without meeting a handle of the parent's.
        for ( int i = 0; i < 1000; ++i )
        {
            const HANDLE hNew = MakeHandle( new TestObject( aCounts ), 0 );
            if ( hNew == hObject || !CloseHandle( hNew ) )
                return 3;
        }
        return 0;
    };
    EXPECT_EQ( 0, InChild( Check ) );
    EXPECT_EQ( 0, aCounts.nAbandoned );
    EXPECT_TRUE( CloseHandle( hObject ) );
    EXPECT_EQ( 1, aCounts.nDestroyed );
}

TEST( Fork, ThreadsInsideTheLayerLeaveAUsableChild )
{
    TestObject::Counts aCounts;
    std::atomic<bool> fEnd{ false };
    const auto Use = [&]
    {
        const DWORD dwSlot = TlsAlloc();
        TlsSetValue( dwSlot, &fEnd );
        CloseHandle( MakeHandle( new TestObject( aCounts ), 0 ) );
        OutputDebugStringA( "busy\r\n" );
        const HMODULE hModule = LoadLibraryA( "BXTRANSCRIPTMODULE.DLL" );
        const bool fRight = GetProcAddress( hModule, "CountTranscriptCalls" ) != NULL &&
                            FreeLibrary( hModule ) && TlsGetValue( dwSlot ) == &fEnd;
        return TlsFree( dwSlot ) && fRight;
    };
    std::atomic<int> nWrong{ 0 };
    const auto UseAlways = [&]
    {
        while ( !fEnd )
            nWrong += !Use();
    };
    std::thread aUsers( [&] { OnThreads( 3, UseAlways ); } );
    const DWORD dwOwnSlot = TlsAlloc();
    TlsSetValue( dwOwnSlot, &aUsers );
    int nFailed = 0;
    for ( int i = 0; i < 100 && nFailed == 0; ++i )
        nFailed = InChild( [&] { return Use() && TlsGetValue( dwOwnSlot ) == &aUsers ? 0 : 1; } );
    fEnd = true;
    aUsers.join();
    EXPECT_EQ( 0, nFailed );
    EXPECT_TRUE( Use() );
    EXPECT_EQ( 0, nWrong );
    EXPECT_EQ( NULL, GetModuleHandleA( "BXTRANSCRIPTMODULE.DLL" ) );
}
