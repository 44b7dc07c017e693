#include "core/callreport.h"

#include <bxtools/lists.h>

#include <atomic>
#include <new>
#include <utility>

// What the lists that hold the same nodes have in common. While they are several, no node is freed: one that is taken
// out is retired, since another list may still stand on it. A retired node is marked by being its own predecessor,
// leads to the node that came after it, and hangs on the chain of retired nodes by its data pointer.
struct ListShare
{
    std::atomic<ULONG> ulOwners = 1;
    MYLINK* pFirst = NULL; // of the nodes in use, which are one chain
    MYLINK* pRetired = NULL;
};

namespace
{

constexpr long APPEND_INDEX = 0x7FFFFFFF;

BOOL IsRetired( const MYLINK* pLink )
{
    return pLink->pPrev == pLink;
}

// The node itself or, when it was taken out, the one that a walk from it reaches first.
MYLINK* NextInUse( MYLINK* pLink )
{
    while ( pLink != NULL && IsRetired( pLink ) )
        pLink = pLink->pNext;
    return pLink;
}

void Retire( ListShare* pShare, MYLINK* pLink )
{
    if ( pShare->pFirst == pLink )
        pShare->pFirst = pLink->pNext;
    pLink->pPrev = pLink;
    pLink->pData = pShare->pRetired;
    pShare->pRetired = pLink;
}

void FreeRetired( MYLINK* pLink )
{
    while ( pLink != NULL )
        delete std::exchange( pLink, static_cast<MYLINK*>( pLink->pData ) );
}

// The first node of the chain. Lists that are gone by now may have put nodes before a list's head.
MYLINK* FirstOfChain( MYLINK* pLink )
{
    while ( pLink != NULL && pLink->pPrev != NULL )
        pLink = pLink->pPrev;
    return pLink;
}

} // namespace

MyBaseList::MyBaseList( long, MYDBGFUNC pMyDbgFunc ) : BaseObject2( pMyDbgFunc, NULL ) {}

MyBaseList::MyBaseList() : MyBaseList( 10, NULL ) {}

MyBaseList::MyBaseList( const MyBaseList& aBaseList ) : BaseObject2( aBaseList )
{
    CallReport aReport( std::as_const( *this ),
                        "From MyBaseList::MyBaseList( const MyBaseList& aBaseList )" );
    if ( aBaseList.m_pShare == NULL && aBaseList.m_pHead != NULL )
    {
        aBaseList.m_pShare = new ( std::nothrow ) ListShare;
        if ( aBaseList.m_pShare == NULL )
        {
            aReport.Fail( " Error: m_pShare = new ListShare() failed" );
            return;
        }
        aBaseList.m_pShare->pFirst = FirstOfChain( aBaseList.m_pHead );
    }
    m_pShare = aBaseList.m_pShare;
    if ( m_pShare != NULL )
        ++m_pShare->ulOwners;
    m_ulCount = aBaseList.m_ulCount;
    m_pHead = aBaseList.m_pHead;
    m_pCurrent = aBaseList.m_pCurrent;
}

MyBaseList& MyBaseList::operator=( const MyBaseList& aBaseList )
{
    ShareNodes( aBaseList, NULL );
    return *this;
}

MyBaseList::~MyBaseList()
{
    LeaveNodes( NULL );
}

BOOL MyBaseList::Append( MYBASEDATA* p )
{
    SettleShare();
    MYLINK* pNew = CreateItem( 0, p );
    if ( pNew == NULL )
        return FALSE;
    LinkLast( pNew );
    return TRUE;
}

BOOL MyBaseList::Insert( long lIndex, MYBASEDATA* p )
{
    if ( lIndex == APPEND_INDEX )
        return Append( p );
    SettleShare();
    MYLINK* pNew = CreateItem( lIndex, p );
    if ( pNew == NULL )
        return FALSE;
    if ( m_ulCount == 0 )
    {
        LinkLast( pNew );
        return TRUE;
    }
    MYLINK* pTarget = GetObject( static_cast<ULONG>( lIndex ), 6 );
    if ( pTarget == NULL )
    {
        delete pNew;
        return FALSE;
    }
    if ( pTarget == m_pHead )
        m_pHead = pNew;
    if ( pTarget == m_pCurrent )
        m_pCurrent = pNew;
    OnInsertNewItem( pTarget, pNew, TRUE );
    return TRUE;
}

MYBASEDATA* MyBaseList::Remove( long lIndex )
{
    SettleShare();
    MYLINK* pLink = CheckIndex( lIndex ) ? GetObject( static_cast<ULONG>( lIndex ), 6 ) : NULL;
    if ( pLink == NULL )
        return NULL;
    if ( pLink == m_pHead )
        m_pHead = pLink->pNext;
    if ( pLink == m_pCurrent )
        m_pCurrent = pLink->pNext != NULL ? pLink->pNext : pLink->pPrev != NULL ? pLink->pPrev : m_pHead;
    MYBASEDATA* pData = pLink->pData;
    OnRemoveThis( pLink );
    return pData;
}

MYBASEDATA* MyBaseList::Replace( long lIndex, MYBASEDATA* p )
{
    SettleShare();
    MYLINK* pLink = CheckIndex( lIndex ) ? GetObject( static_cast<ULONG>( lIndex ), 6 ) : NULL;
    return pLink != NULL ? std::exchange( pLink->pData, p ) : NULL;
}

MYBASEDATA* MyBaseList::GetItem( long lIndex, int nAccessMode )
{
    SettleShare();
    MYLINK* pLink = CheckIndex( lIndex ) ? GetObject( static_cast<ULONG>( lIndex ), nAccessMode ) : NULL;
    return pLink != NULL ? pLink->pData : NULL;
}

void MyBaseList::ClearList()
{
    ClearElements( NULL );
}

BOOL MyBaseList::CheckIndex( long lIndex ) const
{
    return lIndex >= 0 && static_cast<unsigned long>( lIndex ) < m_ulCount;
}

MYLINK* MyBaseList::CreateItem( long lIndex, MYBASEDATA* p )
{
    CallReport aReport( *this, "From MYLINK* MyBaseList::CreateItem( long lIndex, MYBASEDATA* p )" );
    if ( !CheckIndex( lIndex ) && ( m_ulCount != 0 || lIndex != 0 ) )
        return NULL;
    MYLINK* pObj = new ( std::nothrow ) MYLINK();
    if ( pObj == NULL )
        return aReport.FailNull( " Error: pObj = new MYLINK() failed" );
    pObj->pData = p;
    return pObj;
}

MYLINK* MyBaseList::GetObject( ULONG uIndex, int nAccessMode )
{
    CallReport aReport( *this, "From MYLINK* MyBaseList::GetObject( int nAccessMode )" );
    MYLINK* pLink = m_pCurrent;
    switch ( nAccessMode )
    {
    case 1: return m_pCurrent;
    case 2: pLink = pLink != NULL ? pLink->pNext : NULL; break;
    case 3: pLink = pLink != NULL ? pLink->pPrev : NULL; break;
    case 4: pLink = GetLastObj(); break;
    case 5: pLink = m_pHead; break;
    case 6: return GetObjectByIndex( uIndex );
    default: return aReport.FailNull( " Error: unknown nAccessMode -> default case" );
    }
    if ( pLink != NULL )
        m_pCurrent = pLink;
    return pLink;
}

MYLINK* MyBaseList::GetObjectByIndex( ULONG uIndex )
{
    CallReport aReport( *this, "From MYLINK* MyBaseList::GetObjectByIndex( ULONG uIndex )" );
    if ( uIndex >= m_ulCount )
    {
        aReport.Fail( " Error: uIndex >= m_ulCount -> wrong uIndex = " );
        aReport.Tail( static_cast<LONG>( uIndex ) )
            .Tail( ", m_ulCount = " )
            .Tail( static_cast<LONG>( m_ulCount ) );
        return NULL;
    }
    ULONG uPosition = 0;
    for ( MYLINK* pLink = m_pHead; pLink != NULL; pLink = pLink->pNext, ++uPosition )
    {
        m_pCurrent = pLink;
        if ( uPosition == uIndex )
            return pLink;
    }
    aReport.Fail( " Error: Item not found -> wrong uIndex = " );
    aReport.Tail( static_cast<LONG>( uIndex ) )
        .Tail( ", ItemCount = " )
        .Tail( static_cast<LONG>( uPosition ) );
    return NULL;
}

MYLINK* MyBaseList::GetLastObj()
{
    MYLINK* pLink = m_pCurrent;
    while ( pLink != NULL && pLink->pNext != NULL )
        pLink = pLink->pNext;
    return pLink;
}

void MyBaseList::LinkLast( MYLINK* pNew )
{
    if ( m_pHead != NULL )
    {
        OnInsertNewItem( GetObject( 0, 4 ), pNew, FALSE );
        return;
    }
    m_pHead = m_pCurrent = pNew;
    m_ulCount = 1;
    if ( m_pShare != NULL )
        m_pShare->pFirst = pNew;
}

void MyBaseList::OnInsertNewItem( MYLINK* pExisting, MYLINK* pNew, BOOL fBefore )
{
    pNew->pPrev = fBefore ? pExisting->pPrev : pExisting;
    pNew->pNext = fBefore ? pExisting : pExisting->pNext;
    if ( pNew->pPrev != NULL )
        pNew->pPrev->pNext = pNew;
    else if ( m_pShare != NULL )
        m_pShare->pFirst = pNew;
    if ( pNew->pNext != NULL )
        pNew->pNext->pPrev = pNew;
    ++m_ulCount;
}

void MyBaseList::OnRemoveThis( MYLINK* pLink )
{
    if ( pLink->pPrev != NULL )
        pLink->pPrev->pNext = pLink->pNext;
    if ( pLink->pNext != NULL )
        pLink->pNext->pPrev = pLink->pPrev;
    --m_ulCount;
    if ( m_pShare != NULL )
        Retire( m_pShare, pLink );
    else
        delete pLink;
}

void MyBaseList::DeleteAllItems()
{
    for ( MYLINK* pLink = FirstOfChain( m_pHead ); pLink != NULL; )
    {
        MYLINK* pNext = pLink->pNext;
        if ( m_pShare != NULL )
            Retire( m_pShare, pLink );
        else
            delete pLink;
        pLink = pNext;
    }
    m_ulCount = 0;
    m_pHead = m_pCurrent = NULL;
}

void MyBaseList::ClearElements( ElementDestroyer pDestroy )
{
    SettleShare();
    if ( pDestroy != NULL )
    {
        for ( MYLINK* pLink = FirstOfChain( m_pHead ); pLink != NULL; pLink = pLink->pNext )
            pDestroy( pLink->pData );
    }
    DeleteAllItems();
}

void MyBaseList::LeaveNodes( ElementDestroyer pDestroy )
{
    if ( m_pShare == NULL || --m_pShare->ulOwners == 0 )
    {
        ClearElements( pDestroy );
        return;
    }
    m_pShare = NULL;
    m_ulCount = 0;
    m_pHead = m_pCurrent = NULL;
}

void MyBaseList::ShareNodes( const MyBaseList& aBaseList, ElementDestroyer pDestroy )
{
    if ( this == &aBaseList )
        return;
    // Its nodes are held before our own are let go, which may be the same.
    MyBaseList aHeld( aBaseList );
    LeaveNodes( pDestroy );
    BaseObject2::operator=( aBaseList );
    std::swap( m_ulCount, aHeld.m_ulCount );
    std::swap( m_pHead, aHeld.m_pHead );
    std::swap( m_pCurrent, aHeld.m_pCurrent );
    std::swap( m_pShare, aHeld.m_pShare );
}

void MyBaseList::SettleShare()
{
    if ( m_pShare == NULL )
        return;
    m_pHead = NextInUse( m_pHead );
    if ( m_pHead == NULL )
        m_pHead = m_pShare->pFirst;
    m_pCurrent = NextInUse( m_pCurrent );
    if ( m_pCurrent == NULL )
        m_pCurrent = m_pHead;
    if ( m_pShare->ulOwners > 1 )
        return;
    FreeRetired( m_pShare->pRetired );
    delete m_pShare;
    m_pShare = NULL;
}
