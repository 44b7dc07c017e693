// Runs the real programs and says what came of it; and the bytes of error streams, written by hand.
#pragma once

#include "support/scratchfolder.h"

#include <string>
#include <string_view>
#include <vector>

struct ProgramResult
{
    int nExitCode;
    std::string strOutput; // as bytes
    std::string strErrors; // with lines ending in LF
};

// A folder in which programs run. Without a change of its own a program finds no BXTOOLS_DEBUG_SINK.
class ProgramFolder : public ScratchFolder
{
public:
    ProgramResult Run( const std::string& strProgram, const std::vector<std::string>& aArguments,
                       const std::string& strInput = "",
                       const std::vector<std::string>& aEnvironment = {} ) const;

    // bxtool errors <arguments>.
    ProgramResult Errors( std::vector<std::string> aArguments, const std::string& strInput = "" ) const;
    // The same in one text, for comparisons: exit code, blank, output.
    std::string Outcome( const std::vector<std::string>& aArguments, const std::string& strInput = "" ) const;
};

// The separators, and a stream of the given records.
inline constexpr char SEP[] = "\x24\xB0";
std::string StreamOf( const std::vector<std::string>& aRecords );

// The two records that most tests use.
inline constexpr char RECORD_A[] =
    "1.0.0+?+BXTOOLS.ERRCLS_SYS_LASTERROR+?+12+?+2+?+CreateFile failed+?++?+c:\\data\\a.txt!;!read";
inline constexpr char RECORD_B[] = "1.0.0+?+BXTOOLS.ERRCLS_SYS_HRESULT+?+-2147024891+?+0+?++?++?+";

// Whether a text holds another one.
bool Holds( std::string_view strText, std::string_view strPart );
