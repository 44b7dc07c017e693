// Paths as the functions on them take them apart.
#pragma once

#include <bxtools/mstring.h>
#include <bxtools/wintypes.h>

#include <algorithm>
#include <string_view>
#include <utility>

// A path with the system's own delimiters: a backslash divides everywhere. NULL is "". Throws where there is no memory.
inline MString OwnPath( LPCTSTR pPath )
{
    const std::string_view aGiven( pPath != NULL ? pPath : "" );
    const auto Write = [aGiven]( char* pTo )
    { return std::replace_copy( aGiven.begin(), aGiven.end(), pTo, '\\', MYCH_DELIMDIR ); };
    MString aPath;
    static_cast<RWCString&>( aPath ) = RWCString::written( aGiven.size(), Write );
    return aPath;
}

inline std::string_view View( const MString& aText )
{
    return { aText.data(), aText.length() };
}

// Takes away what follows the first ulLength characters. Throws where there is no memory.
inline void CutTo( MString& aText, size_t ulLength )
{
    aText.replace( ulLength, aText.length() - ulLength, "", 0 );
}
