// Three pieces of work that fail, each in its own way of telling. They record what happened on the stack of the thread
// that runs them, and carry on.
#pragma once

struct Worker
{
    const char* pName;
    const char* pStory;
    void ( *pWork )();
};

void ReadSettings();
void LoadPlugIns();
void ConvertTexts();

inline constexpr Worker WORKERS[] = {
    { "settings", "opens a file that is missing, and a folder as if it were a file", ReadSettings },
    { "plug-ins", "loads a library that is not there, and looks for a function that is none", LoadPlugIns },
    { "texts", "converts bytes that are no text, and closes a handle that is none", ConvertTexts },
};
