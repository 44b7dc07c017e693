// Where the text buffers come from, and where they go.
#pragma once

#include <bxtools/wintypes.h>

class MyBufFactory
{
public:
    // An uninitialised array of ulSize characters; throws when there is no memory.
    LPTSTR CreateVector( ULONG ulSize );
};

class MyBufDelete
{
public:
    // Frees an array made by CreateVector; NULL is accepted.
    BOOL DeleteVector( LPTSTR pObj );
};
