#include "core/callreport.h"

#include <bxtools/buffers.h>
#include <bxtools/mstringadapter.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace
{

constexpr ULONG MAX_BUFFER_SIZE = 32000;
constexpr ULONG FIRST_BUFFER_SIZE = 32;
constexpr ULONG BUFFER_EXPAND_SIZE = 1024;
constexpr int MAX_ATTEMPT = 20;
constexpr ULONG NEXT_BUFFER_SIZE = 0xFFFFFFFF;

// The size that a buffer of ulSize characters, 0 for none yet, has after one step.
ULONG NextSize( ULONG ulSize ) noexcept
{
    return ulSize == 0 ? FIRST_BUFFER_SIZE : ulSize + BUFFER_EXPAND_SIZE;
}

// The size at which a buffer of ulSize characters, growing step by step, first holds ulLength characters and the
// terminator; 0 when that takes too many steps or goes beyond the greatest size.
ULONG SizeToHold( size_t ulLength, ULONG ulSize ) noexcept
{
    for ( int nAttempt = 0; ulSize <= ulLength; ++nAttempt )
    {
        ulSize = NextSize( ulSize );
        if ( nAttempt == MAX_ATTEMPT || ulSize >= MAX_BUFFER_SIZE )
            return 0;
    }
    return ulSize;
}

// Formats into ulSize characters. Result: the length of the whole text, also where not all of it fitted; below 0 when
// the format is wrong.
BX_PRINTF_FORMAT( 3, 0 )
int FormatInto( LPTSTR pBuffer, size_t ulSize, LPCTSTR pFormat, va_list argptr ) noexcept
{
    va_list aCopy;
    va_copy( aCopy, argptr );
    const int nLength = std::vsnprintf( pBuffer, ulSize, pFormat, aCopy );
    va_end( aCopy );
    return nLength;
}

} // namespace

void MStringAdapter::DeleteBuffers() noexcept
{
    for ( LPTSTR pBuffer : { m_pDataBuffer, m_pConvertBuffer, m_pWideBuffer } )
    {
        if ( pBuffer != NULL )
            MyTCHARDeleter( pBuffer );
    }
}

// Replaces a buffer by a larger one, whose contents are not those of the old one.
//   ulNewBuffSize  the size; NEXT_BUFFER_SIZE for one step more than the old one.
BOOL MStringAdapter::ExpandBuffer( LPTSTR* ppBuffer, ULONG* pulBuffSize, ULONG ulNewBuffSize )
{
    CallReport aReport(
        *this,
        "From BOOL MStringAdapter::ExpandBuffer( LPTSTR* ppBuffer, ULONG* pulBuffSize, ULONG ulNewBuffSize )" );
    if ( *ppBuffer != NULL )
        MyTCHARDeleter( *ppBuffer );
    *pulBuffSize = ulNewBuffSize == NEXT_BUFFER_SIZE ? NextSize( *pulBuffSize ) : ulNewBuffSize;
    *ppBuffer = MyTCHARFactory( *pulBuffSize );
    if ( *ppBuffer != NULL )
        return TRUE;
    *pulBuffSize = 0;
    return aReport.Fail( " Error: *ppBuffer = MyTCHARFactory( *pulBuffSize ) failed" );
}

LPTSTR MStringAdapter::GetBuffer( int nMinBufLength )
{
    CallReport aReport( *this, "From LPTSTR MStringAdapter::GetBuffer( int nMinBufLength )" );
    const size_t ulNeeded = std::max( length(), static_cast<size_t>( std::max( nMinBufLength, 0 ) ) ) + 1;
    if ( m_pDataBuffer == NULL || m_ulDataBufferSize < ulNeeded )
    {
        const ULONG ulTempSize = static_cast<ULONG>( ulNeeded );
        if ( ulNeeded >= NEXT_BUFFER_SIZE ||
             !ExpandBuffer( &m_pDataBuffer, &m_ulDataBufferSize, ulTempSize ) )
            return aReport.Fail(
                " Error: !( fGo = ExpandBuffer( &m_pDataBuffer, &m_ulDataBufferSize, ulTempSize ) )",
                LPTSTR( NULL ) );
    }
    std::memcpy( m_pDataBuffer, data(), length() + 1 );
    return m_pDataBuffer;
}

void MStringAdapter::ReleaseBuffer( int nNewLength )
{
    CallReport aReport( *this, "From void MStringAdapter::ReleaseBuffer( int nNewLength )" );
    // A buffer without a terminator is full, and so is none at all.
    const size_t ulSize = m_pDataBuffer != NULL ? m_ulDataBufferSize : 0;
    size_t ulNewLength = static_cast<size_t>( nNewLength );
    if ( nNewLength == -1 )
        ulNewLength =
            static_cast<size_t>( std::find( m_pDataBuffer, m_pDataBuffer + ulSize, '\0' ) - m_pDataBuffer );
    else if ( nNewLength < 0 )
    {
        aReport.Fail( " Error: nNewLength < 0" );
        return;
    }
    if ( ulNewLength >= ulSize )
    {
        aReport.Fail(
            " Error: !( fGo = ExpandBuffer( &pTempDataBuffer, &m_ulDataBufferSize, ulTempSize ) )" );
        return;
    }
    aReport.Guard(
        [&]
        {
            assign( m_pDataBuffer, ulNewLength );
            return TRUE;
        } );
}

// Most results fit into a buffer on the stack. The size of the string's own buffer takes its steps all the same, with or
// without a buffer behind it, so that what can be formatted does not depend on where it is formatted.
void MStringAdapter::Format( LPCTSTR lpszFormat, ... )
{
    CallReport aReport( *this, "From void MStringAdapter::Format( LPCTSTR lpszFormat, ... )" );
    if ( lpszFormat == NULL || *lpszFormat == 0 )
    {
        aReport.Fail( " Error: lpszFormat == NULL || STRLEN( lpszFormat ) == 0" );
        return;
    }
    va_list argptr;
    va_start( argptr, lpszFormat );
    aReport.Guard(
        [&]
        {
            TCHAR aShortText[512];
            const int nLength = FormatInto( aShortText, sizeof( aShortText ), lpszFormat, argptr );
            const ULONG ulSize =
                nLength < 0 ? 0 : SizeToHold( static_cast<size_t>( nLength ), m_ulConvertBufferSize );
            if ( ulSize == 0 )
                return aReport.Fail( " Error: m_ulConvertBufferSize >= MAX_BUFFER_SIZE" );
            const bool fShort = static_cast<size_t>( nLength ) < sizeof( aShortText );
            if ( !fShort && ( m_pConvertBuffer == NULL || m_ulConvertBufferSize < ulSize ) &&
                 !ExpandBuffer( &m_pConvertBuffer, &m_ulConvertBufferSize, ulSize ) )
                return aReport.Fail(
                    " Error: !( fStat = ExpandBuffer( &m_pConvertBuffer, &m_ulConvertBufferSize ) )" );
            m_ulConvertBufferSize = ulSize;
            if ( !fShort )
                FormatInto( m_pConvertBuffer, ulSize, lpszFormat, argptr );
            assign( fShort ? aShortText : m_pConvertBuffer, static_cast<size_t>( nLength ) );
            return TRUE;
        } );
    va_end( argptr );
}
