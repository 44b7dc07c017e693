// The library's own settings in the registry.
#pragma once

#include "core/callreport.h"

#include <bxtools/mstring.h>
#include <bxtools/registry.h>

// Opens a key below HKEY_LOCAL_MACHINE for reading.
//   aRoot  the key's path.
// Result: FALSE when it cannot be read, which is reported at once.
BOOL OpenSettingsKey( CallReport& rReport, CRegistry& aCRegistry, LPCTSTR aRoot );

// Whether a switch that was read there is on: "Yes", "1" or "TRUE", in any case of letters.
bool IsSwitchedOn( const MString& rText );
