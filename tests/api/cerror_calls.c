// The C family, called as plain C calls it.
#include "cerror_calls.h"

#include <bxtools/cerror.h>

#include <stddef.h>
#include <string.h>

// Gives the failing expression to the caller.
#define MUST( expression )                                                                                   \
    do                                                                                                       \
    {                                                                                                        \
        if ( !( expression ) )                                                                               \
            return #expression;                                                                              \
    } while ( 0 )

#define RECORD_A "1.0.0+?+MODULE.ERRORS+?+12+?+2+?+first+?++?+a!;!b;c!;!d"
#define RECORD_B "1.0.0+?+B+?+-1+?+0+?++?++?+"
#define HEAD "##HDRMSG0"
#define SEP "$\xB0"
#define STREAM HEAD SEP RECORD_A SEP RECORD_B

static char szText[300];
static USHORT usNeeded;
static ULONG ulNeeded;
static ULONG ulCount;
static ERR lNumber;
static DWORD dwSystemError;

static BOOL Equals( const char* pExpected )
{
    return strcmp( szText, pExpected ) == 0;
}

static void PushBoth( void )
{
    strcpy( szText, "untouched" );
    C_SetLastErr( "MODULE.ERRORS", 12, 2, "first", NULL, "a!;!b;c!;!d" );
    C_SetLastErr( "B", -1, 0, NULL, NULL, NULL );
}

const char* CheckOwnErrors( void )
{
    MUST( C_GetAvailableErrorCount( &ulCount ) && ulCount == 0 );
    PushBoth();
    MUST( C_GetAvailableErrorCount( &ulCount ) && ulCount == 2 );
    MUST( !C_Error2Stream( NULL, 0, 0, &usNeeded ) && usNeeded == sizeof( RECORD_A ) );
    MUST( !C_Error2Stream( szText, sizeof( RECORD_A ) - 1, 0, NULL ) && Equals( "untouched" ) );
    MUST( C_Error2Stream( szText, sizeof( RECORD_A ), 0, NULL ) && Equals( RECORD_A ) );
    MUST( !C_GetOriginErrorValues( szText, 13, &usNeeded, &lNumber, &dwSystemError, 0 ) );
    MUST( usNeeded == 14 && lNumber == 12 && dwSystemError == 2 );
    MUST( C_GetOriginErrorValues( szText, 14, NULL, &lNumber, &dwSystemError, 0 ) &&
          Equals( "MODULE.ERRORS" ) );

    MUST( C_AllErrors2Stream( szText, sizeof( STREAM ), &ulNeeded ) );
    MUST( ulNeeded == sizeof( STREAM ) && Equals( STREAM ) );
    MUST( C_AllErrors2Stream( szText, 1, &ulNeeded ) && ulNeeded == 1 && Equals( "" ) );
    return NULL;
}

// A buffer that is too small loses the errors; one that is missing does not.
const char* CheckLosingAll( void )
{
    PushBoth();
    MUST( !C_AllErrors2Stream( NULL, 100, &ulNeeded ) );
    MUST( C_GetAvailableErrorCount( &ulCount ) && ulCount == 2 );
    MUST( !C_AllErrors2Stream( szText, sizeof( STREAM ) - 1, &ulNeeded ) );
    MUST( ulNeeded == sizeof( STREAM ) && Equals( "untouched" ) );
    MUST( C_GetAvailableErrorCount( &ulCount ) && ulCount == 0 );
    return NULL;
}

const char* CheckStreams( void )
{
    strcpy( szText, STREAM );
    MUST( C_IsErrorStream( szText ) && !C_IsErrorStream( RECORD_A ) && !C_IsErrorStream( NULL ) );
    MUST( C_GetAvailableErrorCountFromStream( &ulCount, szText ) && ulCount == 2 );
    MUST( C_ReverseStream( szText ) && Equals( HEAD SEP RECORD_B SEP RECORD_A ) );
    MUST( C_DeleteErrorFromStream( 0, szText ) && strstr( szText, "+?+a!;c!;!d" ) != NULL );
    MUST( C_GetOriginErrorValuesFromStream( szText, 2, &usNeeded, &lNumber, &dwSystemError, 1, STREAM ) );
    MUST( usNeeded == 2 && Equals( "B" ) && lNumber == -1 && dwSystemError == 0 );

    strcpy( szText, HEAD SEP RECORD_A );
    MUST( !C_Append2Stream( szText, sizeof( STREAM ) - 1, &ulNeeded, RECORD_B ) );
    MUST( ulNeeded == sizeof( STREAM ) && Equals( HEAD SEP RECORD_A ) );
    MUST( C_Append2Stream( szText, ulNeeded, NULL, RECORD_B ) && Equals( STREAM ) );
    MUST( C_Append2Stream( szText, sizeof( szText ), NULL, STREAM ) && Equals( SEP RECORD_A SEP RECORD_B ) );
    return NULL;
}

const char* CheckNullArguments( void )
{
    MUST( !C_GetAvailableErrorCount( NULL ) );
    MUST( !C_GetAvailableErrorCountFromStream( NULL, STREAM ) );
    MUST( !C_Error2Stream( NULL, 5, 0, &usNeeded ) );
    MUST( !C_GetOriginErrorValues( szText, 10, &usNeeded, NULL, &dwSystemError, 0 ) );
    MUST( !C_GetOriginErrorValues( szText, 10, &usNeeded, &lNumber, NULL, 0 ) );
    MUST( !C_GetOriginErrorValuesFromStream( NULL, 10, &usNeeded, &lNumber, &dwSystemError, 0, STREAM ) );
    MUST( !C_DeleteErrorFromStream( 0, NULL ) );
    MUST( !C_Append2Stream( NULL, 10, &ulNeeded, RECORD_B ) );
    MUST( !C_ReverseStream( NULL ) );
    return NULL;
}
