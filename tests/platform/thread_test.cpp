// Thread-local slots and the notice of a thread's end, as far as a transcript cannot show them.

#include "platform/threadend.h"
#include "support/failnew.h"
#include "support/threads.h"

#include <bxtools/platform.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <pthread.h>
#include <string>
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
};

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
    const auto Run = []
    {
        thread_local AtThreadEnd aObject;
        EXPECT_NE( nullptr, &aObject );
        TlsSetValue( g_dwSlot, &g_nEnds );
        pthread_setspecific( g_aLaterKey, &g_nEnds );
    };
    OnOtherThread( Run );
    EXPECT_EQ( "object end later end ", g_strOrder );
    pthread_key_delete( g_aLaterKey );
}

TEST_F( ThreadEnd, ComesToThreadsThatStoredOrAsked )
{
    // A function that never rests is bounded.
    const auto Store = [] { TlsSetValue( g_dwSlot, &g_nEnds ); };
    const auto CountAndStore = []
    {
        ++g_nEnds;
        TlsSetValue( g_dwSlot, &g_nEnds );
    };
    const struct
    {
        void ( *pEnd )();
        void ( *pRun )();
        int nLeast, nMost;
    } aCases[] = { { CountEnd, [] { TlsSetValue( g_dwSlot, NULL ); }, 0, 0 },
                   { CountEnd, [] { TlsGetValue( g_dwSlot ); }, 0, 0 },
                   { CountEnd, [] { RequestThreadEnd(); }, 1, 1 },
                   { CountEnd, Store, 1, 1 },
                   { CountAndStore, Store, 2, 16 } };
    for ( const auto& rCase : aCases )
    {
        ASSERT_TRUE( SetThreadEndFunc( rCase.pEnd ) );
        g_nEnds = 0;
        OnOtherThread( rCase.pRun );
        EXPECT_TRUE( g_nEnds >= rCase.nLeast && g_nEnds <= rCase.nMost ) << g_nEnds;
    }
}

TEST_F( ThreadEnd, IsSilentAfterTheClose )
{
    ASSERT_TRUE( SetThreadEndFunc( CountEnd ) );
    g_nEnds = 0;
    const auto StoreAndClose = []
    {
        TlsSetValue( g_dwSlot, &g_nEnds );
        CloseThreadEnd();
        CloseThreadEnd();
        // Slots work on.
        EXPECT_EQ( &g_nEnds, TlsGetValue( g_dwSlot ) );
        EXPECT_TRUE( TlsSetValue( g_dwSlot, &g_strOrder ) );
    };
    OnOtherThread( StoreAndClose );
    EXPECT_EQ( 0, g_nEnds );
    EXPECT_FALSE( SetThreadEndFunc( CountEnd ) );
    EXPECT_EQ( ERROR_NO_SYSTEM_RESOURCES + 0u, GetLastError() );
}

TEST( Tls, WithoutMemorySettingFails )
{
    // Near ones, and far ones, which take memory of their own.
    std::vector<DWORD> aSlots( 70 );
    std::generate( aSlots.begin(), aSlots.end(), TlsAlloc );
    int nValue = 0;
    const auto Set = [&]
    {
        return TlsSetValue( aSlots.front(), &nValue ) && TlsSetValue( aSlots.back(), &nValue ) &&
               TlsGetValue( aSlots.front() ) == &nValue && TlsGetValue( aSlots.back() ) == &nValue;
    };
    // On a thread of its own: faults are a thread's own.
    const auto SetTwice = [&]( NewFault& rFault )
    {
        const bool fSet = rFault.During( Set );
        EXPECT_TRUE( fSet || GetLastError() == ERROR_NOT_ENOUGH_MEMORY );
        EXPECT_EQ( rFault.Hit(), !fSet );
        EXPECT_TRUE( Set() );
    };
    EXPECT_EQ( 2u, ForEachFailingNew( [&]( NewFault& r ) { OnOtherThread( [&] { SetTwice( r ); } ); } ) );
    for ( const DWORD dwSlot : aSlots )
        TlsFree( dwSlot );
}

// Threads reserve, use and give back slots all at once: each must see null first and then its own values only.
TEST( Tls, ThreadsNeverSeeOthersValues )
{
    std::atomic<int> nWrong{ 0 };
    const DWORD dwCommon = TlsAlloc();
    const auto Work = [&]
    {
        int nOwn = 0;
        for ( int i = 0; i < 2000; ++i )
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
    OnThreads( 4, Work );
    TlsFree( dwCommon );
    EXPECT_EQ( 0, nWrong );
}
