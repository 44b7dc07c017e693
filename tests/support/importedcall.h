// Windows: a function of the system as a library calls it, stood in for by the test.
#pragma once

#include <windows.h>

// From here on the library calls pStandIn instead, by which everybody else still gets the function itself.
//   pLibrary  a loaded library that imports the function from kernel32.
// Result: whether it does.
bool StandInForCall( const char* pLibrary, const char* pFunction, void* pStandIn );
