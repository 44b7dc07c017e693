// What is wrong in the text of an INI file.
#pragma once

#include <string>
#include <string_view>
#include <vector>

struct IniFinding
{
    size_t nLine; // from 1
    std::string aText;
};

// In the order of the lines. Names are compared without regard to the case of ASCII letters.
std::vector<IniFinding> FindIniFaults( std::string_view aText );
