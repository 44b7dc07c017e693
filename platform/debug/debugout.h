// Where debug output goes.
#pragma once

#include <string_view>

// Hands a text to every sink that BXTOOLS_DEBUG_SINK names.
void WriteToDebugSinks( std::string_view aText ) noexcept;

// For the library's end: gives back what the sinks hold. A later message opens its file again.
void CloseDebugSinks() noexcept;

// For tests: the next message reads the settings anew. No other thread may write meanwhile.
void ForgetDebugSettingsForTest() noexcept;
