// The error stream that a command works on.
#pragma once

#include <bxtools/mstring.h>

#include <CLI/CLI.hpp>
#include <string>
#include <string_view>

// Where a command's stream comes from, and how its end is taken.
struct StreamSource
{
    std::string aName = "-";
    bool fKeepLineEnd = false;
};

// Adds the arguments of a source to a command: the name and --keep-line-end.
void AddStreamSource( CLI::App& rCommand, StreamSource& rSource );
void AddKeepLineEnd( CLI::App& rCommand, StreamSource& rSource );

// Reads a stream. One line end behind the last record is dropped, as a shell's pipe adds it, unless it is to be kept.
// A single record without a header is taken as a stream of one, with a note to the user.
// Throws a ToolFailure that says what else was found there.
MString ReadErrorStream( const StreamSource& rSource );

// Names a broken record to the user.
void SayBroken( const StreamSource& rSource, size_t nIndex, const std::string& aReason );
