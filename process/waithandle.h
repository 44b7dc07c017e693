// The wait that keeps messages flowing, for several handles.
#pragma once

#include <bxtools/wintypes.h>

class CallReport;

// As WaitForHandleSignaled, for the first ready one of up to 63 handles. Result: FALSE, with the reason stored in the
// report.
//   dwResult  out: the ready one's index, or as there.
BOOL WaitForHandles( CallReport& rReport, const HANDLE* pHandles, DWORD dwCount, DWORD dwMilliseconds,
                     BOOL fWithMessageLoop, DWORD& dwResult );
