#include "file/readahead.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

ReadAhead::Answer ReadAhead::TakeLine( BaseFile& rFile, LPTSTR pData, UINT unSize, TCHAR cDelim )
{
    do
    {
        const char* const pNext = m_aBytes + m_unNext;
        const void* const pFound = std::memchr( pNext, cDelim, std::min( Left(), unSize ) );
        if ( pFound != NULL )
        {
            const UINT unLength = static_cast<UINT>( static_cast<const char*>( pFound ) - pNext ) + 1;
            if ( unLength >= unSize )
                return Answer::NoLine;
            std::memcpy( pData, pNext, unLength );
            pData[unLength] = '\0';
            m_unNext += unLength;
            return Answer::Line;
        }
        if ( Left() >= unSize )
            return Answer::NoLine;
    } while ( Fill( rFile ) );
    return Answer::Unknown;
}

void ReadAhead::GoBack( BaseFile& rFile )
{
    if ( !m_fAhead )
        return;
    rFile.MoveTo( Position() );
    m_fAhead = false;
    m_unCount = 0;
    m_unNext = 0;
}

// A file that cannot be read so, for whatever reason, is left to the reader, who finds out and says it.
bool ReadAhead::Fill( BaseFile& rFile )
{
    try
    {
        return ( m_fAhead || Start( rFile ) ) && ReadMore( rFile );
    }
    catch ( CFileException* pException )
    {
        delete pException;
    }
    catch ( const std::bad_alloc& )
    {
    }
    return false;
}

bool ReadAhead::Start( BaseFile& rFile )
{
    m_dwEnd = rFile.GetPosition();
    m_fAhead = m_dwEnd <= rFile.GetLength();
    return m_fAhead;
}

// What the reader has not seen moves to the front; the rest of the room is read. False: there is no room, or no more.
bool ReadAhead::ReadMore( BaseFile& rFile )
{
    if ( Left() == ROOM || m_dwEnd > 0xFFFFFFFF - ROOM )
        return false;
    std::memmove( m_aBytes, m_aBytes + m_unNext, Left() );
    m_unCount = Left();
    m_unNext = 0;
    const UINT unRead = rFile.Read( m_aBytes + m_unCount, ROOM - m_unCount );
    m_unCount += unRead;
    m_dwEnd += unRead;
    return unRead != 0;
}
