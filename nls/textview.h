// Texts as views of their characters.
#pragma once

#include <bxtools/mstring.h>

#include <string_view>

// NULL is "".
inline std::string_view ViewOf( LPCTSTR pText ) noexcept
{
    return pText != NULL ? pText : "";
}

inline std::string_view ViewOf( const MString& aText ) noexcept
{
    return { aText.data(), aText.length() };
}
