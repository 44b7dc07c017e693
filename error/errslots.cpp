// The error stacks of each thread.
#include "core/callreport.h"
#include "core/threadregistry.h"
#include "error/errserver.h"

#include <memory>
#include <new>

namespace
{

LPVOID DLL_EXPORT CreateERRServerList()
{
    return new ( std::nothrow ) ERRServerList( &MyDbgMessage );
}

BOOL DLL_EXPORT DeleteERRServerList( LPVOID lValue )
{
    CallReport aReport( "From static BOOL DLL_EXPORT DeleteERRServerList( LPVOID lValue )" );
    const ERRServerList* pERRServerList = static_cast<ERRServerList*>( lValue );
    if ( pERRServerList == NULL )
        return aReport.Fail( " Error: pERRServerList == NULL" );
    delete pERRServerList;
    return TRUE;
}

ERRServer* AppendServer( CallReport& aReport, ERRServerList& rErrList )
{
    if ( rErrList.ItemCount() >= MAX_ERROR_SLOTS_ONSTACK )
        return aReport.FailNull(
            " Error: lCount >= MAX_ERROR_SLOTS_ONSTACK -> STACK OVERFLOW; too many ERRServer objects on stack" );
    std::unique_ptr<ERRServer> pERRServer( new ( std::nothrow ) ERRServer );
    if ( pERRServer == NULL || !rErrList.Append( pERRServer.get() ) )
        return aReport.FailNull(
            " Error: pERRServer = new ERRServer() or pErrList->Append( pERRServer ) failed" );
    return pERRServer.release();
}

} // namespace

ERRServerList* GetERRServerList()
{
    static constexpr ServedObject SERVED = {
        ServedNumber::ErrServerList, &CreateERRServerList, &DeleteERRServerList,
        "From ERRServerList* GetERRServerList()",
        " Error: GetThreadSpecialObject( CreateERRServerList, DeleteERRServerList ) == NULL"
    };
    return static_cast<ERRServerList*>( GetServedObject( SERVED ) );
}

ERRServer* GetERRServer( ULONG ulSlotID )
{
    CallReport aReport( "From ERRServer* GetERRServer( ULONG ulSlotID )" );
    ERRServerList* pErrList = GetERRServerList();
    if ( pErrList == NULL )
        return aReport.FailNull( " Error: ( pErrList = GetERRServerList() ) == NULL" );

    const ULONG ulCount = pErrList->ItemCount();
    if ( ulCount == 0 || ulCount == ulSlotID )
        return AppendServer( aReport, *pErrList );
    ERRServer* pERRServer = pErrList->GetItem( static_cast<long>( ulSlotID ) );
    if ( pERRServer == NULL )
        aReport.Fail( " Error: ( pERRServer = pErrList->GetItem( ulSlotID ) ) == NULL" );
    return pERRServer;
}
