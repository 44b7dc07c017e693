// The texts of error numbers.
#pragma once

#include <bxtools/wintypes.h>

#include <string_view>

// The text without its line end, empty for an unknown number. HRESULTs of facility 7 have their code's text.
std::string_view FindErrorText( DWORD dwErrCode ) noexcept;

// Whether the text has places for inserts (%1, %2, ...).
bool HasInserts( std::string_view aText ) noexcept;
