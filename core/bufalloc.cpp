#include "core/bufalloc.h"

#include "core/callreport.h"
#include "core/guards.h"

#include <bxtools/buffers.h>

#include <algorithm>
#include <cstring>

LPTSTR MyBufFactory::CreateVector( ULONG ulSize )
{
    return new TCHAR[ulSize];
}

BOOL MyBufDelete::DeleteVector( LPTSTR pObj )
{
    delete[] pObj;
    return TRUE;
}

LPTSTR DLL_EXPORT MyTCHARFactory( ULONG ulSize )
{
    CallReport aReport( "From DLL_EXPORT_MOD LPTSTR DLL_EXPORT MyTCHARFactory( ULONG ulSize )" );
    return aReport.Guard( LPTSTR( NULL ),
                          " Error: pRet = aFactory.CreateVector( usSize ) failed -> memory exception",
                          [&] { return MyBufFactory().CreateVector( ulSize ); } );
}

BOOL DLL_EXPORT MyTCHARDeleter( LPTSTR pObj )
{
    CallReport aReport( "From DLL_EXPORT_MOD BOOL DLL_EXPORT MyTCHARDeleter( LPTSTR pObj )" );
    return aReport.Guard( FALSE,
                          " Error: fRet = aDeleter.DeleteVector( pObj ) failed -> wrong address of pObj",
                          [&] { return MyBufDelete().DeleteVector( pObj ); } );
}

BOOL DLL_EXPORT EpandTCHARBuffer( BOOL fWithCopy, ULONG* puBufferSize, ULONG uExpandSize, ULONG uMaxBufSize,
                                  LPTSTR* ppBuffer )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT EpandTCHARBuffer( BOOL fWithCopy, ULONG* puBufferSize, "
        "ULONG uExpandSize, ULONG uMaxBufSize, LPTSTR* ppBuffer )" );
    if ( puBufferSize == NULL || ppBuffer == NULL )
        return aReport.Fail( " Error: puBufferSize == NULL || ppBuffer == NULL" );
    const ULONGLONG ullTempSize = ULONGLONG( *puBufferSize ) + uExpandSize;
    if ( ullTempSize > uMaxBufSize )
        return aReport.Fail( " Error: uTempSize > uMaxBufSize" );
    if ( !fWithCopy )
    {
        // Freed first, so that two buffers are never needed at once.
        MyTCHARDeleter( *ppBuffer );
        *ppBuffer = NULL;
        *puBufferSize = 0;
    }
    const ULONG uTempSize = static_cast<ULONG>( ullTempSize );
    const LPTSTR pTempBuff = MyTCHARFactory( uTempSize );
    if ( pTempBuff == NULL )
        return aReport.Fail( " Error: ( pTempBuff = MyTCHARFactory( uTempSize ) ) == NULL" );
    if ( *ppBuffer != NULL )
        std::memcpy( pTempBuff, *ppBuffer, *puBufferSize );
    MyTCHARDeleter( *ppBuffer );
    *ppBuffer = pTempBuff;
    *puBufferSize = uTempSize;
    return TRUE;
}

BOOL DLL_EXPORT SafeCopy( LPTSTR pDest, LPCTSTR pSource, LONG lDestSize )
{
    CallReport aReport( "From BOOL SafeCopy( LPTSTR pDest, LPCTSTR pSource, LONG lDestSize )" );
    if ( lDestSize < 1 )
        return aReport.Fail( " Error: lDestSize <= 0" );
    if ( pDest == NULL || pSource == NULL )
        return aReport.Fail( " Error: pDest == NULL || pSource == NULL" );
    const LONG lLenSource = static_cast<USHORT>( std::strlen( pSource ) );
    const LONG lLength = std::min( lLenSource, lDestSize - 1 );
    std::memmove( pDest, pSource, static_cast<size_t>( lLength ) );
    pDest[lLength] = '\0';
    if ( lLenSource > lDestSize - 1 )
        return aReport.Fail( " Warning: lLenSource > ( lDestSize - 1 ) -> destination buffer is too small" );
    return TRUE;
}
