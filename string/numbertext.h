// Numbers as texts and back, whatever the locale: the formats of the C library's printf to the letter, and the limits
// that the string's safe mode holds texts against.
#pragma once

#include <bxtools/wintypes.h>

#include <charconv>
#include <concepts>
#include <cstddef>
#include <limits>
#include <string_view>
#include <system_error>
#include <type_traits>

// The types of number that a text is checked for; their order is that of NUMBER_KINDS.
enum NumberType
{
    NUMBER_INT,
    NUMBER_UNSIGNED_INT,
    NUMBER_LONG,
    NUMBER_UNSIGNED_LONG,
    NUMBER_SHORT,
    NUMBER_UNSIGNED_SHORT
};

// What goes for a type: its limit, which is also the value that stands for an invalid text, and the limit of what
// follows a minus sign. Those of long are of 32 bits on every system; the sign of an unsigned number is not looked at.
struct NumberKind
{
    ULONG m_ulLimit;
    ULONG m_ulNegativeLimit;
};

inline constexpr NumberKind NUMBER_KINDS[] = {
    { 0x7FFFFFFF, 0x80000000 }, // NUMBER_INT             "%d"
    { 0xFFFFFFFF, 0xFFFFFFFF }, // NUMBER_UNSIGNED_INT    "%u"
    { 0x7FFFFFFF, 0x80000000 }, // NUMBER_LONG            "%ld"
    { 0xFFFFFFFF, 0xFFFFFFFF }, // NUMBER_UNSIGNED_LONG   "%lu"
    { 0x7FFF, 0x8000 },         // NUMBER_SHORT           "%hd"
    { 0xFFFF, 0xFFFF },         // NUMBER_UNSIGNED_SHORT  "%hu"
};

// The text of a number.
class NumberText
{
public:
    // As "%lld" and "%llu".
    template <std::integral Number>
    explicit NumberText( Number aValue ) noexcept : m_pEnd( std::to_chars( m_aText, End(), aValue ).ptr )
    {
    }
    // As "%f".
    explicit NumberText( double dValue ) noexcept
        : m_pEnd( std::to_chars( m_aText, End(), dValue, std::chars_format::fixed, 6 ).ptr )
    {
    }
    // As "%#010lx" of the address.
    explicit NumberText( const void* pValue ) noexcept;

    std::string_view Text() const noexcept { return { m_aText, static_cast<size_t>( m_pEnd - m_aText ) }; }

private:
    char* End() noexcept { return m_aText + sizeof( m_aText ); }

    // The greatest double has 309 digits before the point; a sign, the point and six decimals.
    char m_aText[320];
    char* m_pEnd;
};

// What isspace takes for blank in the C locale.
inline bool IsBlank( char cSign ) noexcept
{
    return cSign == ' ' || ( cSign >= '\t' && cSign <= '\r' );
}

inline std::string_view SkipBlanks( std::string_view aText ) noexcept
{
    while ( !aText.empty() && IsBlank( aText.front() ) )
        aText.remove_prefix( 1 );
    return aText;
}

// Takes a sign off the start of a text. Result: TRUE when it was a minus.
inline bool TakeSign( std::string_view& aText ) noexcept
{
    const bool fNegative = aText.starts_with( '-' );
    if ( fNegative || aText.starts_with( '+' ) )
        aText.remove_prefix( 1 );
    return fNegative;
}

// The number at the start of a text, as strtol and its kin read it: blanks, a sign, decimal digits; 0 when there are
// none. Beyond its limits a signed number ends at the nearer one, an unsigned number at its greatest value. A minus
// before an unsigned number within its limit takes it off 0.
template <std::integral Number>
Number ParseNumber( std::string_view aText ) noexcept
{
    using Magnitude = std::make_unsigned_t<Number>;
    aText = SkipBlanks( aText );
    const bool fNegative = TakeSign( aText );
    Magnitude aValue = 0;
    const auto [pEnd, eError] = std::from_chars( aText.data(), aText.data() + aText.size(), aValue );
    Magnitude aLimit = static_cast<Magnitude>( std::numeric_limits<Number>::max() );
    if ( std::signed_integral<Number> && fNegative )
        ++aLimit;
    const bool fBeyond = eError == std::errc::result_out_of_range || aValue > aLimit;
    if ( fBeyond && std::unsigned_integral<Number> )
        return std::numeric_limits<Number>::max();
    if ( fBeyond )
        aValue = aLimit;
    return static_cast<Number>( fNegative ? 0 - aValue : aValue );
}

// The same of a decimal number with point and exponent; infinity or 0 when it is too great or too small for a double.
double ParseDouble( std::string_view aText ) noexcept;
