#include "core/dllglobals.h"

#include "core/callreport.h"
#include "core/dbgserver.h"
#include "diag/sharedvalues.h"

#include <bxtools/debug.h>

#include <utility>

MyDLLMainGlobalThreadData::MyDLLMainGlobalThreadData()
{
    ShareDebugValues();
    OnGlobalValuesChanged();
}

MyDLLMainGlobalThreadData::~MyDLLMainGlobalThreadData()
{
    DeleteOwnedObjects();
}

BOOL MyDLLMainGlobalThreadData::OnProcessATTACH1()
{
    CallReport aReport( *this, "From BOOL MyDLLMainGlobalThreadData::OnProcessATTACH1()" );
    return aReport.Guard( FALSE, " caused uncaught exception",
                          [&]()
                          {
                              if ( OnProcessATTACH( MyDbgMessage, LIB_TO_LOAD1, NULL ) )
                                  return TRUE;
                              aReport.Fail( "Nothing" );
                              aReport.ReportNow();
                              m_pOut = " Error: !OnProcessATTACH( MyDbgMessage, LIB_TO_LOAD1, NULL )";
                              return FALSE;
                          } );
}

BOOL MyDLLMainGlobalThreadData::OnProcessDETACH1()
{
    // Set before the work is done, so that a deleter that ends the library does not do it twice.
    if ( m_fDetached.exchange( TRUE ) )
        return TRUE;
    return OnProcessDETACH();
}

DBGServer* MyDLLMainGlobalThreadData::GetGlobalDBGServer()
{
    CallReport aReport( std::as_const( *this ),
                        "From DBGServer* MyDLLMainGlobalThreadData::GetGlobalDBGServer()" );
    const LockGuard aLock( m_aCritSec );
    if ( m_pDBGServer == NULL && !m_fDeleted )
        m_pDBGServer =
            aReport.Guard( (DBGServer*)NULL, " Error: m_pDBGServer = (DBGServer*) CreateDBGServer() failed",
                           []() { return static_cast<DBGServer*>( CreateDBGServer() ); } );
    return m_pDBGServer;
}

void MyDLLMainGlobalThreadData::DeleteOwnedObjects()
{
    CallReport aReport( std::as_const( *this ),
                        "From MyDLLMainGlobalThreadData::~MyDLLMainGlobalThreadData()" );
    aReport.Guard(
        FALSE,
        " Error: DeleteCriticalSection( &m_aCritSec ) or DeleteDBGServer( (LPVOID)m_pDBGServer ) failed",
        [this]()
        {
            const LockGuard aLock( m_aCritSec );
            m_fDeleted = TRUE;
            DBGServer* pDBGServer = std::exchange( m_pDBGServer, nullptr );
            return pDBGServer == NULL || DeleteDBGServer( pDBGServer );
        } );
    DeleteHandleList();
}

DBGServer* GetDBGServer()
{
    CallReport aReport( "From DBGServer* GetDBGServer()" );
    MyDLLMainGlobalThreadData* pGlobalObj = GetDLLGlobalObjectPtr();
    if ( pGlobalObj == NULL )
        return aReport.FailNull( " Error: ( pGlobalObj = GetDLLGlobalObjectPtr() ) == NULL" );
    DBGServer* pDBGServer = pGlobalObj->GetGlobalDBGServer();
    if ( pDBGServer == NULL )
        aReport.Fail( " Error: ( pDBGServer == pGlobalObj->GetGlobalDBGServer() ) == NULL" );
    return pDBGServer;
}
