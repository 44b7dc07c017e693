// Where the settings of the NLS server stand in the registry, below HKEY_LOCAL_MACHINE.
#pragma once

inline constexpr char NLS_SETTINGS_KEY[] = "Software\\Q.R.N. GmbH\\brindlex\\1.0"
                                           "\\"
                                           "NLS";

// "Yes", "1" or "TRUE" in any case is edit mode.
#define QRN_CTRL_REG_NLS_EDITMODE "EditMode"
// The folder of the language files.
#define QRN_CTRL_REG_NLS_PATH "Path"
// The country code, in digits.
#define QRN_CTRL_REG_NLS_LANGUAGE "Language"
