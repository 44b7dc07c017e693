#include "examples/tour/narrate.h"

#include <cstdarg>
#include <cstdio>

void Narrate( const char* pFormat, ... )
{
    va_list aArguments;
    va_start( aArguments, pFormat );
    vprintf( pFormat, aArguments );
    va_end( aArguments );
    putchar( '\n' );
    fflush( stdout );
}
