#include "process/processmatch.h"

#include <bxtools/wintypes.h>

#include <algorithm>

namespace
{

// Where '/' divides, programs do without.
constexpr bool NAMES_HAVE_EXTENSION = MYCH_DELIMDIR != '/';

constexpr char LIST_SEPARATOR = ';';

constexpr char Folded( char cLetter )
{
    return cLetter >= 'A' && cLetter <= 'Z' ? static_cast<char>( cLetter | 0x20 ) : cLetter;
}

} // namespace

std::string_view FileNamePart( std::string_view aPath ) noexcept
{
    const size_t ulDelimiter = aPath.rfind( MYCH_DELIMDIR );
    if ( ulDelimiter == aPath.npos )
        return {};
    const std::string_view aName = aPath.substr( ulDelimiter + 1 );
    return NAMES_HAVE_EXTENSION && aName.find( '.' ) == aName.npos ? std::string_view() : aName;
}

bool IsSameName( std::string_view aName, std::string_view aOther ) noexcept
{
    return std::ranges::equal( aName, aOther, {}, Folded, Folded );
}

bool IsListed( std::string_view aName, std::string_view aList ) noexcept
{
    if ( aName.empty() )
        return false;
    for ( ;; )
    {
        const size_t ulEnd = aList.find( LIST_SEPARATOR );
        if ( IsSameName( aList.substr( 0, ulEnd ), aName ) )
            return true;
        if ( ulEnd == aList.npos )
            return false;
        aList.remove_prefix( ulEnd + 1 );
    }
}
