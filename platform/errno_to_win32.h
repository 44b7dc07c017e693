// The one place that knows which Win32 error a system error is.
#pragma once

#include <bxtools/wintypes.h>

// 0 for 0, 31 for an errno without a counterpart. Where Windows tells two cases apart that share an errno (a
// missing file and a missing folder, say), the caller does.
DWORD ErrnoToWin32( int nErrno ) noexcept;

// Sets the last error from errno as it stands.
void SetLastErrorFromErrno() noexcept;
