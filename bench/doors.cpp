#include "doors.h"

#include "core/buffserver.h"
#include "diag/sharedvalues.h"

GetBUFFServerFunc BenchGetBUFFServer()
{
    return &GetBUFFServer;
}

void BenchSwitchDebugMessages( BOOL fOn )
{
    SetDebugEnabled( fOn != FALSE );
}

int BenchEmptyCall( LPCTSTR, LPCTSTR, LPCTSTR )
{
    return 0;
}
