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
            Say( pName, "%d", fTaken );
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
    Say( "owner tries", "%d", TryEnterCriticalSection( &g_aSection ) );
    Say( "last error", "%u", static_cast<unsigned>( GetLastError() ) );
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
    Say( "guarded count", "%d", nGuarded );
    Say( "interlocked count", "%d", static_cast<int>( lInterlocked ) );
}

void SayInterlocked()
{
    LONG lValue = 0;
    Say( "decrement", "%d", static_cast<int>( InterlockedDecrement( &lValue ) ) );
    Say( "increment", "%d", static_cast<int>( InterlockedIncrement( &lValue ) ) );
    Say( "exchange", "%d", static_cast<int>( InterlockedExchange( &lValue, 7 ) ) );
    Say( "exchange and add", "%d", static_cast<int>( InterlockedExchangeAdd( &lValue, -3 ) ) );
    Say( "compare, equal", "%d", static_cast<int>( InterlockedCompareExchange( &lValue, 9, 4 ) ) );
    Say( "compare, different", "%d", static_cast<int>( InterlockedCompareExchange( &lValue, 11, 4 ) ) );
    Say( "value", "%d", static_cast<int>( lValue ) );
    lValue = INT_MAX;
    Say( "beyond the largest", "%d", static_cast<int>( InterlockedIncrement( &lValue ) ) );
}
} // namespace

int main()
{
    InitializeCriticalSection( &g_aSection );
    SayRecursion();
    SayCounting();
    DeleteCriticalSection( &g_aSection );
    Say( "with a spin count", "%d", InitializeCriticalSectionAndSpinCount( &g_aSection, 4000 ) != FALSE );
    SayInterlocked();
    return 0;
}
