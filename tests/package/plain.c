/* A caller in plain C, in three parts like the one in C++. Prints how many errors the thread has: one. */
#include "plainparts.h"

#include <bxtools/btree.h>
#include <bxtools/cerror.h>

#include <stdio.h>

int main( void )
{
    /* A text that is no stream, and a handle that is none. */
    if ( C_IsErrorStream( "" ) || BTreeOnDiskIsStatusOk( NULL ) || !RecordError() )
        return 1;
    printf( "plain C: %u\n", CountErrors() );
    return 0;
}
