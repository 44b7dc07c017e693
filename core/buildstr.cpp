// Formatting into the thread's scratch buffer.
#include "core/buffserver.h"
#include "core/callreport.h"

#include <bxtools/buffers.h>

#include <cstdio>
#include <type_traits>

namespace
{

constexpr int MAX_ATTEMPT = 20;

// Where an argument list is a pointer, it may be null.
template <class ArgumentList>
bool IsNullList( ArgumentList argptr )
{
    if constexpr ( std::is_pointer_v<ArgumentList> )
        return argptr == NULL;
    else
        return false;
}

// Whether the text fits. The bounded formatter returns the length that the text would have, or a negative number; a
// text that leaves no character free behind its end counts as not fitting. The size is 0 where memory was short.
BOOL FormatFits( LPTSTR pBuffer, ULONG uSize, LPCTSTR pFormat, va_list argptr )
{
    va_list aArguments;
    va_copy( aArguments, argptr );
    const int nCount = std::vsnprintf( pBuffer, uSize, pFormat, aArguments );
    va_end( aArguments );
    return nCount >= 0 && static_cast<ULONG>( nCount ) + 1 < uSize;
}

} // namespace

LPCTSTR DLL_EXPORT internalBuildStr( LPCTSTR pFormat, va_list argptr )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD LPCTSTR DLL_EXPORT internalBuildStr( LPCTSTR pFormat, va_list argptr )" );
    if ( pFormat == NULL || IsNullList( argptr ) )
        return aReport.FailNull( " Error: argptr == NULL || pFormat == NULL" );
    if ( *pFormat == '\0' )
        return aReport.FailNull( " Error: STRLEN( pFormat ) == 0" );
    BUFFServer* pBUFFServer = GetBUFFServer();
    if ( pBUFFServer == NULL )
        return aReport.FailNull( " Error: ( pBUFFServer = GetBUFFServer() ) == NULL" );
    for ( int nAttempts = 0; nAttempts < MAX_ATTEMPT; ++nAttempts )
    {
        const ULONG uSize = pBUFFServer->GetTextBufferSize( OBJTYPE_BUF_FUNC_VSNPRINTF );
        const LPTSTR lpszRetTemp = pBUFFServer->GetTextBuffer( OBJTYPE_BUF_FUNC_VSNPRINTF );
        if ( lpszRetTemp == NULL )
        {
            // So that a thread that ran out of memory once can format again when there is some.
            pBUFFServer->EpandBuffer( OBJTYPE_BUF_FUNC_VSNPRINTF, FALSE );
            return aReport.FailNull( " Error: lpszRetTemp == NULL" );
        }
        if ( FormatFits( lpszRetTemp, uSize, pFormat, argptr ) )
            return lpszRetTemp;
        if ( !pBUFFServer->EpandBuffer( OBJTYPE_BUF_FUNC_VSNPRINTF, FALSE ) )
            return aReport.FailNull(
                " Error: !( fStat = pBUFFServer->EpandBuffer( OBJTYPE_BUF_FUNC_VSNPRINTF, FALSE ) )" );
    }
    return aReport.FailNull( " Error: ++i >= MAX_ATTEMPT" );
}
