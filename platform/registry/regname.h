// Names of keys and values in the registry, and the paths that they form. The case of ASCII's letters does not count.
#pragma once

#include <bxtools/wintypes.h>

#include <cstddef>
#include <string_view>

constexpr size_t LONGEST_KEY_NAME = 255;
constexpr size_t LONGEST_VALUE_NAME = 16383;
// How many keys may stand one below another.
constexpr size_t DEEPEST_KEY = 512;

// The same number for names that are the same.
DWORD HashRegName( std::string_view aName ) noexcept;
bool IsSameRegName( std::string_view aLeft, std::string_view aRight ) noexcept;
// The order in which keys are listed.
bool IsRegNameBefore( std::string_view aLeft, std::string_view aRight ) noexcept;

// 0 for a path that keys can have, without names too; else 161 (an empty name) or 87 (one that is too long). One backslash
// at the end is allowed.
LONG CheckRegPath( std::string_view aPath ) noexcept;

// Takes the first name off a path that was checked. False: none is left.
bool TakeRegName( std::string_view& rPath, std::string_view& rName ) noexcept;
size_t CountRegNames( std::string_view aPath ) noexcept;
