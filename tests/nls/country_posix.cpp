#include "nls/country.h"

#include <cstdlib>

void UseLocale( const char* pLocale )
{
    if ( pLocale != nullptr )
        setenv( "LC_ALL", pLocale, 1 );
    else
        unsetenv( "LC_ALL" );
}
