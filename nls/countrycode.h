// The system's country code.
#pragma once

#include <bxtools/wintypes.h>

// As the telephone's, 49 with a report where the system has none.
USHORT GetSystemCountryCode();
