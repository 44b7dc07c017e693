// Which places virtual functions have in their table: callers of another compiler count on them.
#pragma once

#include <cstddef>
#include <cstring>
#include <vector>

// In the order given. This compiler's destructor takes two slots.
template <class... Operations>
std::vector<size_t> SlotsOf( Operations... aOperations )
{
    std::vector<size_t> aSlots;
    // What a pointer to a virtual function holds: its distance in the table, and 1.
    const auto Take = [&]( auto pOperation )
    {
        size_t uOffset = 0;
        std::memcpy( &uOffset, &pOperation, sizeof( uOffset ) );
        aSlots.push_back( ( uOffset - 1 ) / sizeof( void* ) );
    };
    ( Take( aOperations ), ... );
    return aSlots;
}
