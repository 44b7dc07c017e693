#include "nls/languageheader.h"

#include <algorithm>
#include <cstdint>

namespace
{

constexpr std::string_view UTF8_MARK = "\xEF\xBB\xBF";

bool IsNumeric( std::string_view aText ) noexcept
{
    return std::all_of( aText.begin(), aText.end(), []( char c ) { return c >= '0' && c <= '9'; } );
}

LONG ToNumber( std::string_view aDigits ) noexcept
{
    constexpr int64_t LARGEST = 0x7FFFFFFF;
    int64_t llValue = 0;
    for ( const char c : aDigits )
        llValue = std::min( llValue * 10 + ( c - '0' ), LARGEST );
    return static_cast<LONG>( llValue );
}

// The code of a column: what stands behind its only "=", else all of it.
std::string_view CodeOf( std::string_view aColumn ) noexcept
{
    const size_t uEqual = aColumn.find( '=' );
    if ( uEqual == aColumn.npos || aColumn.find( '=', uEqual + 1 ) != aColumn.npos )
        return aColumn;
    return aColumn.substr( uEqual + 1 );
}

} // namespace

std::string_view FirstLine( std::string_view aText ) noexcept
{
    if ( aText.starts_with( UTF8_MARK ) )
        aText.remove_prefix( UTF8_MARK.size() );
    return aText.substr( 0, aText.find_first_of( "\r\n" ) );
}

LanguageHeader::LanguageHeader( std::string_view aLine ) noexcept : m_aRest( aLine )
{
    TakeColumn();
}

std::string_view LanguageHeader::TakeColumn() noexcept
{
    const size_t uEnd = m_aRest.find( ';' );
    const std::string_view aColumn = m_aRest.substr( 0, uEnd );
    m_fMore = uEnd != m_aRest.npos;
    m_aRest.remove_prefix( m_fMore ? uEnd + 1 : m_aRest.size() );
    return aColumn;
}

bool LanguageHeader::NextCode( LONG& rlCode ) noexcept
{
    if ( !m_fMore || m_fWrong )
        return false;
    const std::string_view aCode = CodeOf( TakeColumn() );
    m_fWrong = !IsNumeric( aCode );
    if ( !m_fWrong )
        rlCode = ToNumber( aCode );
    return !m_fWrong;
}
