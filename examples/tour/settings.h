// The tour's settings file in the current folder, which two processes edit at once.
#pragma once

#include <bxtools/mstring.h>

inline constexpr char SETTINGS_FILE[] = "tour.ini";
inline constexpr int EDITS_OF_EACH = 25;

// Edits the file: each edit counts in one key, which the other process counts in as well, and adds a key of its own with the
// name rEditor and a number. FALSE when the lock cannot be had.
bool EditSettings( const MString& rEditor );

// What became of the edits.
struct SettingsSum
{
    int nCounted;
    int nKeys;
};
SettingsSum SumSettings();
