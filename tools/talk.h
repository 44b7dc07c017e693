// The two voices of bxtool: data go to standard output as bytes, everything said to the user to standard error.
#pragma once

#include <string_view>

// Writes bytes to standard output. Throws a ToolFailure when they cannot be written.
void WriteOutput( std::string_view aBytes );
// Writes a text of unknown origin as it is, so that programs get all of it; to a terminal, so that none of it acts there.
void WriteText( std::string_view aText );
// Gets everything written so far out of our hands; the same failure.
void FinishOutput();

// A heading in the output: bold where that can be seen, unless the user set NO_COLOR.
void WriteHeading( std::string_view aText );

// "bxtool: " and a remark, or an error, as one line to standard error. Nothing in it acts on a terminal.
void SayNote( std::string_view aText );
void SayError( std::string_view aText );
