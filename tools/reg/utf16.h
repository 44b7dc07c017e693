// Texts as .reg files hold them.
#pragma once

#include <string>
#include <string_view>

// Between UTF-8 and the bytes of UTF-16, low byte first. A byte that is not UTF-8 becomes 0xDC00 and itself, a unit that
// occurs in no text, and comes back as that byte; so every text survives the way there and back. Any other half of a
// pair becomes U+FFFD.
std::string ToUtf16( std::string_view aUtf8 );
std::string FromUtf16( std::string_view aBytes ); // an even number of them
