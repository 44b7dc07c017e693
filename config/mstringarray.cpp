#include "core/callreport.h"

#include <bxtools/registry.h>

#include <cstring>
#include <memory>
#include <new>

MStringArray::~MStringArray()
{
    delete m_pMStringList;
}

void MStringArray::RemoveAll()
{
    m_nLastRead = -1;
    if ( m_pMStringList != NULL )
        m_pMStringList->ClearList( TRUE );
}

void MStringArray::Add( LPCTSTR pNewString )
{
    CallReport aReport( "From void MStringArray::Add( LPCTSTR pNewString )" );
    aReport.Guard( FALSE, " Error: m_pMStringList = new MStringList() failed",
                   [&]() -> BOOL
                   {
                       m_nLastRead = -1;
                       if ( m_pMStringList == NULL )
                           m_pMStringList = new MStringList();
                       auto pItem = std::make_unique<MString>();
                       if ( pNewString != NULL )
                           pItem->assign( pNewString, std::strlen( pNewString ) );
                       // The list itself reports that it could not take it.
                       if ( m_pMStringList->Append( pItem.get() ) )
                           pItem.release();
                       return TRUE;
                   } );
}

int MStringArray::GetSize() const
{
    return m_pMStringList != NULL ? static_cast<int>( m_pMStringList->ItemCount() ) : 0;
}

MString MStringArray::GetAt( int nIndex ) const
{
    constexpr int NEXT = 2;
    constexpr int BY_INDEX = 6;
    if ( m_pMStringList == NULL )
        return MString();
    const bool fNext = m_nLastRead != -1 && nIndex == m_nLastRead + 1;
    const MString* pItem = m_pMStringList->GetItem( nIndex, fNext ? NEXT : BY_INDEX );
    if ( pItem == NULL )
        return MString();
    m_nLastRead = nIndex;
    return *pItem;
}
