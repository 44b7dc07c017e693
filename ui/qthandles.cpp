#include "ui/qthandles.h"

#include <QAction>
#include <QTabBar>

QtHandles& QtHandles::Get()
{
    // Never destroyed: widgets may outlive this library's own end, and say so.
    static QtHandles* const pHandles = new QtHandles;
    return *pHandles;
}

uintptr_t QtHandles::NumberOf( const QtPlace& rPlace )
{
    return rPlace ? NumberOf( rPlace.pWidget, rPlace.nTab ) : 0;
}

uintptr_t QtHandles::NumberOf( QAction* pAction )
{
    return NumberOf( pAction, QtPlace::WHOLE );
}

uintptr_t QtHandles::NumberOf( QObject* pObject, int nTab )
{
    if ( const auto aKnown = m_aNumbers.find( pObject ); aKnown != m_aNumbers.end() )
    {
        for ( const uintptr_t uNumber : aKnown->second )
        {
            if ( m_aEntries.at( uNumber ).nTab == nTab )
                return uNumber;
        }
    }
    return Add( pObject, nTab );
}

uintptr_t QtHandles::Add( QObject* pObject, int nTab )
{
    if ( m_aNumbers.count( pObject ) == 0 )
        QObject::connect( pObject, &QObject::destroyed, [this]( QObject* pGone ) { Forget( pGone ); } );
    std::vector<uintptr_t>& rNumbers = m_aNumbers[pObject];
    rNumbers.reserve( rNumbers.size() + 1 );
    const uintptr_t uNumber = m_uLast + 1;
    m_aEntries.emplace( uNumber, Entry{ pObject, nTab } );
    rNumbers.push_back( uNumber );
    m_uLast = uNumber;
    return uNumber;
}

void QtHandles::Forget( QObject* pObject )
{
    const auto aKnown = m_aNumbers.find( pObject );
    if ( aKnown == m_aNumbers.end() )
        return;
    for ( const uintptr_t uNumber : aKnown->second )
        m_aEntries.erase( uNumber );
    m_aNumbers.erase( aKnown );
}

QtPlace QtHandles::Find( uintptr_t uNumber ) const
{
    const auto aEntry = m_aEntries.find( uNumber );
    if ( aEntry == m_aEntries.end() )
        return {};
    // A widget that is being destroyed is gone already.
    QWidget* const pWidget = qobject_cast<QWidget*>( aEntry->second.pObject.data() );
    const int nTab = aEntry->second.nTab;
    if ( nTab == QtPlace::WHOLE )
        return { pWidget, nTab };
    const QTabBar* const pTabBar = qobject_cast<QTabBar*>( pWidget );
    return pTabBar != nullptr && nTab < pTabBar->count() ? QtPlace{ pWidget, nTab } : QtPlace{};
}
