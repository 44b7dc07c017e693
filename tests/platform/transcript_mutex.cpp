// Mutexes.

#include "platform/transcript.h"

namespace
{
// The wait of a thread that ends without giving the mutex back.
void SayLeftWait( const std::string& rName, HANDLE hMutex )
{
    OnOtherThread( [&] { SayWait( rName, hMutex ); } );
}

void SayOwner()
{
    const HANDLE hMutex = CreateMutexA( NULL, TRUE, NULL );
    SayWait( "owned again", hMutex );
    SayLeftWait( "taken by another thread", hMutex );
    OnOtherThread( [=] { SayOutcome( "released by another thread", ReleaseMutex( hMutex ) ); } );
    SayOutcome( "released once", ReleaseMutex( hMutex ) );
    SayLeftWait( "taken by another thread after one release", hMutex );
    SayOutcome( "released twice", ReleaseMutex( hMutex ) );
    SayOutcome( "released once too often", ReleaseMutex( hMutex ) );
    SayLeftWait( "taken by another thread after all", hMutex );
    SayWait( "after its end", hMutex );
    SayWait( "owned again after its end", hMutex );
    SayOutcome( "released after its end", ReleaseMutex( hMutex ) );
    SayOutcome( "released twice after its end", ReleaseMutex( hMutex ) );
    SayOutcome( "released once too often after its end", ReleaseMutex( hMutex ) );
    CloseHandle( hMutex );
    SayOutcome( "released closed", ReleaseMutex( hMutex ) );
    SayOutcome( "released null", ReleaseMutex( NULL ) );
}

void SayLeftOwned( const std::string& rName, const char* pObject )
{
    const HANDLE hMutex = CreateMutexA( NULL, FALSE, pObject );
    OnOtherThread(
        [=]
        {
            for ( int i = 0; i < 3; ++i )
                WaitForSingleObject( hMutex, INFINITE );
        } );
    SayWait( rName, hMutex, 1000 );
    SayOutcome( rName + ", released", ReleaseMutex( hMutex ) );
    SayLeftWait( rName + ", for the next but one", hMutex );
    CloseHandle( hMutex );
}

void SayName()
{
    constexpr char NAME[] = "bxtools mutex";
    SetLastError( UNTOUCHED );
    const HANDLE hFirst = CreateMutexA( NULL, TRUE, NAME );
    Say( "new", "last error %u", static_cast<unsigned>( GetLastError() ) );
    OnOtherThread(
        [=]
        {
            SetLastError( UNTOUCHED );
            const HANDLE hSecond = CreateMutexA( NULL, TRUE, NAME );
            Say( "existing", "last error %u", static_cast<unsigned>( GetLastError() ) );
            SayWait( "initial owner of an existing one", hSecond );
            CloseHandle( hSecond );
        } );
    const HANDLE hOpened = OpenMutexA( SYNCHRONIZE, FALSE, NAME );
    SayWait( "owned through another handle", hOpened );
    CloseHandle( hFirst );
    SayOutcome( "released with the right to wait", ReleaseMutex( hOpened ) );
    SayLeftWait( "closing another handle releases nothing", hOpened );
    const HANDLE hNoWait = OpenMutexA( MUTEX_MODIFY_STATE, FALSE, NAME );
    SayWait( "without the right to wait", hNoWait );
    CloseHandle( hNoWait );
    CloseHandle( hOpened );
    SayOutcome( "open after the last handle", OpenMutexA( SYNCHRONIZE, FALSE, NAME ) );
    // The old one is still this thread's.
    SetLastError( UNTOUCHED );
    const HANDLE hAnew = CreateMutexA( NULL, FALSE, NAME );
    Say( "anew while the old one is owned", "last error %u", static_cast<unsigned>( GetLastError() ) );
    SayLeftWait( "another thread takes the new one", hAnew );
    SayWait( "its owner has ended", hAnew );
    SayOutcome( "the new one is released", ReleaseMutex( hAnew ) );
    SayOutcome( "open null", OpenMutexA( SYNCHRONIZE, FALSE, NULL ) );
    SayOutcome( "as an event", CreateEventA( NULL, FALSE, FALSE, NAME ) );
    SayOutcome( "set as an event", SetEvent( hAnew ) );
    CloseHandle( hAnew );
}
} // namespace

int main()
{
    SayOwner();
    SayLeftOwned( "left owned", NULL );
    SayLeftOwned( "named, left owned", "bxtools left" );
    SayName();
    return 0;
}
