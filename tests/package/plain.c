/* A caller in plain C. Prints how many errors the thread has: one. */
#include <bxtools/cerror.h>

#include <stdio.h>

int main( void )
{
    ULONG ulCount = 0;
    if ( !C_SetLastErr( "PACKAGE.USER", 7, 2, "GetFileAttributes failed", "", "missing.txt" ) ||
         !C_GetAvailableErrorCount( &ulCount ) )
        return 1;
    printf( "plain C: %u\n", (unsigned)ulCount );
    return 0;
}
