// Runs the real programs and says what came of it; and the bytes of error streams, written by hand.
#pragma once

#include "support/scratchfolder.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

using Texts = std::vector<std::string>;

struct ProgramResult
{
    int nExitCode;         // -1 when the program could not be started or was killed
    std::string strOutput; // as bytes
    std::string strErrors; // with lines ending in LF

    // Whether it ended so. Each text holds all the parts that are given for it; with none it is empty.
    ::testing::AssertionResult Is( int nExpected, const Texts& aOutput, const Texts& aErrors = {} ) const;
};

// A folder in which programs run.
class ProgramFolder : public ScratchFolder
{
public:
    ProgramResult RunProgram( const std::string& strProgram, const Texts& aArguments,
                              const std::string& strInput = "" ) const;
    // bxtool with words that blanks divide; a word in ' may hold some.
    ProgramResult Tool( const std::string& strWords, const std::string& strInput = "" ) const;
    // The same in one text, for comparisons: exit code, blank, output.
    std::string Outcome( const std::string& strWords, const std::string& strInput = "" ) const;

    // Whether bxtool had to be killed, because it did not end within the time.
    bool KillTool( const std::string& strWords, unsigned uMilliseconds ) const;

private:
    // Waits for the end of a program whose standard streams are files in the folder, and which has no debug sink; one form for
    // each system.
    //   uMilliseconds  then it is killed; 0: never.
    int Start( const std::string& strProgram, const Texts& aArguments, unsigned uMilliseconds = 0 ) const;
};

class ToolTest : public ::testing::Test, protected ProgramFolder
{
};

// The separators, and a stream of the given records.
inline constexpr char SEP[] = "\x24\xB0";
std::string StreamOf( const Texts& aRecords );

// The two records that most tests use.
inline constexpr char RECORD_A[] =
    "1.0.0+?+BXTOOLS.ERRCLS_SYS_LASTERROR+?+12+?+2+?+CreateFile failed+?++?+c:\\data\\a.txt!;!read";
inline constexpr char RECORD_B[] = "1.0.0+?+BXTOOLS.ERRCLS_SYS_HRESULT+?+-2147024891+?+0+?++?++?+";

// Whether a text holds another one.
bool Holds( std::string_view strText, std::string_view strPart );
