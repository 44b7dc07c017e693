#include "nls/nlsperthread.h"

#include "core/callreport.h"
#include "core/threadregistry.h"

#include <new>

namespace
{

LPVOID DLL_EXPORT CreateNLSServer()
{
    NLSServer* const pNLSServer = new ( std::nothrow ) ThreadNLSServer;
    return pNLSServer;
}

BOOL DLL_EXPORT DeleteNLSServer( LPVOID lValue )
{
    CallReport aReport( "From static BOOL DLL_EXPORT DeleteNLSServer( LPVOID lValue )" );
    NLSServer* const pNLSServer = static_cast<NLSServer*>( lValue );
    if ( pNLSServer == NULL )
        return aReport.Fail( " Error: pNLSServer == NULL" );
    static_cast<ThreadNLSServer*>( pNLSServer )->Release();
    return TRUE;
}

constexpr ServedObject SERVED = {
    ServedNumber::NLSServer, &CreateNLSServer, &DeleteNLSServer, "From NLSServer* GetNLSServer()",
    " Error: GetThreadSpecialObject( CreateNLSServer, DeleteNLSServer ) == NULL"
};

} // namespace

NLSServer* GetNLSServer()
{
    return static_cast<NLSServer*>( GetServedObject( SERVED ) );
}

void DropNLSServer()
{
    DropServedObject( SERVED );
}
