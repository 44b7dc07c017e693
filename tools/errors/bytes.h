// Between the library's strings and the tool's bytes.
#pragma once

#include <bxtools/mstring.h>

#include <string_view>

inline std::string_view ViewOf( const MString& aText )
{
    return std::string_view( aText.data(), aText.length() );
}

// Throws std::bad_alloc, where MString's own constructors would report and leave the string empty.
inline MString ToMString( std::string_view aBytes )
{
    MString aText;
    aText.assign( aBytes.data(), aBytes.size() );
    return aText;
}
