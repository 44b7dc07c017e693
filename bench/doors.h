// Ways into what the library does not export, for measurements alone. bxbench runs on the library's own objects,
// linked the way the library is, with doors.cpp beside them; so the calls measured cross a library's boundary and run
// the shipped instructions.
#pragma once

#include <bxtools/export.h>
#include <bxtools/wintypes.h>

class BUFFServer;

// What a subsystem calls to reach an object of the calling thread's. Called through this pointer it takes an indirect
// call, which is what a call into another library is; its users inside the library take a direct one.
typedef BUFFServer* ( *GetBUFFServerFunc )();
DLL_EXPORT_MOD GetBUFFServerFunc BenchGetBUFFServer();

// Switches the debug messages of this process's namespace on or off, without touching the settings.
DLL_EXPORT_MOD void BenchSwitchDebugMessages( BOOL fOn );

// Names the place where debug messages go from now on, as BXTOOLS_DEBUG_SINK does.
DLL_EXPORT_MOD void BenchUseDebugSink( LPCTSTR pSink );

// Takes what DebugMessage takes and does nothing: what the call into another library costs by itself.
DLL_EXPORT_MOD int BenchEmptyCall( LPCTSTR pModule, LPCTSTR pHeader, LPCTSTR pMessage );
