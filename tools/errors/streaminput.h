// The error stream that a command works on.
#pragma once

#include "tools/commandline.h"
#include "tools/toolfailure.h"

#include <bxtools/mstring.h>

#include <string>
#include <string_view>

// Where a command's stream comes from, and how its end is taken.
struct StreamSource
{
    std::string aName = "-";
    bool fKeepLineEnd = false;
};

// Adds the arguments of a source to a command: the name and --keep-line-end.
void AddStreamSource( Command aCommand, StreamSource& rSource );
void AddKeepLineEnd( Command aCommand, StreamSource& rSource );

// Reads a stream. One line end behind the last record is dropped, as a shell's pipe adds it, unless it is to be kept.
// A single record without a header is taken as a stream of one, with a note to the user.
// Throws a ToolFailure that says what else was found there.
MString ReadErrorStream( const StreamSource& rSource );

// Names the broken records of a stream to the user: the first ones each, the rest by their number.
class BrokenRecords
{
public:
    explicit BrokenRecords( const StreamSource& rSource ) : m_rSource( rSource ) {}

    void Name( size_t nIndex, const std::string& aReason );
    // To be called when all have been named. Result: ExitCode::Broken when there was one.
    ExitCode Finish() const;

private:
    const StreamSource& m_rSource;
    size_t m_nCount = 0;
};
