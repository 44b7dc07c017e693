// Thread-local slots.

#include "platform/transcript.h"

#include <atomic>
#include <vector>

namespace
{
int g_nOne = 1;
int g_nTwo = 2;

const char* NameOf( const void* pValue )
{
    return pValue == NULL ? "null" : pValue == &g_nOne ? "one" : pValue == &g_nTwo ? "two" : "other";
}

void SayValue( const std::string& rName, DWORD dwIndex )
{
    SetLastError( UNTOUCHED );
    const void* const pValue = TlsGetValue( dwIndex );
    Say( rName, "%s, last error %u", NameOf( pValue ), static_cast<unsigned>( GetLastError() ) );
}

void SaySet( const char* pName, DWORD dwIndex, LPVOID pValue )
{
    SetLastError( UNTOUCHED );
    SayWithError( pName, TlsSetValue( dwIndex, pValue ) );
}

void SayOneSlot()
{
    const DWORD dwIndex = TlsAlloc();
    SayValue( "new slot", dwIndex );
    SaySet( "set", dwIndex, &g_nOne );
    SayValue( "get", dwIndex );
    OnOtherThread(
        [=]
        {
            SayValue( "other thread", dwIndex );
            TlsSetValue( dwIndex, &g_nTwo );
        } );
    SayValue( "after another thread set its own", dwIndex );
    SaySet( "set null", dwIndex, NULL );
    SayValue( "get null", dwIndex );
    SetLastError( UNTOUCHED );
    SayWithError( "free", TlsFree( dwIndex ) );
    SayOutcome( "free again", TlsFree( dwIndex ) );
}

// A thread that holds a value in a slot while the slot is given back and reserved again.
void SayReuse( const std::string& rName, bool fFarSlot )
{
    std::vector<DWORD> aBefore;
    while ( fFarSlot && aBefore.size() < 200 )
        aBefore.push_back( TlsAlloc() );
    const DWORD dwIndex = TlsAlloc();
    TlsSetValue( dwIndex, &g_nOne );

    std::atomic<int> nStep{ 0 };
    const auto Await = [&]( int nAwaited )
    {
        while ( nStep < nAwaited )
            std::this_thread::yield();
    };
    const auto Hold = [&]
    {
        TlsSetValue( dwIndex, &g_nTwo );
        nStep = 1;
        Await( 2 );
        SayValue( rName + ", other thread", dwIndex );
    };
    std::thread aThread( Hold );
    Await( 1 );
    TlsFree( dwIndex );
    const DWORD dwAgain = TlsAlloc();
    if ( dwAgain == dwIndex )
        SayValue( rName, dwIndex );
    nStep = 2;
    aThread.join();
    TlsFree( dwAgain );
    for ( const DWORD dwOther : aBefore )
        TlsFree( dwOther );
}

void SayManySlots()
{
    std::vector<DWORD> aIndexes;
    for ( DWORD dwIndex = TlsAlloc(); dwIndex != TLS_OUT_OF_INDEXES; dwIndex = TlsAlloc() )
        aIndexes.push_back( dwIndex );
    SayOutcome( "one slot too many", false );
    SayNumber( "at least 500 slots", aIndexes.size() >= 500 );
    bool fRight = true;
    for ( const DWORD dwIndex : aIndexes )
        fRight &= TlsGetValue( dwIndex ) == NULL && TlsSetValue( dwIndex, &g_nOne + dwIndex ) != FALSE;
    for ( const DWORD dwIndex : aIndexes )
        fRight &= TlsGetValue( dwIndex ) == &g_nOne + dwIndex;
    SayNumber( "every slot holds its own", fRight );
    for ( const DWORD dwIndex : aIndexes )
        TlsFree( dwIndex );
}

void SayBadIndexes()
{
    SayValue( "get at no index", TLS_OUT_OF_INDEXES );
    SaySet( "set at no index", TLS_OUT_OF_INDEXES, &g_nOne );
    SayOutcome( "free no index", TlsFree( TLS_OUT_OF_INDEXES ) );
    SayValue( "get at 1087", 1087 );
    SayValue( "get at 1088", 1088 );
    SaySet( "set at 1088", 1088, &g_nOne );
    SayOutcome( "free 1088", TlsFree( 1088 ) );
    SaySet( "set null at 1088", 1088, NULL );
}
} // namespace

int main()
{
    SayOneSlot();
    SayReuse( "reserved again", false );
    SayReuse( "far slot reserved again", true );
    SayManySlots();
    SayBadIndexes();
    return 0;
}
