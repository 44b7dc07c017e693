// Where the registry's files lie.
#pragma once

#include <string>

// $BXTOOLS_STATE_DIR, else /var/lib/bxtools when it exists, else the user's. The environment counts only in a process
// without raised rights. Empty: there is none. Throws std::bad_alloc.
std::string FindMachineRegFolder();
// $BXTOOLS_STATE_DIR, else $XDG_STATE_HOME/bxtools, else ~/.local/state/bxtools.
std::string FindUserRegFolder();

// Makes a folder and those above it, for the user alone where they are missing. False: errno says why not.
bool MakeRegFolder( const std::string& strFolder );
