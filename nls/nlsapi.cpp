#include "core/callreport.h"
#include "nls/nlslookup.h"
#include "nls/textview.h"

#include <bxtools/buffers.h>
#include <bxtools/nls.h>

#include <algorithm>
#include <cstring>

MString DLL_EXPORT LoadNlsString( const MString& sSec, const MString& sSecCom, const MString& sKey )
{
    return LoadNlsStringEx( sSec, sSecCom, sKey, NULL );
}

MString DLL_EXPORT LoadNlsStringEx( const MString& sSec, const MString& sSecCom, const MString& sKey,
                                    BOOL* pbFound )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD MString DLL_EXPORT LoadNlsStringEx( const MString& sSec, const MString& sSecCom, const MString& sKey, BOOL* pbFound )" );
    NlsText aText;
    if ( sSec.IsEmpty() )
        aReport.Warn( " Warning: sSec.IsEmpty()" );
    else
        aText = LookUpNlsText( ViewOf( sSec ), ViewOf( sSecCom ), ViewOf( sKey ) );
    if ( pbFound != NULL )
        *pbFound = aText.fFound;
    return aText.fFound ? MString( aText.pText ) : sKey;
}

BOOL DLL_EXPORT C_LoadNlsString( LPCTSTR lpszSec, LPCTSTR lpszSecCom, LPCTSTR lpszKey, LPTSTR lpszString,
                                 USHORT usStringSize, USHORT* pusNeededSize )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT C_LoadNlsString( LPCTSTR lpszSec, LPCTSTR lpszSecCom, LPCTSTR lpszKey, LPTSTR lpszString, USHORT usStringSize, USHORT* pusNeededSize )" );
    if ( lpszString == NULL || pusNeededSize == NULL )
        return aReport.Fail( " Error: lpszString == NULL || pusNeededSize == NULL" );
    if ( usStringSize == 0 )
        return aReport.Fail( " Error: usStringSize == 0" );
    if ( lpszSec == NULL )
        return aReport.Fail( " Error: lpszSec == NULL" );
    if ( *lpszSec == '\0' )
        return aReport.Fail( " Error: *lpszSec == NIL" );
    *lpszString = '\0';
    *pusNeededSize = 1;
    const NlsText aText = LookUpNlsText( lpszSec, lpszSecCom, lpszKey );
    if ( aText.pText != NULL )
    {
        const size_t ulLength = std::strlen( aText.pText );
        const size_t ulCopied = std::min<size_t>( ulLength, usStringSize - 1u );
        std::memcpy( lpszString, aText.pText, ulCopied );
        lpszString[ulCopied] = '\0';
        *pusNeededSize = static_cast<USHORT>( ulLength + 1 );
    }
    return aText.fFound;
}
