// Events, and the names of objects.

#include "platform/transcript.h"

#include <string>

namespace
{
void SayCreated( const char* pName, const char* pObject )
{
    SetLastError( UNTOUCHED );
    const HANDLE hEvent = CreateEventA( NULL, FALSE, FALSE, pObject );
    SayMade( pName, hEvent );
    CloseHandle( hEvent );
}

void SayStates()
{
    const HANDLE hAuto = CreateEventA( NULL, FALSE, TRUE, NULL );
    const HANDLE hManual = CreateEventA( NULL, TRUE, FALSE, "" );
    SayWait( "first wait on a set one", hAuto );
    SayWait( "second wait", hAuto );
    SayOutcome( "set", SetEvent( hAuto ) );
    SayOutcome( "set again", SetEvent( hAuto ) );
    SayWait( "wait after two sets", hAuto );
    SayWait( "wait again after two sets", hAuto );
    SetEvent( hManual );
    SayWait( "manual", hManual );
    SayWait( "manual again", hManual );
    SayOutcome( "reset", ResetEvent( hManual ) );
    SayWait( "manual after reset", hManual );
    SayOutcome( "close", CloseHandle( hManual ) );
    SayWait( "closed", hManual );
    SayOutcome( "set closed", SetEvent( hManual ) );
    SayOutcome( "close twice", CloseHandle( hManual ) );
    SayOutcome( "set null", SetEvent( NULL ) );
    CloseHandle( hAuto );
}

void SayOneName()
{
    SetLastError( UNTOUCHED );
    const HANDLE hFirst = CreateEventA( NULL, TRUE, FALSE, "bxtools one name" );
    SayMade( "first", hFirst );
    SetLastError( UNTOUCHED );
    const HANDLE hSecond = CreateEventA( NULL, FALSE, TRUE, "Local\\bxtools one name" );
    SayMade( "second, by Local, of other kind and state", hSecond );
    SayWait( "the first one's state holds", hSecond );
    SetEvent( hFirst );
    SayWait( "set through the other handle", hSecond );
    SayWait( "the first one's kind holds", hSecond );
    SayCreated( "another case", "BXTOOLS one name" );
    SetLastError( UNTOUCHED );
    const HANDLE hThird = OpenEventA( SYNCHRONIZE, FALSE, "bxtools one name" );
    SayMade( "open to wait", hThird );
    SayWait( "wait with the right to", hThird );
    SayOutcome( "set without the right to", SetEvent( hThird ) );
    const HANDLE hFourth = OpenEventA( EVENT_MODIFY_STATE, FALSE, "bxtools one name" );
    SayOutcome( "reset with the right to", ResetEvent( hFourth ) );
    SayOutcome( "reset without the right to", ResetEvent( hThird ) );
    SayOutcome( "reset null", ResetEvent( NULL ) );
    SayWait( "wait without the right to", hFourth );
    SayOutcome( "as a mutex", CreateMutexA( NULL, FALSE, "bxtools one name" ) );
    SayOutcome( "open as a mutex", OpenMutexA( MUTEX_ALL_ACCESS, FALSE, "bxtools one name" ) );
    SayOutcome( "as a mapping",
                CreateFileMappingA( INVALID_HANDLE_VALUE, NULL, PAGE_READWRITE, 0, 1, "bxtools one name" ) );
    SayOutcome( "release as a mutex", ReleaseMutex( hFirst ) );
    for ( const HANDLE hEvent : { hFirst, hSecond, hThird } )
        CloseHandle( hEvent );
    SayCreated( "while one handle is left", "bxtools one name" );
    CloseHandle( hFourth );
    SayCreated( "after the last one", "bxtools one name" );
    SayOutcome( "open after the last one", OpenEventA( SYNCHRONIZE, FALSE, "bxtools one name" ) );
}

void SayNames()
{
    SayOutcome( "open null", OpenEventA( SYNCHRONIZE, FALSE, NULL ) );
    SayOutcome( "open missing", OpenEventA( SYNCHRONIZE, FALSE, "bxtools missing" ) );
    SayCreated( "characters of paths", "bxtools /:*?<>|..\"%00 x" );
    SayCreated( "dots", ".." );
    SayCreated( "backslash", "bxtools\\inside" );
    SayCreated( "Global", "Global\\bxtools global" );
    SayCreated( "prefix alone", "Local\\" );
    SayCreated( "backslash after the prefix", "Local\\bxtools\\inside" );
    SayCreated( "259 characters", std::string( 259, 'x' ).c_str() );
    SayCreated( "260 characters", std::string( 260, 'x' ).c_str() );
    SayCreated( "10000 characters", std::string( 10000, 'x' ).c_str() );
    const std::string strSame( 250, 'x' );
    const HANDLE hEvent = CreateEventA( NULL, FALSE, FALSE, ( strSame + "1" ).c_str() );
    SayCreated( "long and different at the end", ( strSame + "2" ).c_str() );
    SayCreated( "long and the same", ( strSame + "1" ).c_str() );
    CloseHandle( hEvent );
}
} // namespace

int main()
{
    SayStates();
    SayOneName();
    SayNames();
    return 0;
}
