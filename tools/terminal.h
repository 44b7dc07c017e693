// What the standard streams and a terminal need from their system; one file for each system.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

// The standard streams carry bytes from now on: no line end is translated. A terminal takes them as UTF-8.
void UseByteStreams();
// Why the last call on a stream failed, in the system's words.
std::string GetStreamFailure();
// The terminal is as it was before: at the end, and for another program that writes to it meanwhile.
void GiveTerminalBack();

// Columns of the terminal that pStream writes to; 0 when it is a file or a pipe.
size_t GetTerminalColumns( FILE* pStream );

// TRUE when pStream is a terminal, where somebody types or reads.
bool IsTerminal( FILE* pStream );

// Prepares pStream for colour sequences. Result: false when it is no terminal that shows them.
bool CanShowColour( FILE* pStream );
