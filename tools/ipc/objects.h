// The named objects of all processes; one file for each system.
#pragma once

#include <bxtools/wintypes.h>

#include <string>
#include <vector>

struct SharedObject
{
    std::string aName; // without a prefix, fit for a terminal
    std::string aType;
    std::string aState;
    std::vector<DWORD> aHolders; // processes; none for what a killed one left over
    DWORD dwWaiters;
    uint64_t nAge; // seconds
};

// In the order of their names. Throws a ToolFailure where they cannot be read.
std::vector<SharedObject> ReadSharedObjects( bool fGlobal );
