// The named objects that stand in a folder, for showing them. Reads the files alone: nothing is opened as an object,
// entered, or changed.
#pragma once

#include "platform/namespacefolder.h"

#include <string>
#include <vector>

struct ListedObject
{
    std::string strName;         // without a prefix
    std::string strKind;         // "event", "mutex", "mapping"
    std::string strState;        // "set, manual reset", "owned by thread 17", "5000 bytes" and the like
    std::vector<DWORD> aHolders; // the living processes that have handles; none for one that is left over
    DWORD dwWaiters;  // how many wait for it and for others at once; waits on it alone are not counted
    ULONGLONG ullAge; // seconds
};

// In the order of their names. Files that are damaged or just being made are passed over. False: the last error says why
// the folder cannot be read. Throws when memory runs out.
bool ListObjects( NamespaceScope eScope, std::vector<ListedObject>& rObjects );
