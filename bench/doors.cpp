#include "doors.h"

#include "core/buffserver.h"
#include "diag/sharedvalues.h"

const void* BenchHotThreadObject()
{
    return GetBUFFServer();
}

void BenchSwitchDebugMessages( BOOL fOn )
{
    SetDebugEnabled( fOn != FALSE );
}
