// Critical sections and interlocked counters.

#include "platform/transcript.h"

#include <climits>

namespace
{
CRITICAL_SECTION g_aSection;

void SayOtherThreadTries( const char* pName )
{
    OnOtherThread(
        [=]
        {
            const BOOL fTaken = TryEnterCriticalSection( &g_aSection );
            SayNumber( pName, fTaken );
            if ( fTaken )
                LeaveCriticalSection( &g_aSection );
        } );
}

void SayRecursion()
{
    SayOtherThreadTries( "free" );
    SetLastError( UNTOUCHED );
    EnterCriticalSection( &g_aSection );
    EnterCriticalSection( &g_aSection );
    SayNumber( "owner tries", TryEnterCriticalSection( &g_aSection ) );
    SayNumber( "last error", GetLastError() );
    SayOtherThreadTries( "entered three times" );
    LeaveCriticalSection( &g_aSection );
    LeaveCriticalSection( &g_aSection );
    SayOtherThreadTries( "left twice" );
    LeaveCriticalSection( &g_aSection );
    SayOtherThreadTries( "left three times" );
}

void SayCounting()
{
    int nGuarded = 0;
    LONG lInterlocked = 0;
    const auto Count = [&]
    {
        for ( int n = 0; n < 20000; ++n )
        {
            EnterCriticalSection( &g_aSection );
            ++nGuarded;
            LeaveCriticalSection( &g_aSection );
            InterlockedIncrement( &lInterlocked );
        }
    };
    OnThreads( 8, Count );
    SayNumber( "guarded count", nGuarded );
    SayNumber( "interlocked count", lInterlocked );
}

void SayInterlocked()
{
    LONG lValue = 0;
    SayNumber( "decrement", InterlockedDecrement( &lValue ) );
    SayNumber( "increment", InterlockedIncrement( &lValue ) );
    SayNumber( "exchange", InterlockedExchange( &lValue, 7 ) );
    SayNumber( "exchange and add", InterlockedExchangeAdd( &lValue, -3 ) );
    SayNumber( "compare, equal", InterlockedCompareExchange( &lValue, 9, 4 ) );
    SayNumber( "compare, different", InterlockedCompareExchange( &lValue, 11, 4 ) );
    SayNumber( "value", lValue );
    lValue = INT_MAX;
    SayNumber( "beyond the largest", InterlockedIncrement( &lValue ) );
}
} // namespace

int main()
{
    InitializeCriticalSection( &g_aSection );
    SayRecursion();
    SayCounting();
    DeleteCriticalSection( &g_aSection );
    SayNumber( "with a spin count", InitializeCriticalSectionAndSpinCount( &g_aSection, 4000 ) != FALSE );
    SayInterlocked();
    return 0;
}
