#include "error/errstream.h"

#include <algorithm>
#include <limits>

namespace
{

constexpr std::string_view FIELD_SEPARATOR = ERROBJECT_FIELD_SEPARATOR;
static_assert( ERRSTREAM_START.starts_with( ERRSTREAM_HEADER ) &&
               ERRSTREAM_START.ends_with( ERRSTREAM_RECORD_SEPARATOR ) );

constexpr unsigned long long MAXIMUM_MAGNITUDE = std::numeric_limits<unsigned long long>::max() / 16;

// The leading blanks, sign and digits of a text, the magnitude stopping short of an overflow.
struct LeadingNumber
{
    bool fMinus = false;
    unsigned long long ullMagnitude = 0;

    explicit LeadingNumber( std::string_view aText ) noexcept
    {
        size_t ulAt = std::min( aText.find_first_not_of( " \t\n\v\f\r" ), aText.size() );
        if ( ulAt < aText.size() && ( aText[ulAt] == '-' || aText[ulAt] == '+' ) )
            fMinus = aText[ulAt++] == '-';
        for ( ; ulAt < aText.size() && aText[ulAt] >= '0' && aText[ulAt] <= '9'; ++ulAt )
            if ( ullMagnitude < MAXIMUM_MAGNITUDE )
                ullMagnitude = ullMagnitude * 10 + static_cast<unsigned long long>( aText[ulAt] - '0' );
    }
};

} // namespace

bool SplitRecord( std::string_view aRecord, ErrFields& aFields ) noexcept
{
    for ( size_t ulField = 0; ulField + 1 < ERRFIELD_COUNT; ++ulField )
        if ( !CutAt( aRecord, FIELD_SEPARATOR, aFields[ulField] ) )
            return false;
    return !CutAt( aRecord, FIELD_SEPARATOR, aFields[ERRFIELD_PARAMETERS] );
}

bool HasOurVersion( std::string_view aRecord ) noexcept
{
    std::string_view aVersion;
    CutAt( aRecord, FIELD_SEPARATOR, aVersion );
    return aVersion == ERROBJECT_VERSION;
}

ERR ReadSigned( std::string_view aText ) noexcept
{
    const LeadingNumber aNumber( aText );
    constexpr unsigned long long LIMIT = std::numeric_limits<ERR>::max();
    if ( aNumber.fMinus )
        return static_cast<ERR>( -static_cast<long long>( std::min( aNumber.ullMagnitude, LIMIT + 1 ) ) );
    return static_cast<ERR>( std::min( aNumber.ullMagnitude, LIMIT ) );
}

DWORD ReadUnsigned( std::string_view aText ) noexcept
{
    const LeadingNumber aNumber( aText );
    if ( aNumber.ullMagnitude > std::numeric_limits<DWORD>::max() )
        return std::numeric_limits<DWORD>::max();
    const auto dwValue = static_cast<DWORD>( aNumber.ullMagnitude );
    return aNumber.fMinus ? 0 - dwValue : dwValue;
}
