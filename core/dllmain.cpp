#include "core/dllmain.h"

#include "core/callreport.h"
#include "core/dllglobals.h"

#include <iterator>

namespace
{

struct Notification
{
    BOOL ( MyDLLMainGlobalThreadData::*pHandler )();
    LPCTSTR pError;
};

// By dwReason.
constexpr Notification NOTIFICATIONS[] = {
    { &MyDLLMainGlobalThreadData::OnProcessDETACH1, " Error: !aGlobalDllObject.OnProcessDETACH1()" },
    { &MyDLLMainGlobalThreadData::OnProcessATTACH1, " Error: !aGlobalDllObject.OnProcessATTACH1()" },
    { &MyDLLMainGlobalThreadData::OnThreadATTACH, " Error: !aGlobalDllObject.OnThreadATTACH()" },
    { &MyDLLMainGlobalThreadData::OnThreadDETACH, " Error: !aGlobalDllObject.OnThreadDETACH()" },
};

BOOL g_fProcessEnds = FALSE;

} // namespace

extern "C" BOOL WINAPI DllMain( HINSTANCE, DWORD dwReason, LPVOID lpReserved )
{
    CallReport aReport( "From DllMain( HINSTANCE hinstDLL, DWORD dwReason, LPVOID lpReserved )" );
    if ( dwReason >= std::size( NOTIFICATIONS ) )
        return TRUE;
    if ( dwReason == DLL_PROCESS_DETACH && lpReserved != NULL )
    {
        g_fProcessEnds = TRUE;
        return TRUE;
    }
    const Notification& rNotification = NOTIFICATIONS[dwReason];
    if ( !( aGlobalDllObject.*rNotification.pHandler )() )
        return aReport.Fail( rNotification.pError );
    return TRUE;
}

BOOL IsProcessEnding()
{
    return g_fProcessEnds;
}
