#include "tools/errors/recordlayout.h"

#include "tools/errors/displaytext.h"
#include "tools/talk.h"

#include <algorithm>

namespace
{

// A longer text runs over its column instead of pushing the next one away on every line.
constexpr size_t WIDEST_COLUMN = 48;
constexpr size_t GAP = 2;
constexpr size_t LABEL_COLUMNS = 16;

std::string ClassCell( const DecodedRecord& rRecord )
{
    return MakeVisible( rRecord.aErrorClass );
}

std::string NumberCell( const DecodedRecord& rRecord )
{
    return GetNumberText( rRecord );
}

std::string SystemErrorCell( const DecodedRecord& rRecord )
{
    return std::to_string( rRecord.dwSystemError );
}

// An HRESULT usually comes without a system error beside it: it is one.
std::string SystemTextCell( const DecodedRecord& rRecord )
{
    return MakeVisible( rRecord.dwSystemError != 0 ? GetSystemText( rRecord.dwSystemError )
                                                   : GetNumberMeaning( rRecord ) );
}

std::string OriginCell( const DecodedRecord& rRecord )
{
    return MakeVisible( rRecord.aOrigin );
}

std::string OptionalCell( const DecodedRecord& rRecord )
{
    return MakeVisible( rRecord.aOptional );
}

std::string ParametersCell( const DecodedRecord& rRecord )
{
    std::string aCell;
    for ( const std::string& aParameter : rRecord.aParameters )
        aCell.append( aCell.empty() ? "" : " | " ).append( MakeVisible( aParameter ) );
    return aCell;
}

struct Column
{
    const char* pHeading;
    const char* pLabel;
    std::string ( *pCell )( const DecodedRecord& rRecord );
};
// Behind the index.
constexpr Column COLUMNS[] = {
    { "CLASS", "class", ClassCell },
    { "NUMBER", "number", NumberCell },
    { "SYSTEM ERROR", "system error", SystemErrorCell },
    { "SYSTEM TEXT", "system text", SystemTextCell },
    { "ORIGIN", "origin", OriginCell },
    { "OPTIONAL", "optional", OptionalCell },
    { "PARAMETERS", "parameters", ParametersCell },
};

std::vector<std::string> MakeCells( size_t nIndex, const DecodedRecord& rRecord )
{
    std::vector<std::string> aCells{ std::to_string( nIndex ) };
    for ( const Column& rColumn : COLUMNS )
        aCells.push_back( rColumn.pCell( rRecord ) );
    return aCells;
}

std::vector<std::string> MakeHeadings()
{
    std::vector<std::string> aCells{ "#" };
    for ( const Column& rColumn : COLUMNS )
        aCells.push_back( rColumn.pHeading );
    return aCells;
}

std::string MakeLabel( const std::string& aText )
{
    std::string aLabel = "  " + aText;
    aLabel.resize( LABEL_COLUMNS, ' ' );
    return aLabel;
}

} // namespace

RecordTable::RecordTable() : m_aWidths( 1 + std::size( COLUMNS ), 0 ) {}

void RecordTable::Measure( size_t nIndex, const DecodedRecord& rRecord )
{
    const std::vector<std::string> aCells = MakeCells( nIndex, rRecord );
    const std::vector<std::string> aHeadings = MakeHeadings();
    size_t nLine = 0;
    for ( size_t i = 0; i < aCells.size(); i++ )
    {
        const size_t nCell = CountColumns( aCells[i] );
        nLine += nCell + GAP;
        if ( nCell > 0 )
            m_aWidths[i] =
                std::max( { m_aWidths[i], std::min( nCell, WIDEST_COLUMN ), aHeadings[i].size() } );
    }
    m_nWidestLine = std::max( m_nWidestLine, nLine );
}

size_t RecordTable::GetWidth() const
{
    size_t nWidth = 0;
    for ( size_t nColumn : m_aWidths )
        nWidth += nColumn == 0 ? 0 : nColumn + GAP;
    nWidth = std::max( nWidth, m_nWidestLine );
    return nWidth < GAP ? 0 : nWidth - GAP;
}

void RecordTable::PrintHeading() const
{
    PrintLine( MakeHeadings(), true );
}

void RecordTable::Print( size_t nIndex, const DecodedRecord& rRecord ) const
{
    PrintLine( MakeCells( nIndex, rRecord ), false );
}

void RecordTable::PrintLine( const std::vector<std::string>& rCells, bool fHeading ) const
{
    std::string aLine;
    for ( size_t i = 0; i < rCells.size(); i++ )
    {
        if ( m_aWidths[i] == 0 )
            continue;
        aLine += rCells[i];
        const size_t nCell = CountColumns( rCells[i] );
        aLine.append( ( nCell < m_aWidths[i] ? m_aWidths[i] - nCell : 0 ) + GAP, ' ' );
    }
    aLine.erase( aLine.find_last_not_of( ' ' ) + 1 );
    if ( fHeading )
        WriteHeading( aLine );
    else
        WriteOutput( aLine );
    WriteOutput( "\n" );
}

void PrintRecordBlock( size_t nIndex, const DecodedRecord& rRecord, size_t nColumns )
{
    WriteHeading( "record " + std::to_string( nIndex ) );
    WriteOutput( "\n" );
    for ( const Column& rColumn : COLUMNS )
    {
        if ( rColumn.pCell == ParametersCell )
            continue;
        const std::string aCell = rColumn.pCell( rRecord );
        if ( !aCell.empty() )
            WriteOutput( Wrap( MakeLabel( rColumn.pLabel ), aCell, nColumns ) );
    }
    // One parameter a line: a message counts them.
    for ( size_t i = 0; i < rRecord.aParameters.size(); i++ )
        WriteOutput( Wrap( MakeLabel( "parameter " + std::to_string( i ) ),
                           MakeVisible( rRecord.aParameters[i] ), nColumns ) );
}
