// The way to an object that the thread has already, on Windows, where reading the slot changes the last error.
#include "core/dllglobals.h"
#include "core/threadcontainer.h"

LPVOID GetServedObject( const ServedObject& rServed )
{
    const LastErrorGuard aLastError;
    const LPVOID lValue = FindServed( TlsGetValue( aGlobalDllObject.GetSlot() ), rServed );
    return lValue != NULL ? lValue : MakeServedObject( rServed );
}
