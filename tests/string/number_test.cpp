// Texts to numbers, with and without safe mode.
#include "string/numbertext.h"
#include "support/recorder.h"

#include <bxtools/mstring.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdlib>
#include <string>

namespace
{

constexpr char NOT_NUMERIC[] = " Error: !aThis.IsNumeric( TRUE )";
constexpr char BEYOND[] = " Warning: cannot convert string value to int/short/long... -> string to long";

// In safe mode, the texts of aTexts, divided by '|', give llValue with the report pReport; NULL: they give their own
// value in silence.
template <class Number>
void ExpectSafe( Number ( MString::*pConvert )() const, const MString& aTexts, long long llValue,
                 const char* pReport )
{
    for ( USHORT i = 0; i < aTexts.GetTokenCount( '|' ); ++i )
    {
        HookRecorder aHooks;
        MString aString( aTexts.GetToken( i, '|' ) );
        aString.SetFuncPtr( &HookRecorder::Debug, NULL );
        aString.SetSafeMode( TRUE );
        const long long llExpected = pReport != NULL ? llValue : std::strtoll( aString, NULL, 10 );
        EXPECT_EQ( llExpected, static_cast<long long>( ( aString.*pConvert )() ) ) << aString.data();
        const char* pHeader = "From BOOL MString::IsValidRange( int nType ) const";
        EXPECT_TRUE( pReport != NULL ? aHooks.OnlyReport( pHeader, pReport ) : aHooks.Silent() )
            << aString.data();
    }
}

} // namespace

TEST( Number, LeadingDigitsAreReadAsTheCLibraryReadsThem )
{
    const MString aTexts(
        "|0|12a| \t\n\v\f\r 12|+5|-5|--5|+-5|- 5|-|abc|0x10|007|1 2|32768|65536|2147483648|-2147483648|"
        "4294967295|4294967297|-4294967295" );
    for ( USHORT i = 0; i < aTexts.GetTokenCount( '|' ); ++i )
    {
        const MString aString( aTexts.GetToken( i, '|' ) );
        SCOPED_TRACE( aString.data() );
        const long long llExpected = std::strtoll( aString, NULL, 10 );
        EXPECT_EQ( static_cast<int>( llExpected ), static_cast<int>( aString ) );
        EXPECT_EQ( static_cast<long>( llExpected ), static_cast<long>( aString ) );
        EXPECT_EQ( static_cast<short>( llExpected ), static_cast<short>( aString ) );
        EXPECT_EQ( static_cast<USHORT>( llExpected ), aString.toUS() );
        EXPECT_EQ( std::strtoul( aString, NULL, 10 ), static_cast<unsigned long>( aString ) );
    }
    for ( const char* pText : { "4294967296", "-1", "-4294967296" } )
        EXPECT_EQ( 0xFFFFFFFFu, static_cast<unsigned int>( MString( pText ) ) );
    EXPECT_EQ( LLONG_MAX, ParseNumber<long long>( "9223372036854775808" ) );
    EXPECT_EQ( LLONG_MIN, ParseNumber<long long>( "-9999999999999999999999" ) );
    EXPECT_EQ( ULLONG_MAX, ParseNumber<unsigned long long>( "18446744073709551616" ) );
    EXPECT_EQ( '7', static_cast<char>( MString( 78 ) ) );
    EXPECT_EQ( '\0', static_cast<char>( MString() ) );
}

TEST( Number, SafeModeKnowsTheLimitsOfEachType )
{
    ExpectSafe( &MString::operator int, "|2147483647|-2147483648|00000000000000000000042", 0, NULL );
    ExpectSafe( &MString::operator int, "2147483648|-2147483649|99999999999999999999", INT_MAX, BEYOND );
    ExpectSafe( &MString::operator int, "12a|+5| 5|-|--1|1.5|\xb2", INT_MAX, NOT_NUMERIC );
    ExpectSafe( &MString::operator long, "2147483647|-2147483648", 0, NULL );
    ExpectSafe( &MString::operator long, "2147483648|-2147483649", INT_MAX, BEYOND );
    ExpectSafe( &MString::operator short, "32767|-32768", 0, NULL );
    ExpectSafe( &MString::operator short, "32768|-32769", 32767, BEYOND );
    ExpectSafe( &MString::operator unsigned int, "4294967295", 0, NULL );
    ExpectSafe( &MString::operator unsigned int, "4294967296|-4294967296", 0xFFFFFFFF, BEYOND );
    ExpectSafe( &MString::operator unsigned long, "4294967296", 0xFFFFFFFF, BEYOND );
    ExpectSafe( &MString::operator unsigned long, "x", 0xFFFFFFFF, NOT_NUMERIC );
    ExpectSafe( &MString::toUS, "65535|0", 0, NULL );
    ExpectSafe( &MString::toUS, "65536|-65536", 65535, BEYOND );
    EXPECT_FALSE( MString( "5\0", 2 ).IsNumeric( TRUE ) || MString( "-1" ).IsNumeric( FALSE ) );
    // A minus does not make an unsigned number invalid.
    MString aMinus( "-1" );
    aMinus.SetSafeMode( TRUE );
    EXPECT_EQ( 65535, aMinus.toUS() );
}

TEST( Number, PointsAndExponentsAreReadAsTheCLibraryReadsThem )
{
    const MString aTexts(
        "|3.5|-3.5| +.5e1x|5.|.|-.|+-1|--1|e5|1e|1e+|1e400|-1e400|1e-400|123456789012345678901234567890|"
        "0.1|4.9e-324|1.7976931348623157e308|inf|abc|-1e99999999999999999999|1e-99999999999999999999" );
    for ( USHORT i = 0; i < aTexts.GetTokenCount( '|' ); ++i )
    {
        const MString aString( aTexts.GetToken( i, '|' ) );
        EXPECT_EQ( std::strtod( aString, NULL ), static_cast<double>( aString ) ) << aString.data();
        EXPECT_EQ( static_cast<float>( std::strtod( aString, NULL ) ), static_cast<float>( aString ) );
    }
    EXPECT_EQ( HUGE_VAL, ParseDouble( "1" + std::string( 400, '0' ) + "e-5." ) );
    EXPECT_EQ( 0.0, ParseDouble( "0." + std::string( 400, '0' ) + "1e5" ) );

    HookRecorder aHooks;
    MString aSafe( "3.5" );
    aSafe.SetFuncPtr( &HookRecorder::Debug, NULL );
    aSafe.SetSafeMode( TRUE );
    EXPECT_EQ( 1e25, static_cast<double>( aSafe ) );
    EXPECT_EQ( 1e25f, static_cast<float>( aSafe ) );
    const Report aToDo(
        "(null)",
        "From BOOL MString::IsValidFloatRange( int nType ) const -> !!!!!!!!!!! THIS FUNCTION NEEDS SOME CODING !!!!!!!!!!!" );
    EXPECT_TRUE( aHooks.OnlyReports( { aToDo, aToDo } ) );
}
