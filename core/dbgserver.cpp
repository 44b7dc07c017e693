#include "core/dbgserver.h"

#include "core/callreport.h"

#include <new>

DBGServer::DBGServer() = default;

DBGServer::~DBGServer() = default;

LPVOID DLL_EXPORT CreateDBGServer()
{
    return new ( std::nothrow ) DBGServer;
}

BOOL DLL_EXPORT DeleteDBGServer( LPVOID lValue )
{
    CallReport aReport( "From static BOOL DLL_EXPORT DeleteDBGServer( LPVOID lValue )" );
    DBGServer* pDBGServer = static_cast<DBGServer*>( lValue );
    if ( pDBGServer == NULL )
        return aReport.Fail( " Error: pDBGServer == NULL" );
    delete pDBGServer;
    return TRUE;
}
