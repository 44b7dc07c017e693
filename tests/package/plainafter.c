#include "plainparts.h"

#include <bxtools/cerror.h>

#include <windows.h>

unsigned CountErrors( void )
{
    ULONG ulCount = 0;
    return C_GetAvailableErrorCount( &ulCount ) ? (unsigned)ulCount : 0;
}
