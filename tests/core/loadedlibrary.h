// The library as a program has it that loads it at run time; one form for each system.
#pragma once

#include <bxtools/wintypes.h>

typedef void* LoadedBXTools;

// NULL, and a failure of the test, when it cannot be loaded.
LoadedBXTools LoadBXTools();
bool UnloadBXTools( LoadedBXTools hLibrary );
bool IsBXToolsMapped();

void* FindBXToolsFunction( LoadedBXTools hLibrary, const char* pName );

// How many thread-local slots, or keys, the process could still make.
int CountFreeThreadKeys();
