#include "tools/nls/csvrows.h"

#include <cstdint>

namespace
{

constexpr std::string_view UTF8_MARK = "\xEF\xBB\xBF";
constexpr char BLANKS[] = " \t\v\f";

} // namespace

std::string_view Trimmed( std::string_view aText )
{
    const size_t nFirst = aText.find_first_not_of( BLANKS );
    if ( nFirst == aText.npos )
        return {};
    return aText.substr( nFirst, aText.find_last_not_of( BLANKS ) - nFirst + 1 );
}

RowReader::RowReader( std::string_view aText ) : m_aRest( aText )
{
    if ( m_aRest.starts_with( UTF8_MARK ) )
        m_aRest.remove_prefix( UTF8_MARK.size() );
}

bool RowReader::Next( std::vector<Cell>& rRow )
{
    rRow.clear();
    while ( IsComment() )
        TakeLine();
    if ( m_aRest.empty() )
        return false;
    do
        rRow.push_back( TakeCell() );
    while ( !IsAtLineEnd() && Take() == ';' );
    TakeLine();
    return true;
}

bool RowReader::IsAtLineEnd() const
{
    return m_aRest.empty() || m_aRest[0] == '\r' || m_aRest[0] == '\n';
}

// A line whose first cell is empty says nothing; that is how comments look.
bool RowReader::IsComment() const
{
    const size_t nFirst = m_aRest.find_first_not_of( BLANKS );
    return nFirst != m_aRest.npos &&
           ( m_aRest[nFirst] == ';' || m_aRest.substr( nFirst ).starts_with( "\";" ) );
}

char RowReader::Take()
{
    const char cTaken = m_aRest[0];
    m_aRest.remove_prefix( 1 );
    const bool fLineEnd = cTaken == '\n' || ( cTaken == '\r' && !m_aRest.starts_with( '\n' ) );
    if ( fLineEnd )
        m_aPlace = { m_aPlace.nLine + 1, 1 };
    else if ( cTaken != '\r' && ( static_cast<uint8_t>( cTaken ) & 0xC0 ) != 0x80 )
        m_aPlace.nColumn++;
    return cTaken;
}

// What is left of the line, and its end.
void RowReader::TakeLine()
{
    while ( !IsAtLineEnd() )
        Take();
    if ( m_aRest.starts_with( "\r\n" ) )
        Take();
    if ( !m_aRest.empty() )
        Take();
}

Cell RowReader::TakeCell()
{
    Cell aCell;
    aCell.aPlace = m_aPlace;
    if ( m_aRest.starts_with( '"' ) )
        TakeQuoted( aCell );
    else
        while ( !IsAtLineEnd() && m_aRest[0] != ';' )
            aCell.aText += Take();
    return aCell;
}

void RowReader::TakeQuoted( Cell& rCell )
{
    rCell.fQuoted = true;
    Take();
    for ( ;; )
    {
        if ( m_aRest.empty() )
        {
            m_aFindings.push_back(
                { rCell.aPlace, "this quote is not closed: it takes in all that follows" } );
            return;
        }
        const char cTaken = Take();
        if ( cTaken == '"' && !m_aRest.starts_with( '"' ) )
            break;
        if ( cTaken == '"' )
            Take();
        rCell.aText += cTaken;
    }
    const Place aBehind = m_aPlace;
    std::string aLost;
    while ( !IsAtLineEnd() && m_aRest[0] != ';' )
        aLost += Take();
    if ( !Trimmed( aLost ).empty() )
        m_aFindings.push_back(
            { aBehind, "text behind the closing quote is not read; a quote in a text is doubled" } );
}
