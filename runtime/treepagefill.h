// Which entries go into a page together, and how they stand there.
#pragma once

#include "runtime/treewriter.h"

// Where pages begin when the entries of a level, in their order, fill as few as may be; the last two share evenly.
std::vector<size_t> SplitIntoPages( std::span<const TreeEntry> aEntries, unsigned uLevel );

// Makes a page of entries that fit; the fields of roots stay as they are.
void FillPage( TreePage& rPage, std::span<const TreeEntry> aEntries, unsigned uLevel );

// The shortest key that is behind the left one and not behind the right one, which is greater.
TreeKey KeyBetween( const TreeKey& rLeft, const TreeKey& rRight ) noexcept;
