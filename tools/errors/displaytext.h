// Texts of unknown origin, made fit for a terminal.
#pragma once

#include <string>
#include <string_view>

bool IsUtf8( std::string_view aText );

// The text as UTF-8: bytes that are not become U+FFFD, or on Windows the characters that they are in the system's code page.
std::string ToUtf8( std::string_view aText );

// The same as UTF-8 that moves no cursor: control characters become \n, \r, \t or \x1B, and characters that turn the writing
// direction become \u{202E} and the like.
std::string MakeVisible( std::string_view aText );

// How many columns a text of MakeVisible takes: its characters, counted as one column each.
size_t CountColumns( std::string_view aText );

// Writes aText after aLabel in lines of at most nColumns (0: one line), the further lines indented like the first.
// Lines end at blanks where there are any.
std::string Wrap( std::string_view aLabel, std::string_view aText, size_t nColumns );
