// Backslash escapes of configuration texts.
#include "core/callreport.h"
#include "core/guards.h"

#include <bxtools/buffers.h>
#include <bxtools/mstring.h>

#include <cstring>

namespace
{

struct Escape
{
    TCHAR cLetter;
    TCHAR cSign;
};
constexpr Escape ESCAPES[] = { { 'a', 0x07 }, { 'b', 0x08 }, { 'f', 0x0C }, { 'n', 0x0A },
                               { 'r', 0x0D }, { 't', 0x09 }, { 'v', 0x0B }, { '0', 0x00 } };

TCHAR Lower( TCHAR cSign )
{
    return cSign >= 'A' && cSign <= 'Z' ? static_cast<TCHAR>( cSign + ( 'a' - 'A' ) ) : cSign;
}

// Turns the letter of an escape into the character that it stands for.
BOOL GetValidSign( TCHAR& cSign )
{
    CallReport aReport( "From static BOOL GetValidSign( TCHAR& cSign )" );
    for ( const Escape& rEscape : ESCAPES )
    {
        if ( rEscape.cLetter == Lower( cSign ) )
        {
            cSign = rEscape.cSign;
            return TRUE;
        }
    }
    const TCHAR szSign[] = { cSign, '\0' };
    aReport.Fail( "LocalSign = " );
    aReport.Tail( szSign ).Tail( " not supported" );
    return FALSE;
}

// Behind the run of markers that pRead stands on; each one switches the conversion.
LPCTSTR SkipMarkers( LPCTSTR pRead, BOOL* pfConvert )
{
    for ( ; pRead[0] == '%' && Lower( pRead[1] ) == 'z'; pRead += 2 )
        *pfConvert = !*pfConvert;
    return pRead;
}

} // namespace

void DLL_EXPORT ReplaceAllBackSlashChars( LPTSTR pszStr )
{
    CallReport aReport( "From ReplaceAllBackSlashChars(...)" );
    if ( pszStr == NULL )
    {
        aReport.Fail( " Error: pszStr == NULL" );
        return;
    }
    BOOL fConvert = TRUE;
    LPTSTR pWrite = pszStr;
    for ( LPCTSTR pRead = SkipMarkers( pszStr, &fConvert ); *pRead != '\0';
          pRead = SkipMarkers( pRead, &fConvert ) )
    {
        TCHAR cSign = *pRead++;
        const BOOL fLast = *pRead == '\0';
        if ( fLast && ( cSign == '\\' || cSign == '%' ) )
            break;
        if ( TCHAR cNext = *pRead; fConvert && cSign == '\\' && GetValidSign( cNext ) )
        {
            cSign = cNext;
            ++pRead;
        }
        *pWrite++ = cSign;
    }
    if ( pWrite != pszStr )
        *pWrite = '\0';
}

void DLL_EXPORT ReplaceAllBackSlashChars( MString& pstStr )
{
    CallReport aReport( "From DLL_EXPORT_MOD void DLL_EXPORT ReplaceAllBackSlashChars( MString& pstStr )" );
    aReport.Guard(
        [&]() -> BOOL
        {
            const size_t uLength = pstStr.length();
            TCHARBuffer pBuf( MyTCHARFactory( static_cast<ULONG>( uLength + 1 ) ) );
            if ( pBuf == NULL )
                return aReport.Fail( " Error: ( pBuf = MyTCHARFactory( pstStr.GetLength() + 1 ) ) == NULL" );
            std::memcpy( pBuf.get(), pstStr.data(), uLength );
            pBuf[uLength] = '\0';
            ReplaceAllBackSlashChars( pBuf.get() );
            pstStr = pBuf.get();
            return TRUE;
        } );
}
