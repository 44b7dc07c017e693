// Changes to the text of a profile file.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// What is to become of a section or a key.
struct IniChange
{
    std::string_view aSection;
    std::string_view aKey;
    std::string_view aValue;
    enum class Kind : unsigned char
    {
        SetKey,
        DeleteKey,
        DeleteSection
    } eKind;
};

// Some bytes of a text give way to others. The bytes around them stay as they are.
struct IniEdit
{
    size_t nAt = 0;
    size_t nRemoved = 0;
    std::string strInserted;

    bool IsNothing() const noexcept { return nRemoved == 0 && strInserted.empty(); }
};

// Throws std::bad_alloc.
IniEdit EditIni( std::string_view aText, const IniChange& rChange );
