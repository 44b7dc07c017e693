// Lines of a file.
#include "file/fileoperation.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace
{

// How many bytes the first line is long, with its delimiter; 0 when there is none, or no room for it and a zero.
UINT LineLength( const char* pBytes, UINT unCount, UINT unRoom, TCHAR cDelim )
{
    const void* pFound = std::memchr( pBytes, cDelim, unCount );
    if ( pFound == NULL )
        return 0;
    const UINT unLength = static_cast<UINT>( static_cast<const char*>( pFound ) - pBytes ) + 1;
    return unLength < unRoom ? unLength : 0;
}

} // namespace

// A line that has been read ahead costs no report, since it cannot fail. Whatever else the outcome is, ReadLine finds it.
BOOL MFileWrapper::MyGetLine( LPTSTR pData, UINT* punCharCount, TCHAR cDelim )
{
    if ( m_pReadAhead != NULL && pData != NULL && punCharCount != NULL && *punCharCount != 0 &&
         m_pReadAhead->TakeLine( *m_pFileInterface, pData, *punCharCount, cDelim ) )
    {
        m_pOut = "Nothing";
        return TRUE;
    }
    CallReport aReport(
        *this, "From BOOL MFileWrapper::MyGetLine( LPTSTR pData, UINT* punCharCount, TCHAR cDelim )" );
    if ( pData == NULL || punCharCount == NULL )
        return aReport.Fail( " Error: pData == NULL || punCharCount == NULL" );
    if ( *punCharCount == 0 )
        return aReport.Fail( " Error: *punCharCount < sizeof( TCHAR )" );
    pData[0] = '\0';
    const BOOL fLine = ReadLine( aReport, pData, *punCharCount, cDelim );
    if ( fLine && m_fReadsAhead && m_pReadAhead == NULL )
        m_pReadAhead = new ( std::nothrow ) ReadAhead;
    return fLine;
}

// As much as a line can be is read, and what is not of the line is given back.
BOOL MFileWrapper::ReadLine( CallReport& rReport, LPTSTR pData, UINT unSize, TCHAR cDelim )
{
    DWORD dwCurrent = 0;
    DWORD dwFileSize = 0;
    UINT unTransferred = 0;
    if ( !MyGetPosition( &dwCurrent ) )
        return rReport.Fail( " Error: !MyGetPosition( &dwCurrent )" );
    if ( !MyGetLength( &dwFileSize ) )
        return rReport.Fail( " Error: !MyGetLength( &dwFileSize )" );
    if ( dwFileSize < dwCurrent )
        return rReport.Fail( " Error: dwFileSize < dwCurrent" );
    if ( !MyRead( pData, std::min<DWORD>( unSize, dwFileSize - dwCurrent ), &unTransferred ) )
        return rReport.Fail( " Error: !MyRead( (MPTR) pData, unReadSize, &unTransferred )" );
    const UINT unLength = LineLength( pData, unTransferred, unSize, cDelim );
    pData[unLength] = '\0';
    if ( !MoveTo( dwCurrent + unLength ) )
        return rReport.Fail( " Error: !MySeek( dwCurrent, 0, &lDummy )" );
    return unLength != 0;
}
