// Thread-local slots and the notice of a thread's end, as far as a transcript cannot show them.

#include "platform/threadend.h"
#include "support/failnew.h"

#include <bxtools/platform.h>

#include <gtest/gtest.h>

#include <atomic>
#include <pthread.h>
#include <string>
#include <thread>
#include <vector>

namespace
{
std::string g_strOrder;
std::atomic<int> g_nEnds{ 0 };
std::atomic<DWORD> g_dwSlot{ TLS_OUT_OF_INDEXES };
pthread_key_t g_aLaterKey;

struct AtThreadEnd
{
    ~AtThreadEnd() { g_strOrder += "object "; }
    void Touch() {}
};
thread_local AtThreadEnd t_aObject;

void OnEnd()
{
    ++g_nEnds;
    g_strOrder += TlsGetValue( g_dwSlot ) == &g_nEnds ? "end " : "end without value ";
    TlsSetValue( g_dwSlot, NULL );
}

// A key that was made later, whose destructor comes later.
void OnLaterKey( void* )
{
    g_strOrder += "later ";
    TlsSetValue( g_dwSlot, &g_nEnds );
}

void CountEnd()
{
    ++g_nEnds;
}

void SetValueAgain()
{
    ++g_nEnds;
    TlsSetValue( g_dwSlot, &g_nEnds );
}

class ThreadEnd : public ::testing::Test
{
protected:
    void SetUp() override { g_dwSlot = TlsAlloc(); }
    void TearDown() override
    {
        SetThreadEndFunc( NULL );
        TlsFree( g_dwSlot );
    }
};
} // namespace

TEST_F( ThreadEnd, ComesAfterObjectsAndAgainAfterALaterUse )
{
    ASSERT_TRUE( SetThreadEndFunc( OnEnd ) );
    ASSERT_EQ( 0, pthread_key_create( &g_aLaterKey, OnLaterKey ) );
    std::thread(
        []
        {
            t_aObject.Touch();
            TlsSetValue( g_dwSlot, &g_nEnds );
            pthread_setspecific( g_aLaterKey, &g_nEnds );
        } )
        .join();
    EXPECT_EQ( "object end later end ", g_strOrder );
    pthread_key_delete( g_aLaterKey );
}

TEST_F( ThreadEnd, ComesToThreadsThatStoredOrAsked )
{
    ASSERT_TRUE( SetThreadEndFunc( CountEnd ) );
    g_nEnds = 0;
    std::thread( [] { TlsSetValue( g_dwSlot, NULL ); } ).join();
    std::thread( [] { TlsGetValue( g_dwSlot ); } ).join();
    EXPECT_EQ( 0, g_nEnds );
    std::thread( [] { RequestThreadEnd(); } ).join();
    EXPECT_EQ( 1, g_nEnds );
    std::thread( [] { TlsSetValue( g_dwSlot, &g_nEnds ); } ).join();
    EXPECT_EQ( 2, g_nEnds );
}

TEST_F( ThreadEnd, AFunctionThatNeverRestsIsBounded )
{
    ASSERT_TRUE( SetThreadEndFunc( SetValueAgain ) );
    g_nEnds = 0;
    std::thread( [] { TlsSetValue( g_dwSlot, &g_nEnds ); } ).join();
    EXPECT_GE( g_nEnds, 2 );
    EXPECT_LE( g_nEnds, 16 );
}

TEST_F( ThreadEnd, IsSilentAfterTheClose )
{
    ASSERT_TRUE( SetThreadEndFunc( CountEnd ) );
    g_nEnds = 0;
    std::atomic<int> nStep{ 0 };
    std::thread aThread(
        [&]
        {
            TlsSetValue( g_dwSlot, &g_nEnds );
            nStep = 1;
            nStep.notify_one();
            nStep.wait( 1 );
            // Slots work on.
            EXPECT_EQ( &g_nEnds, TlsGetValue( g_dwSlot ) );
            EXPECT_TRUE( TlsSetValue( g_dwSlot, &nStep ) );
        } );
    nStep.wait( 0 );
    CloseThreadEnd();
    CloseThreadEnd();
    nStep = 2;
    nStep.notify_one();
    aThread.join();
    EXPECT_EQ( 0, g_nEnds );
    EXPECT_FALSE( SetThreadEndFunc( CountEnd ) );
    EXPECT_EQ( ERROR_NO_SYSTEM_RESOURCES + 0u, GetLastError() );
}

TEST( Tls, WithoutMemorySettingFails )
{
    std::vector<DWORD> aSlots;
    for ( int i = 0; i < 70; ++i )
        aSlots.push_back( TlsAlloc() );
    int nValue = 0;
    const auto Set = [&]
    {
        for ( const DWORD dwSlot : { aSlots.front(), aSlots.back() } )
        {
            if ( !TlsSetValue( dwSlot, &nValue ) )
                return false;
        }
        return TlsGetValue( aSlots.front() ) == &nValue && TlsGetValue( aSlots.back() ) == &nValue;
    };
    const auto Run = [&]( NewFault& rFault )
    {
        std::thread(
            [&]
            {
                // Armed on this thread: faults are a thread's own.
                rFault.Arm();
                const bool fSet = Set();
                const DWORD dwError = GetLastError();
                rFault.Disarm();
                EXPECT_EQ( rFault.Hit(), !fSet );
                EXPECT_TRUE( fSet || dwError == ERROR_NOT_ENOUGH_MEMORY );
                EXPECT_TRUE( Set() );
            } )
            .join();
    };
    EXPECT_EQ( 2u, ForEachFailingNew( Run ) );
    for ( const DWORD dwSlot : aSlots )
        TlsFree( dwSlot );
}

// Threads reserve, use and give back slots all at once: each must see null first and then its own values only.
TEST( Tls, ThreadsNeverSeeOthersValues )
{
    constexpr int THREADS = 4;
    constexpr int ROUNDS = 2000;
    std::atomic<int> nWrong{ 0 };
    const DWORD dwCommon = TlsAlloc();
    const auto Work = [&]
    {
        int nOwn = 0;
        for ( int i = 0; i < ROUNDS; ++i )
        {
            const DWORD dwSlot = TlsAlloc();
            nWrong += TlsGetValue( dwSlot ) != NULL;
            TlsSetValue( dwSlot, &nOwn );
            TlsSetValue( dwCommon, &nOwn );
            nWrong += TlsGetValue( dwSlot ) != &nOwn;
            nWrong += TlsGetValue( dwCommon ) != &nOwn;
            TlsFree( dwSlot );
        }
    };
    std::vector<std::thread> aThreads;
    for ( int i = 0; i < THREADS; ++i )
        aThreads.emplace_back( Work );
    for ( std::thread& rThread : aThreads )
        rThread.join();
    TlsFree( dwCommon );
    EXPECT_EQ( 0, nWrong );
}
