// Records as a person reads them: a line for each where that fits, a block of lines for each otherwise.
#pragma once

#include "tools/errors/decodedrecord.h"

#include <cstddef>
#include <string>
#include <vector>

// Prints records as the lines of a table. Measure sees all of them before the first is printed, so that the columns
// are as wide as they must be, and those that would be empty are left out.
class RecordTable
{
public:
    RecordTable();

    void Measure( size_t nIndex, const DecodedRecord& rRecord );
    // The columns that the widest line takes.
    size_t GetWidth() const;

    void PrintHeading() const;
    void Print( size_t nIndex, const DecodedRecord& rRecord ) const;

private:
    void PrintLine( const std::vector<std::string>& rCells, bool fHeading ) const;

    std::vector<size_t> m_aWidths; // 0: nothing in this column
    size_t m_nWidestLine = 0;
};

// Prints one record as a block of lines, wrapped at nColumns (0: not at all).
void PrintRecordBlock( size_t nIndex, const DecodedRecord& rRecord, size_t nColumns );
