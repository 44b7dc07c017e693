// How a process's program is found among the names that are looked for.
#pragma once

#include <string_view>

// The name of a program by its path; empty when it has none.
std::string_view FileNamePart( std::string_view aPath ) noexcept;

// Without regard to the case of ASCII letters.
bool IsSameName( std::string_view aName, std::string_view aOther ) noexcept;

// Whether a list, divided by ";", holds a name. No list holds the empty one.
bool IsListed( std::string_view aName, std::string_view aList ) noexcept;
