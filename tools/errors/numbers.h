// Error numbers on the command line: decimal, or hexadecimal with 0x as codes are quoted.
#pragma once

#include <bxtools/wintypes.h>

#include <optional>
#include <string>

// A record's number: -2147483648 to 2147483647, or 0x0 to 0xFFFFFFFF for the same 32 bits. Empty when it is none.
std::optional<ERR> ParseErrorNumber( const std::string& aText );
// A system error: 0 to 4294967295 in either form.
std::optional<DWORD> ParseSystemError( const std::string& aText );

// The same as checks of an option's value: an empty text, or what is wrong with the value.
std::string CheckErrorNumber( const std::string& aText );
std::string CheckSystemError( const std::string& aText );
