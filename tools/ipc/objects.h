// The named objects of all processes; one file for each system.
#pragma once

#include <bxtools/wintypes.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// What the system does not tell of an object is missing.
struct SharedObject
{
    std::string aName; // without a prefix, fit for a terminal
    std::string aType;
    std::string aState;
    std::optional<std::vector<DWORD>> aHolders = {}; // processes; none for what a killed one left over
    std::optional<DWORD> dwHandles = {};             // to it, in all processes
    std::optional<DWORD> dwWaiters = {};
    std::optional<uint64_t> nAge = {}; // seconds
};

// In the order of their names. Throws a ToolFailure where they cannot be read.
std::vector<SharedObject> ReadSharedObjects( bool fGlobal );
