// The library's own settings in the registry.
#pragma once

#include "core/callreport.h"

#include <bxtools/registry.h>

// Opens a key below HKEY_LOCAL_MACHINE for reading.
//   aRoot  the key's path.
// Result: FALSE when it cannot be read, which is reported at once.
BOOL OpenSettingsKey( CallReport& rReport, CRegistry& aCRegistry, LPCTSTR aRoot );
