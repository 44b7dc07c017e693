// How the debug output of this process reaches the recorder; one form for each system.
#pragma once

#include <string>

// Called first thing in every test program: a surrounding in which no test touches the real home or system
// folders, and in which the debug output can be captured. May start the program afresh.
void PrepareTestProcess( char** ppArguments );

void StartDebugCapture();
void EndDebugCapture();

// What has been written since the last call, or since the start.
std::string TakeDebugOutput();
