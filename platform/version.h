// For tests of what the library does on the Windows 95 family.
#pragma once

#include <bxtools/wintypes.h>

// The platform id that GetVersionExA gives from here on.
void SetPlatformIdForTest( DWORD dwPlatformId ) noexcept;
