// A function of a library that was loaded by name, as what it is.
#pragma once

#include <bxtools/wintypes.h>

// The caller knows its type. NULL stays NULL.
template <class Function>
Function As( FARPROC pFunction )
{
    return reinterpret_cast<Function>( reinterpret_cast<LPVOID>( pFunction ) );
}
