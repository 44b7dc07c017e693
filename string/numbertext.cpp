#include "string/numbertext.h"

#include <algorithm>
#include <cstdint>

NumberText::NumberText( const void* pValue ) noexcept
{
    // The C library puts no prefix before a zero, but fills all ten places.
    static constexpr char PREFIX[] = "0x";
    static constexpr size_t PLACES = 10;
    char aDigits[2 * sizeof( pValue )];
    const auto [pDigitsEnd, eError] =
        std::to_chars( aDigits, aDigits + sizeof( aDigits ), reinterpret_cast<uintptr_t>( pValue ), 16 );
    const size_t ulDigits = static_cast<size_t>( pDigitsEnd - aDigits );
    const size_t ulPrefix = pValue != NULL ? sizeof( PREFIX ) - 1 : 0;
    const size_t ulZeros = PLACES - std::min( PLACES, ulPrefix + ulDigits );
    m_pEnd = std::copy_n( PREFIX, ulPrefix, m_aText );
    m_pEnd = std::fill_n( m_pEnd, ulZeros, '0' );
    m_pEnd = std::copy( aDigits, pDigitsEnd, m_pEnd );
}

// Tells the two ways apart in which an unsigned number can be beyond a double: TRUE too great, FALSE too small.
static bool IsTooGreat( std::string_view aNumber ) noexcept
{
    const size_t ulDigitsEnd = std::min( aNumber.find_first_not_of( "0123456789." ), aNumber.size() );
    const std::string_view aDigits = aNumber.substr( 0, ulDigitsEnd );
    const size_t ulPoint = std::min( aDigits.find( '.' ), aDigits.size() );
    const size_t ulFirstDigit = aDigits.find_first_not_of( "0." );
    const long long llPlaces = static_cast<long long>( ulPoint ) - static_cast<long long>( ulFirstDigit );
    aNumber.remove_prefix( std::min( ulDigitsEnd + 1, aNumber.size() ) );
    return llPlaces + ParseNumber<int>( aNumber ) > 0;
}

double ParseDouble( std::string_view aText ) noexcept
{
    aText = SkipBlanks( aText );
    const bool fNegative = TakeSign( aText );
    double dValue = 0;
    if ( aText.starts_with( '-' ) )
        return dValue;
    const auto [pEnd, eError] = std::from_chars( aText.data(), aText.data() + aText.size(), dValue );
    if ( eError == std::errc::result_out_of_range )
        dValue = IsTooGreat( aText ) ? std::numeric_limits<double>::infinity() : 0;
    return fNegative ? -dValue : dValue;
}
