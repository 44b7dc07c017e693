// Starts a program with files as its standard streams; one file for each system.
#pragma once

#include <string>
#include <vector>

struct ProgramStart
{
    std::string strProgram;
    std::vector<std::string> aArguments;
    std::string strFolder; // where it runs
    std::string strInput;  // the files
    std::string strOutput;
    std::string strErrors;
    std::vector<std::string> aEnvironment; // NAME=value, beside our own; a NAME= without value is taken away
};

// Waits for the program's end. Result: its exit code, -1 when it could not be started or was killed.
int StartProgram( const ProgramStart& rStart );
