// Where the settings of the debug messages stand in the registry, below HKEY_LOCAL_MACHINE.
#pragma once

inline constexpr char DEBUG_SETTINGS_KEY[] = "Software\\Q.R.N. GmbH\\brindlex\\1.0"
                                             "\\"
                                             "DBG";

// "Yes", "1" or "TRUE" in any case switch the messages on.
#define QRN_CTRL_REG_DBG_OUT "Out"
// Up to five of "1" to "5" and "all", divided by semicolons.
#define QRN_CTRL_REG_DBG_LEVEL "Level"
