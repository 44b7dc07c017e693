// The settings of the debug messages.
#include "diag/sharedvalues.h"

#include <bxtools/debug.h>

void DLL_EXPORT OnGlobalValuesChanged()
{
    // There is no store of settings yet. Without settings messages are written, and no level is wanted.
    SetDebugEnabled( true );
    SetDebugLevel( 0 );
}
