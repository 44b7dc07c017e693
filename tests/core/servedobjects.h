// Objects for the tests to be served per thread, which keep a record of what became of them.
#pragma once

#include "core/threadregistry.h"

#include <string>
#include <vector>

// What was made and destroyed since the last call, by all threads, in order: "+a", "-a".
std::vector<std::string> TakeServed();
// How many objects are there now.
long ServedCount();

// Two ordinary pairs.
LPVOID DLL_EXPORT CreateA();
BOOL DLL_EXPORT DeleteA( LPVOID pObject );
LPVOID DLL_EXPORT CreateB();
BOOL DLL_EXPORT DeleteB( LPVOID pObject );

// Two pairs without a record, which needs a lock and goes before a process's last thread.
LPVOID DLL_EXPORT CreatePlain();
LPVOID DLL_EXPORT CreateOtherPlain();
BOOL DLL_EXPORT DeletePlain( LPVOID pObject );

// Gives nothing the first two times, then an object.
LPVOID DLL_EXPORT CreateLate();
// Gives nothing, ever; counts.
LPVOID DLL_EXPORT CreateNothing();
// Records "null" for a missing object, else destroys it.
BOOL DLL_EXPORT DeleteMaybe( LPVOID pObject );

LPVOID DLL_EXPORT CreateThrowing();
BOOL DLL_EXPORT DeleteThrowing( LPVOID pObject );

// Starts threads that make and destroy plain objects of the library's registry until the process ends under them.
void StartEndlessCallers( int nThreads );
