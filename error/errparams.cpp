// Texts about errors that callers build: the parameters of messages, and numbers.
#include "core/callreport.h"
#include "error/errstream.h"

#include <bxtools/buffers.h>
#include <bxtools/error.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace
{

// "%s%ld" becomes "%s!;!%ld": a separator goes between the conversions. What stands before the first one is dropped.
BOOL internalSetErrParamFormat( MString& aFormat )
{
    CallReport aReport( "From static BOOL internalSetErrParamFormat( MString& aFormat )" );
    const size_t ulFirst = aFormat.find( '%' );
    if ( ulFirst == RWCString::npos )
        return aReport.Fail( " Error: aFormat.IsEmpty() || usTokenCount <= 1 -> wrong format" );

    RWCString aNewFormat;
    for ( size_t ulStart = ulFirst; ulStart != RWCString::npos; )
    {
        const size_t ulEnd = aFormat.find( '%', ulStart + 1 );
        if ( ulStart != ulFirst )
            aNewFormat.append( STRLIST_ITEM_SEPARATOR, std::strlen( STRLIST_ITEM_SEPARATOR ) );
        const std::string_view aPiece = ViewOf( aFormat ).substr( ulStart, ulEnd - ulStart );
        aNewFormat.append( aPiece.data(), aPiece.size() );
        ulStart = ulEnd;
    }
    aFormat.RWCString::operator=( aNewFormat );
    return TRUE;
}

} // namespace

DLL_EXPORT_MOD BOOL SetErrorTextParams( MString& aNewArgString, LPCTSTR pFormat, ... )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD BOOL _cdecl SetErrorTextParams( MString& aNewArgString, LPCTSTR pFormat, ... )" );
    va_list argptr;
    va_start( argptr, pFormat );
    const BOOL fBuilt = aReport.Guard(
        [&]() -> BOOL
        {
            MString aFormat;
            aFormat.RWCString::assign( pFormat, pFormat != NULL ? std::strlen( pFormat ) : 0 );
            if ( !internalSetErrParamFormat( aFormat ) )
                return FALSE;
            const LPCTSTR pText = internalBuildStr( aFormat, argptr );
            if ( pText == NULL )
                return FALSE;
            aNewArgString.RWCString::assign( pText, std::strlen( pText ) );
            return TRUE;
        } );
    va_end( argptr );
    if ( !fBuilt )
        aNewArgString.Empty();
    return fBuilt;
}

DLL_EXPORT_MOD BOOL DLL_EXPORT AddErrorTextParams( const MString& aOldArgString, const MString& aArg,
                                                   MString& aNewArgString )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT AddErrorTextParams( const MString& aOldArgString, const MString& aArg, MString& aNewArgString )" );
    return aReport.Guard(
        [&]() -> BOOL
        {
            RWCString aParameters( aOldArgString );
            if ( aParameters.length() != 0 )
                aParameters.append( STRLIST_ITEM_SEPARATOR, std::strlen( STRLIST_ITEM_SEPARATOR ) );
            aParameters.append( aArg.data(), aArg.length() );
            aNewArgString.RWCString::operator=( aParameters );
            return TRUE;
        } );
}

DLL_EXPORT_MOD void DLL_EXPORT Error2StrHex( HRESULT hRes, DWORD dwValue, MString& aRet, BOOL fDWORD )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD void DLL_EXPORT Error2StrHex( HRESULT hRes, DWORD dwValue, MString& aRet, BOOL fDWORD )" );
    aReport.Guard(
        [&]() -> BOOL
        {
            // Through the widest types: a negative number must not grow digits where long is wider than 32 bits.
            char szText[64];
            const unsigned long ulBits = fDWORD ? dwValue : static_cast<DWORD>( hRes );
            const int nLength =
                fDWORD ? std::snprintf( szText, sizeof( szText ), "%lu (hex: 0x%08lX)", ulBits, ulBits )
                       : std::snprintf( szText, sizeof( szText ), "%ld (hex: 0x%08lX)",
                                        static_cast<long>( hRes ), ulBits );
            aRet.RWCString::assign( szText, static_cast<size_t>( nLength ) );
            return TRUE;
        } );
}
