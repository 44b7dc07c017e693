// The rows of a language file, as spreadsheets and people write them: cells divided by semicolons, in quotes where
// they hold a semicolon, a quote or a line end; lines ending in LF, CR LF or CR; a UTF-8 mark at the start.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// From 1; columns count characters.
struct Place
{
    size_t nLine = 1;
    size_t nColumn = 1;
};

struct Cell
{
    std::string aText;
    Place aPlace;
    bool fQuoted = false;
};

// Something wrong with a text, and where.
struct CellFinding
{
    Place aPlace;
    std::string aText;
};

class RowReader
{
public:
    explicit RowReader( std::string_view aText );

    // Gives the next row that is no comment; empty lines are rows with one empty cell.
    // Result: false behind the last one.
    bool Next( std::vector<Cell>& rRow );
    // What was wrong with the quotes so far.
    const std::vector<CellFinding>& GetFindings() const { return m_aFindings; }

private:
    bool IsAtLineEnd() const;
    bool IsComment() const;
    char Take();
    void TakeLine();
    Cell TakeCell();
    void TakeQuoted( Cell& rCell );

    std::string_view m_aRest;
    Place m_aPlace;
    std::vector<CellFinding> m_aFindings;
};

// Without blanks around it.
std::string_view Trimmed( std::string_view aText );
