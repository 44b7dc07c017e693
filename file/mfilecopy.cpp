// Copies of whole files.
#include "file/fileoperation.h"
#include "file/volume.h"

#include <bxtools/buffers.h>

#include <algorithm>

BOOL MFileWrapper::SetCopyBuffSize( DWORD dwSize )
{
    m_dwBuffSize = dwSize;
    return TRUE;
}

BOOL MFileWrapper::MakeCopyBuffer()
{
    if ( m_dwBuffSize == 0 )
        return FALSE;
    if ( m_pCopyBuff == NULL )
    {
        m_pCopyBuff = MyTCHARFactory( m_dwBuffSize );
        m_dwCopyBuffRoom = m_dwBuffSize;
    }
    return m_pCopyBuff != NULL;
}

BOOL MFileWrapper::CopyTo( LPCTSTR lpszDst )
{
    CallReport aReport( *this, "From BOOL MFileWrapper::CopyTo( LPCTSTR lpszDst )" );
    if ( lpszDst == NULL )
        return aReport.Fail( " Error: lpszDst == NULL" );
    MFileWrapper aDst( FILE_TYPE_CFILE, NULL, NULL );
    DWORD uCurrPos = 0;
    DWORD dwFileLength = 0;
    if ( !MyGetPosition( &uCurrPos ) )
        return aReport.Fail( " Error: !MyGetPosition( &uCurrPos )" );
    if ( !MyGetLength( &dwFileLength ) )
        return aReport.Fail( " Error: !MyGetLength( &dwFileLength )" );
    // Opening the file itself as the new one would empty it.
    if ( IsPathOf( lpszDst, m_pFileInterface->m_hFile ) ||
         !aDst.MyOpen( lpszDst, modeCreate | modeReadWrite | shareDenyWrite ) )
        return aReport.Fail(
            " Error: !aDst.MyOpen( lpszDst, MFileWrapper::modeCreate | MFileWrapper::modeReadWrite | MFileWrapper::shareDenyWrite )" );
    CopyChunks( aReport, aDst, dwFileLength );
    if ( !MoveTo( uCurrPos ) )
        aReport.Fail( " Error: !MySeek( uCurrPos, MFileWrapper::begin, &lDummy )" );
    if ( !aDst.MyClose() )
        aReport.Fail( " Error: !aDst.MyClose()" );
    return !aReport.Failed();
}

BOOL MFileWrapper::CopyChunks( CallReport& rReport, MFileWrapper& rDestination, DWORD dwLength )
{
    if ( !MySeekToBegin() )
        return rReport.Fail( " Error: !MySeekToBegin()" );
    if ( !MakeCopyBuffer() )
        return rReport.Fail( " Error: ( m_pCopyBuff = MyTCHARFactory( m_dwBuffSize ) ) == NULL" );
    // The last pass is for what is left, and copies nothing when that is nothing.
    DWORD uToWrite = std::min( m_dwBuffSize, m_dwCopyBuffRoom );
    DWORD dwCopied = 0;
    for ( ULONGLONG ullPasses = ULONGLONG( dwLength / uToWrite ) + 1; ullPasses != 0; --ullPasses )
    {
        UINT uTransferred = 0;
        uToWrite = std::min( uToWrite, dwLength - dwCopied );
        if ( !MyRead( m_pCopyBuff, uToWrite, &uTransferred ) )
            return rReport.Fail( " Error: !MyRead( m_pCopyBuff, uToWrite, &uTransferred )" );
        if ( uToWrite != uTransferred )
            return rReport.Fail( " Error: uToWrite != uTransferred" );
        if ( !rDestination.MyWrite( m_pCopyBuff, uTransferred ) )
            return rReport.Fail( " Error: !aDst.MyWrite( m_pCopyBuff, uTransferred )" );
        dwCopied += uTransferred;
    }
    return TRUE;
}
