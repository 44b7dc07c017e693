// Numbers to text and back, beside Poco's and the standard library's. The numbers have one to ten digits and both signs,
// so that no branch always goes the same way; a time is that of one number.
#include "measure.h"

#include <bxtools/mstring.h>

#include <Poco/NumberFormatter.h>
#include <Poco/NumberParser.h>
#include <charconv>
#include <cstdio>
#include <vector>

struct NumberSample
{
    std::vector<long> m_aNumbers;
    std::vector<std::string> m_aTexts;
    std::vector<MString> m_aStrings;
    std::string m_strExpected;
};

static NumberSample MakeNumberSample()
{
    NumberSample aSample;
    long lMagnitude = 1;
    for ( int i = 0; i < 10; ++i, lMagnitude *= 10 )
        for ( long lLeading : { 1L, -2L } )
        {
            const long lNumber = lLeading * lMagnitude + i;
            const std::string strText = std::to_string( lNumber );
            aSample.m_aNumbers.push_back( lNumber );
            aSample.m_aTexts.push_back( strText );
            aSample.m_aStrings.push_back( MString( strText.c_str() ) );
            aSample.m_strExpected += strText + "\n";
        }
    return aSample;
}

// One operation for each element of aInputs.
template <class Input, class Operation>
static void MeasureEach( const char* pName, const std::string& strExpected, const std::vector<Input>& aInputs,
                         Operation aOperation )
{
    Measure(
        pName, strExpected,
        [aInputs, aOperation]( auto& rUse )
        {
            for ( const Input& aInput : aInputs )
                aOperation( aInput, rUse );
        },
        static_cast<benchmark::IterationCount>( aInputs.size() ) );
}

static void RegisterThereAndBack( const NumberSample& aSample )
{
    MeasureEach( "string/number/bxtools", aSample.m_strExpected, aSample.m_aStrings,
                 []( const MString& aString, auto& rUse )
                 {
                     const long lNumber = aString;
                     const MString aText( lNumber );
                     rUse( aText.data() );
                 } );
    MeasureEach( "string/number/Poco", aSample.m_strExpected, aSample.m_aTexts,
                 []( const std::string& strString, auto& rUse )
                 {
                     const Poco::Int64 llNumber = Poco::NumberParser::parse64( strString );
                     const std::string strText = Poco::NumberFormatter::format( llNumber );
                     rUse( strText.c_str() );
                 } );
}

static void RegisterIntToText( const NumberSample& aSample )
{
    const std::vector<int> aNumbers( aSample.m_aNumbers.begin(), aSample.m_aNumbers.end() );
    MeasureEach( "string/int-to-text/bxtools", aSample.m_strExpected, aNumbers,
                 []( int nNumber, auto& rUse )
                 {
                     const MString aText( nNumber );
                     rUse( aText.data() );
                 } );
    MeasureEach( "string/int-to-text/Poco", aSample.m_strExpected, aNumbers,
                 []( int nNumber, auto& rUse )
                 {
                     const std::string strText = Poco::NumberFormatter::format( nNumber );
                     rUse( strText.c_str() );
                 } );
    MeasureEach( "string/int-to-text/std::to_string", aSample.m_strExpected, aNumbers,
                 []( int nNumber, auto& rUse )
                 {
                     const std::string strText = std::to_string( nNumber );
                     rUse( strText.c_str() );
                 } );
}

static void RegisterTextToInt( const NumberSample& aSample )
{
    MeasureEach( "string/text-to-int/bxtools", aSample.m_strExpected, aSample.m_aStrings,
                 []( const MString& aString, auto& rUse )
                 {
                     const int nNumber = aString;
                     rUse( nNumber );
                 } );
    MeasureEach( "string/text-to-int/Poco", aSample.m_strExpected, aSample.m_aTexts,
                 []( const std::string& strText, auto& rUse )
                 { rUse( Poco::NumberParser::parse( strText ) ); } );
    MeasureEach( "string/text-to-int/from_chars", aSample.m_strExpected, aSample.m_aTexts,
                 []( const std::string& strText, auto& rUse )
                 {
                     int nNumber = 0;
                     std::from_chars( strText.data(), strText.data() + strText.size(), nNumber );
                     rUse( nNumber );
                 } );
}

// "%f": six decimals.
static void RegisterDoubleToText()
{
    const std::vector<double> aNumbers = { 0.5, -3.25, 1234.5, 99999.015625, -1000000.75 };
    const std::string strExpected = "0.500000\n-3.250000\n1234.500000\n99999.015625\n-1000000.750000\n";
    MeasureEach( "string/double-to-text/bxtools", strExpected, aNumbers,
                 []( double dNumber, auto& rUse )
                 {
                     const MString aText( dNumber );
                     rUse( aText.data() );
                 } );
    MeasureEach( "string/double-to-text/Poco", strExpected, aNumbers,
                 []( double dNumber, auto& rUse )
                 {
                     const std::string strText = Poco::NumberFormatter::format( dNumber, 6 );
                     rUse( strText.c_str() );
                 } );
    MeasureEach( "string/double-to-text/snprintf", strExpected, aNumbers,
                 []( double dNumber, auto& rUse )
                 {
                     char aBuffer[64];
                     std::snprintf( aBuffer, sizeof( aBuffer ), "%f", dNumber );
                     const std::string strText( aBuffer );
                     rUse( strText.c_str() );
                 } );
}

void RegisterNumberMeasurements()
{
    const NumberSample aSample = MakeNumberSample();
    RegisterThereAndBack( aSample );
    RegisterIntToText( aSample );
    RegisterTextToInt( aSample );
    RegisterDoubleToText();
}
