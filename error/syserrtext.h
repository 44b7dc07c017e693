// The system's texts for error numbers; AppendLastErrMsg and ExpandLastError, which callers have, too, are
// described in error.h.
#pragma once

#include <bxtools/wintypes.h>

class CallReport;
class MString;

// Appends the system's text for dwLastErr to the message of a call that has failed; see AppendLastErrMsg.
// Result: FALSE, that of the failed call.
BOOL TailLastErrMsg( CallReport& aReport, DWORD dwLastErr );
