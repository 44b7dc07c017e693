// Country codes: the system's, and what becomes of one that somebody wrote.
#include "nls/countrycode.h"

#include "core/callreport.h"

#include <bxtools/buffers.h>
#include <bxtools/nlsserver.h>
#include <bxtools/platform.h>

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace
{

constexpr USHORT DEFAULT_COUNTRY_CODE = 49;
// Above it a code is none that anybody could have meant.
constexpr ULONG MOST_COUNTRY_CODE = 1000;

constexpr USHORT SUPPORTED_COUNTRY_CODES[] = { 1,  7,  30, 31, 33, 34, 36,  39,  40,  42,  44,  45, 46,
                                               47, 48, 49, 81, 86, 90, 351, 358, 359, 421, 785, 972 };

constexpr char NOT_SUPPORTED[] = " Warning: CountryCode = ";

// All warnings of a call are one report.
CallReport& AddWarning( CallReport& rReport, bool fFirst, LPCTSTR pText )
{
    if ( !fFirst )
        return rReport.Tail( pText );
    rReport.Warn( pText );
    return rReport;
}

bool IsSupported( ULONG ulCode )
{
    return std::find( std::begin( SUPPORTED_COUNTRY_CODES ), std::end( SUPPORTED_COUNTRY_CODES ), ulCode ) !=
           std::end( SUPPORTED_COUNTRY_CODES );
}

// The code that a text means, or the default one. Result: whether there was something to warn of.
bool TakeCode( CallReport& rReport, const MString& aText, USHORT& rusCode )
{
    const ULONG ulCode = aText;
    const bool fUsable = ulCode != 0 && ulCode <= MOST_COUNTRY_CODE;
    rusCode = fUsable ? static_cast<USHORT>( ulCode ) : DEFAULT_COUNTRY_CODE;
    if ( IsSupported( ulCode ) )
        return false;
    rReport.Warn( NOT_SUPPORTED );
    rReport.Tail( aText.data() ).Tail( " not supported" );
    if ( !fUsable )
        rReport.Tail( " Warning: CountryCode set to default value = " ).Tail( DEFAULT_COUNTRY_CODE );
    return true;
}

} // namespace

BOOL GetLocaleString( LCTYPE lctype, MString& str )
{
    CallReport aReport( "From BOOL GetLocaleString( LCTYPE lctype, MString &str )" );
    constexpr LCID lcid = LOCALE_SYSTEM_DEFAULT;
    str.Empty();
    const int cchSize = GetLocaleInfoA( lcid, lctype, NULL, 0 );
    if ( cchSize == 0 )
        return aReport.Fail( " Error: ( cchSize = GetLocaleInfo(lcid, lctype, NULL, 0) ) == 0" );
    const LPTSTR pBuffer = str.GetBuffer( cchSize );
    if ( pBuffer == NULL || GetLocaleInfoA( lcid, lctype, pBuffer, cchSize ) == 0 )
        return aReport.Fail( " Error: ( cchSize = GetLocaleInfo(lcid, lctype, NULL, 0) ) == 0" );
    str.ReleaseBuffer();
    return TRUE;
}

USHORT GetSystemCountryCode()
{
    MString stCode;
    return GetLocaleString( LOCALE_ICOUNTRY, stCode ) ? stCode.toUS() : DEFAULT_COUNTRY_CODE;
}

BOOL CheckCountryCode( USHORT* pCountryCode, MString* pstCountryCode, BOOL fSetDefault )
{
    CallReport aReport(
        "From BOOL CheckCountryCode( USHORT* pCountryCode, MString* pstCountryCode, BOOL fSetDefault )" );
    if ( pstCountryCode->IsEmpty() && !fSetDefault )
        return aReport.Fail( " Error: (*pstCountryCode).IsEmpty()" );
    const MString aTempStr = pstCountryCode->IsEmpty() ? MString( "0" ) : *pstCountryCode;
    if ( !fSetDefault && !aTempStr.IsNumeric( FALSE ) )
    {
        aReport.Fail( " Error: !aTempStr.IsNumeric()" );
        aReport.Tail( NOT_SUPPORTED ).Tail( aTempStr.data() ).Tail( " not supported" );
        return FALSE;
    }
    USHORT usCode = 0;
    const bool fWarned = TakeCode( aReport, aTempStr, usCode );
    *pCountryCode = usCode;
    TCHAR szCode[8];
    std::snprintf( szCode, sizeof( szCode ), "%03d", usCode );
    *pstCountryCode = szCode;
    const USHORT usSystemCode = GetSystemCountryCode();
    if ( usSystemCode != usCode )
        AddWarning( aReport, !fWarned, " Warning: system CountryCode = " )
            .Tail( usSystemCode )
            .Tail( " unlike requested CountryCode = " )
            .Tail( usCode );
    return TRUE;
}
