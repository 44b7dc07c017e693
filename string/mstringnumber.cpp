#include "core/callreport.h"
#include "core/todotext.h"
#include "string/numbertext.h"

#include <bxtools/mstring.h>

#include <algorithm>
#include <iterator>

namespace
{

// The number that the text begins with, or the type's limit where safe mode refuses the text.
template <class Number, class Parsed>
Number ToNumber( std::string_view aText, int nType, BOOL fRefused )
{
    if ( fRefused )
        return static_cast<Number>( NUMBER_KINDS[nType].m_ulLimit );
    return static_cast<Number>( ParseNumber<Parsed>( aText ) );
}

} // namespace

inline MString::MString( const NumberText& aNumber ) : MStringAdapter( aNumber.Text() ) {}

MString::MString( long long llValue ) : MString( NumberText( llValue ) ) {}

MString::MString( unsigned long long ullValue ) : MString( NumberText( ullValue ) ) {}

MString::MString( double dValue ) : MString( NumberText( dValue ) ) {}

MString::MString( const void* pValue ) : MString( NumberText( pValue ) ) {}

MString& MString::AssignNumber( const NumberText& aNumber )
{
    AssignText( aNumber.Text() );
    return *this;
}

MString& MString::AppendNumber( const NumberText& aNumber )
{
    AppendText( aNumber.Text() );
    return *this;
}

MString& MString::operator=( long long llValue )
{
    return AssignNumber( NumberText( llValue ) );
}

MString& MString::operator=( unsigned long long ullValue )
{
    return AssignNumber( NumberText( ullValue ) );
}

MString& MString::operator=( double dValue )
{
    return AssignNumber( NumberText( dValue ) );
}

MString& MString::operator=( const void* pValue )
{
    return AssignNumber( NumberText( pValue ) );
}

MString& MString::operator+=( long long llValue )
{
    return AppendNumber( NumberText( llValue ) );
}

MString& MString::operator+=( unsigned long long ullValue )
{
    return AppendNumber( NumberText( ullValue ) );
}

MString& MString::operator+=( double dValue )
{
    return AppendNumber( NumberText( dValue ) );
}

MString& MString::operator+=( const void* pValue )
{
    return AppendNumber( NumberText( pValue ) );
}

void MString::SetSafeMode( int nSafeMode ) noexcept
{
    m_fSafeMode = nSafeMode != 0;
}

// In safe mode: the text is not a number of the type.
BOOL MString::IsRefused( int nType ) const
{
    return m_fSafeMode && !IsValidRange( nType );
}

MString::operator int() const
{
    return ToNumber<int, long long>( View(), NUMBER_INT, IsRefused( NUMBER_INT ) );
}

MString::operator unsigned int() const
{
    return ToNumber<unsigned int, unsigned int>( View(), NUMBER_UNSIGNED_INT,
                                                 IsRefused( NUMBER_UNSIGNED_INT ) );
}

MString::operator long() const
{
    return ToNumber<long, long long>( View(), NUMBER_LONG, IsRefused( NUMBER_LONG ) );
}

MString::operator unsigned long() const
{
    return ToNumber<unsigned long, unsigned long>( View(), NUMBER_UNSIGNED_LONG,
                                                   IsRefused( NUMBER_UNSIGNED_LONG ) );
}

MString::operator short() const
{
    return ToNumber<short, long long>( View(), NUMBER_SHORT, IsRefused( NUMBER_SHORT ) );
}

USHORT MString::toUS() const
{
    return ToNumber<USHORT, long long>( View(), NUMBER_UNSIGNED_SHORT, IsRefused( NUMBER_UNSIGNED_SHORT ) );
}

MString::operator float() const
{
    return static_cast<float>( static_cast<double>( *this ) );
}

MString::operator double() const
{
    static constexpr double NOT_A_NUMBER = 1e25;
    if ( m_fSafeMode && !IsValidFloatRange( 0 ) )
        return NOT_A_NUMBER;
    return ParseDouble( View() );
}

BOOL MString::IsNumeric( BOOL fWithSign ) const noexcept
{
    const char* pSign = data();
    const char* const pEnd = pSign + length();
    if ( fWithSign && length() >= 2 && *pSign == '-' )
        ++pSign;
    return std::all_of( pSign, pEnd, []( char cSign ) { return cSign >= '0' && cSign <= '9'; } );
}

// A number of any length against a limit, both in decimal.
static bool IsWithin( std::string_view aDigits, ULONG ulLimit ) noexcept
{
    const NumberText aLimit( ulLimit );
    aDigits.remove_prefix( std::min( aDigits.find_first_not_of( '0' ), aDigits.size() ) );
    if ( aDigits.size() != aLimit.Text().size() )
        return aDigits.size() < aLimit.Text().size();
    return aDigits <= aLimit.Text();
}

BOOL MString::IsValidRange( int nType ) const
{
    CallReport aReport( *this, "From BOOL MString::IsValidRange( int nType ) const" );
    if ( !IsNumeric( TRUE ) )
        return aReport.Fail( " Error: !aThis.IsNumeric( TRUE )" );
    if ( nType < 0 || nType >= static_cast<int>( std::size( NUMBER_KINDS ) ) )
        return aReport.Fail( " Internal Error: value type not supported -> switch ( nType ) -> default" );
    const NumberKind& aKind = NUMBER_KINDS[nType];
    std::string_view aDigits = View();
    const bool fNegative = TakeSign( aDigits );
    if ( !IsWithin( aDigits, fNegative ? aKind.m_ulNegativeLimit : aKind.m_ulLimit ) )
        return aReport.Fail( " Warning: cannot convert string value to int/short/long... -> string to long" );
    return TRUE;
}

// Never written: no text is known to be a valid float.
BOOL MString::IsValidFloatRange( int ) const
{
    SendToDoText( m_pMyDbgFunc, m_pHeader, "From BOOL MString::IsValidFloatRange( int nType ) const" );
    return FALSE;
}
