// The registry's notices: each watch is told what it asked for, once, and nobody waits for a key that is closed.

#include "platform/registry/regbatch.h"
#include "platform/registrysupport.h"
#include "support/secondprocess.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <utility>

// Changes the registry as it is told: what, key.
BX_ROLE( registry_changer )
{
    for ( std::string strWhat = WaitForTest(); !strWhat.empty(); strWhat = WaitForTest() )
    {
        const std::string strKey = WaitForTest();
        if ( strWhat == "value" )
            SetBytes( TestKey( strKey ), "n", "x" );
        else if ( strWhat == "key" )
            TestKey( strKey + "\\New" );
        else
            RegDeleteKeyA( HKEY_LOCAL_MACHINE, strKey.c_str() );
        TellTest( "done" );
    }
    return 0;
}

TEST( Registry, WatchesSeeWhatTheyAskFor )
{
    const TestKey aOuter( "Outer" );
    const TestKey aInner( "Outer\\Inner" );
    const TestKey aOther( "Outer2" );
    SecondProcess aChanger( "registry_changer", {} );
    const HANDLE hEvent = CreateEventA( NULL, FALSE, FALSE, NULL );
    const auto Change = [&]( const char* pWhat, const char* pKey )
    {
        aChanger.WriteLine( pWhat );
        aChanger.WriteLine( pKey );
        aChanger.ReadLine();
    };
    const auto IsSet = [&] { return WaitForSingleObject( hEvent, 0 ) == WAIT_OBJECT_0; };
    const auto Arm = [&]( HKEY hKey, BOOL fSubtree, DWORD dwFilter )
    { return RegNotifyChangeKeyValue( hKey, fSubtree, dwFilter, hEvent, TRUE ); };
    const struct
    {
        BOOL fSubtree;
        DWORD dwFilter;
        const char* pWhat;
        const char* pKey;
        bool fNoticed;
    } aCases[] = {
        { FALSE, REG_NOTIFY_CHANGE_LAST_SET, "value", "Outer", true },
        { FALSE, REG_NOTIFY_CHANGE_LAST_SET, "value", "Outer\\Inner", false },
        { TRUE, REG_NOTIFY_CHANGE_LAST_SET, "value", "Outer\\Inner", true },
        { TRUE, REG_NOTIFY_CHANGE_LAST_SET, "value", "Outer2", false },
        { TRUE, REG_NOTIFY_CHANGE_LAST_SET, "key", "Outer", false },
        { FALSE, REG_NOTIFY_CHANGE_NAME, "value", "Outer", false },
        { FALSE, REG_NOTIFY_CHANGE_NAME, "delete", "Outer\\New", true },
        { FALSE, REG_NOTIFY_CHANGE_NAME, "key", "Outer\\Inner", false },
        { TRUE, REG_NOTIFY_CHANGE_NAME, "delete", "Outer\\Inner\\New", true },
    };
    for ( const auto& rCase : aCases )
    {
        TestKey aWatched( "Outer" );
        ASSERT_EQ( 0, Arm( aWatched, rCase.fSubtree, rCase.dwFilter ) );
        EXPECT_FALSE( IsSet() );
        Change( rCase.pWhat, rCase.pKey );
        EXPECT_EQ( rCase.fNoticed, IsSet() ) << rCase.pWhat << ' ' << rCase.pKey;
        // Once; and what has not been noticed yet is told when the key is closed.
        Change( "value", "Outer" );
        EXPECT_EQ( !rCase.fNoticed && rCase.dwFilter == REG_NOTIFY_CHANGE_LAST_SET, IsSet() );
        RegCloseKey( std::exchange( aWatched.hKey, nullptr ) );
        EXPECT_EQ( !rCase.fNoticed && rCase.dwFilter == REG_NOTIFY_CHANGE_NAME, IsSet() );
    }
    // Waits that sleep since before the watch; a call that does not come back before; a key that is deleted.
    const HANDLE hNamed = CreateEventA( NULL, FALSE, FALSE, "told" );
    for ( const HANDLE hTold : { hEvent, hNamed } )
    {
        std::thread aWaiting( [=] { EXPECT_EQ( WAIT_OBJECT_0, WaitForSingleObject( hTold, INFINITE ) ); } );
        Sleep( 20 );
        ASSERT_EQ( 0, RegNotifyChangeKeyValue( aInner, FALSE, REG_NOTIFY_CHANGE_LAST_SET, hTold, TRUE ) );
        Sleep( 20 );
        Change( "value", "Outer\\Inner" );
        aWaiting.join();
    }
    CloseHandle( hNamed );
    std::atomic<bool> fBack{ false };
    std::thread aWaiter(
        [&]
        {
            EXPECT_EQ( 0, RegNotifyChangeKeyValue( aInner, FALSE, REG_NOTIFY_CHANGE_LAST_SET, NULL, FALSE ) );
            fBack = true;
        } );
    while ( !fBack )
        Change( "value", "Outer\\Inner" );
    aWaiter.join();
    ASSERT_EQ( 0, Arm( aInner, FALSE, REG_NOTIFY_CHANGE_LAST_SET ) );
    Change( "delete", "Outer\\Inner" );
    EXPECT_TRUE( IsSet() );
    // What a batch holds back is still to come.
    {
        RegistryBatch aBatch;
        ASSERT_EQ( 0, aBatch.Begin( aOuter ) );
        ASSERT_EQ( 0, SetBytes( aOuter, "n", "x" ) );
        ASSERT_EQ( 0, Arm( aOuter, FALSE, REG_NOTIFY_CHANGE_LAST_SET ) );
        EXPECT_FALSE( IsSet() );
        ASSERT_EQ( 0, aBatch.Commit() );
        EXPECT_TRUE( IsSet() );
    }
    CloseHandle( hEvent );
}

// Whenever the key is closed, nobody waits for it any longer.
TEST( Registry, CloseEndsEveryWait )
{
    for ( int i = 0; i < 150; ++i )
    {
        TestKey aKey( "Closed" );
        std::atomic<bool> fReady{ false };
        std::thread aWaiter(
            [&, hKey = aKey.hKey]
            {
                fReady = true;
                RegNotifyChangeKeyValue( hKey, FALSE, REG_NOTIFY_CHANGE_LAST_SET, NULL, FALSE );
            } );
        while ( !fReady )
            std::this_thread::yield();
        std::this_thread::sleep_for( std::chrono::microseconds( i % 50 ) );
        RegCloseKey( std::exchange( aKey.hKey, nullptr ) );
        aWaiter.join();
    }
}
