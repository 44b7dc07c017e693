// How a command ends: the exit codes of bxtool, and the exception that carries one of them to main.
#pragma once

#include <stdexcept>
#include <string>

// Every command uses these and no others; the numbers are part of the interface.
enum class ExitCode
{
    Ok = 0,
    No = 1,
    Usage = 2,
    Input = 3,
    Broken = 4,
    Output = 5,
    Internal = 6,
};

inline constexpr char EXIT_CODE_HELP[] = "Exit codes:\n"
                                         "  0  done\n"
                                         "  1  the answer is no: nothing found\n"
                                         "  2  the command line, or the description given, is wrong\n"
                                         "  3  the input cannot be read or is not what the command works on\n"
                                         "  4  parts of the input are broken; everything else was handled\n"
                                         "  5  the output could not be written\n"
                                         "  6  the tool itself failed, for example for lack of memory\n";

// Ends the command. The text says what failed, on what, and what to do.
class ToolFailure : public std::runtime_error
{
public:
    ToolFailure( ExitCode aCode, const std::string& aText ) : std::runtime_error( aText ), m_aCode( aCode ) {}

    ExitCode GetCode() const { return m_aCode; }

private:
    ExitCode m_aCode;
};
