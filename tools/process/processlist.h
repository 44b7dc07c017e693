// The processes that bxtool ps shows and bxtool kill ends.
#pragma once

#include <bxtools/wintypes.h>

#include <string>
#include <vector>

struct ListedProcess
{
    DWORD dwId;
    std::string aPath; // as bytes; empty where the system does not tell it
};

// All of them, or those with one of the names of KillProcesses but this one itself. Throws a ToolFailure.
std::vector<ListedProcess> ListProcesses();
std::vector<ListedProcess> ListProcesses( const std::string& aNames );
