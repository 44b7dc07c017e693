#include "core/threadcontainer.h"

#include "core/callreport.h"
#include "core/taskname.h"

#include <bxtools/lists.h>

CThreadGlobalObjectInterface::CThreadGlobalObjectInterface( MYDBGFUNC, MYLOGFUNC pMyLogFunc )
    : BaseObject2( MyDbgMessage, pMyLogFunc )
{
}

CThreadGlobalObjectInterface::~CThreadGlobalObjectInterface() noexcept( false )
{
    if ( m_paList.use_count() == 1 )
        m_paList->ClearList( TRUE );
}

BOOL CThreadGlobalObjectInterface::CheckList()
{
    if ( m_paList != NULL )
        return TRUE;
    CallReport aReport( *this, "From BOOL CThreadGlobalObjectInterface::CheckList()" );
    // FALSE also when the list has been made: the next call finds it.
    return aReport.Guard( FALSE, " Error: m_paList = new _CThreadGlobalObjectInterface() failed",
                          [this]()
                          {
                              m_paList = std::make_shared<_CThreadGlobalObjectInterface>();
                              return FALSE;
                          } );
}

LPVOID CThreadGlobalObjectInterface::GetObject( CreateThreadElemFuc pCreateFunc,
                                                DeleteThreadElemFuc pDeleteFunc )
{
    CallReport aReport(
        *this,
        "From LPVOID CThreadGlobalObjectInterface::GetObject( CreateThreadElemFuc pCreateFunc, DeleteThreadElemFuc pDeleteFunc )" );
    long lIndex = -1;
    if ( CheckList() )
    {
        const LPVOID lRet = FindObject( pCreateFunc, pDeleteFunc, &lIndex );
        if ( lIndex != -1 )
            return lRet;
    }
    if ( !CheckList() )
        return NULL;
    return aReport.Guard(
        LPVOID( NULL ),
        " Error: pObj = new CThreadGlobalObjectElemInterface( pCreateFunc, pDeleteFunc ) or lRet = pObj->GetObj() or Append( pObj ) failed",
        [&]() { return AppendObject( pCreateFunc, pDeleteFunc ); } );
}

LPVOID CThreadGlobalObjectInterface::PeekObject( CreateThreadElemFuc pCreateFunc,
                                                 DeleteThreadElemFuc pDeleteFunc )
{
    if ( m_paList == NULL )
        return NULL;
    long lIndex = -1;
    const CThreadGlobalObjectElemInterface* pObj = FindElement( pCreateFunc, pDeleteFunc, &lIndex );
    return pObj != NULL ? pObj->PeekObj() : NULL;
}

LPVOID CThreadGlobalObjectInterface::FindObject( CreateThreadElemFuc pCreateFunc,
                                                 DeleteThreadElemFuc pDeleteFunc, long* plIndex )
{
    CThreadGlobalObjectElemInterface* pObj = FindElement( pCreateFunc, pDeleteFunc, plIndex );
    return pObj != NULL ? pObj->GetObj() : NULL;
}

// The first element for the pair, and its index, -1 without one. There must be a list.
CThreadGlobalObjectElemInterface* CThreadGlobalObjectInterface::FindElement( CreateThreadElemFuc pCreateFunc,
                                                                             DeleteThreadElemFuc pDeleteFunc,
                                                                             long* plIndex )
{
    const long lCount = static_cast<long>( m_paList->ItemCount() );
    for ( *plIndex = 0; *plIndex < lCount; ++*plIndex )
    {
        CThreadGlobalObjectElemInterface* pObj = m_paList->GetItem( *plIndex );
        if ( pObj != NULL && pObj->CompareEqual( pCreateFunc, pDeleteFunc ) )
            return pObj;
    }
    *plIndex = -1;
    return NULL;
}

// Throws when there is no memory.
LPVOID CThreadGlobalObjectInterface::AppendObject( CreateThreadElemFuc pCreateFunc,
                                                   DeleteThreadElemFuc pDeleteFunc )
{
    std::unique_ptr<CThreadGlobalObjectElemInterface> pObj(
        new CThreadGlobalObjectElemInterface( pCreateFunc, pDeleteFunc ) );
    if ( !m_paList->Append( pObj.get() ) )
        throw std::bad_alloc();
    CThreadGlobalObjectElemInterface* pKept = pObj.release();
    pKept->SetFuncPtr( m_pMyDbgFunc, m_pMyLogFunc );
    return pKept->GetObj();
}

void CThreadGlobalObjectInterface::DropServed( const ServedObject& rServed )
{
    KeepServed( rServed.m_eNumber, NULL );
    long lIndex = -1;
    if ( m_paList != NULL && FindElement( rServed.m_pCreateFunc, rServed.m_pDeleteFunc, &lIndex ) != NULL )
        m_paList->Remove( lIndex, TRUE );
}

BOOL CThreadGlobalObjectInterface::SetThisData( int nMode )
{
    CallReport aReport( *this, "From BOOL CThreadGlobalObjectInterface::SetThisData( int nMode )" );
    if ( nMode != GLOBAL_OBJ_FROM_PROCESS && nMode != GLOBAL_OBJ_FROM_THREAD )
        return aReport.Fail( " Internal Error: mode not supported: switch ( nMode ) -> default" );
    m_stProcName = GetTaskName();
    m_stProcName.MakeUpper();
    m_stThreadName = GetCurrentThreadId();
    return TRUE;
}

void CThreadGlobalObjectInterface::OnDeleteSelf()
{
    delete this;
}
