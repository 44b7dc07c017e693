#include "doors.h"

#include "core/buffserver.h"
#include "diag/sharedvalues.h"
#include "platform/debug/debugout.h"

#include <cstdlib>

GetBUFFServerFunc BenchGetBUFFServer()
{
    return &GetBUFFServer;
}

void BenchSwitchDebugMessages( BOOL fOn )
{
    SetDebugEnabled( fOn != FALSE );
}

void BenchUseDebugSink( LPCTSTR pSink )
{
    setenv( "BXTOOLS_DEBUG_SINK", pSink, 1 );
    ForgetDebugSettingsForTest();
}

int BenchEmptyCall( LPCTSTR, LPCTSTR, LPCTSTR )
{
    return 0;
}
