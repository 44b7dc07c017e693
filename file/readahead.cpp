#include "file/readahead.h"

#include "string/textsearch.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <memory>
#include <new>

namespace
{

// Copies up to and with the first cDelim among unCount bytes; what follows it in pData is undefined. One pass is half the
// work of looking and copying, as most lines are short.
// Result: the number of bytes, 0 when there is no cDelim.
UINT CopyThrough( char* pData, const char* pBytes, UINT unCount, char cDelim )
{
    UINT unDone = 0;
    for ( ; unCount - unDone >= TextBlock::SIZE; unDone += TextBlock::SIZE )
    {
        std::memcpy( pData + unDone, pBytes + unDone, TextBlock::SIZE );
        if ( const unsigned unMatches = TextBlock::Matches( pBytes + unDone, cDelim ); unMatches != 0 )
            return unDone + static_cast<UINT>( std::countr_zero( unMatches ) ) + 1;
    }
    while ( unDone < unCount )
    {
        pData[unDone] = pBytes[unDone];
        if ( pBytes[unDone++] == cDelim )
            return unDone;
    }
    return 0;
}

} // namespace

bool ReadAhead::TakeLine( BaseFile& rFile, LPTSTR pData, UINT unSize, TCHAR cDelim )
{
    const UINT unRoom = unSize - 1;
    do
    {
        const UINT unLength = CopyThrough( pData, m_aBytes + m_unNext, std::min( Left(), unRoom ), cDelim );
        if ( unLength != 0 )
        {
            pData[unLength] = '\0';
            m_unNext += unLength;
            return true;
        }
    } while ( Left() < unRoom && Fill( rFile ) );
    return false;
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
