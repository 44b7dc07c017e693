// The message convention's one upward call: from the bases at the bottom to the debug messages.
#include <bxtools/baseobject.h>
#include <bxtools/debug.h>

void DLL_EXPORT MyDbgMessage( LPCTSTR pHeader, LPCTSTR pMessage )
{
    DebugMessage( "BXTOOLS.DLL", pHeader, pMessage );
}
