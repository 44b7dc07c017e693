// Both ends of the pipe that carries an error stream, as bytes, from one process to another; one file for each system.
#pragma once

#include <bxtools/mstring.h>

// Runs a program with aInput as its standard input, and waits for its end. It shares our standard output.
// Result: its exit code; -1 when it could not be run or did not take its input.
int RunReader( const MString& aProgram, const MString& aInput );

// All of standard input.
MString ReadStandardInput();
