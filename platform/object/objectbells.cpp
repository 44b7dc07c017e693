#include "platform/object/objectbells.h"

#include "platform/object/objectfile.h"

#include <bxtools/platform.h>

#include <algorithm>

namespace
{
// What stands in the file may be anything.
size_t BellsUsed( const ObjectHeader& rHeader ) noexcept
{
    return std::min<size_t>( rHeader.uBellsUsed, MOST_SHARED_BELLS );
}

void RaiseTo( std::atomic<uint32_t>& rCount, uint32_t uWanted ) noexcept
{
    uint32_t uNow = rCount;
    while ( uNow < uWanted && !rCount.compare_exchange_weak( uNow, uWanted ) )
    {
    }
}

bool Replace( std::atomic<uint64_t>& rPlace, uint64_t ullOld, uint64_t ullNew ) noexcept
{
    return rPlace.load( std::memory_order_relaxed ) == ullOld &&
           rPlace.compare_exchange_strong( ullOld, ullNew );
}
} // namespace

bool ObjectBells::AddShared( SharedBellName ullName ) noexcept
{
    ObjectPages& rPages = m_pFile->GetPages();
    for ( uint32_t i = 0; i < MOST_SHARED_BELLS; ++i )
    {
        if ( rPages.aullBells[i].load( std::memory_order_relaxed ) != 0 )
            continue;
        // First, so that whoever sees the bell's place looks that far.
        RaiseTo( rPages.aHeader.uBellsUsed, i + 1 );
        if ( Replace( rPages.aullBells[i], 0, ullName ) )
            return true;
    }
    return false;
}

bool ObjectBells::Add( Bell& rBell ) noexcept
{
    if ( m_pFile == nullptr )
        return m_aLocal.Add( rBell );
    const SharedBellName ullName = rBell.GetSharedName( m_pFile->GetScope() );
    if ( ullName == 0 )
        return false;
    if ( AddShared( ullName ) )
        return true;
    // Those of killed waiters give their places up when they are rung.
    RingAll();
    if ( AddShared( ullName ) )
        return true;
    SetLastError( ERROR_NO_SYSTEM_RESOURCES );
    return false;
}

void ObjectBells::Remove( Bell& rBell ) noexcept
{
    if ( m_pFile == nullptr )
    {
        m_aLocal.Remove( rBell );
        return;
    }
    const SharedBellName ullName = rBell.GetSharedName( m_pFile->GetScope() );
    ObjectPages& rPages = m_pFile->GetPages();
    for ( size_t i = 0; i < BellsUsed( rPages.aHeader ); ++i )
    {
        if ( Replace( rPages.aullBells[i], ullName, 0 ) )
            return;
    }
}

void ObjectBells::RingAll() noexcept
{
    if ( m_pFile == nullptr )
    {
        m_aLocal.RingAll();
        return;
    }
    ObjectPages& rPages = m_pFile->GetPages();
    for ( size_t i = 0; i < BellsUsed( rPages.aHeader ); ++i )
    {
        const SharedBellName ullName = rPages.aullBells[i];
        if ( ullName != 0 && !RingSharedBell( m_pFile->GetScope(), ullName ) )
            Replace( rPages.aullBells[i], ullName, 0 );
    }
}
