// Waits during which the calling thread's messages flow.
#include "process/waithandle.h"

#include "core/callreport.h"

#include <bxtools/platform.h>
#include <bxtools/thread.h>

namespace
{

constexpr LPCTSTR WAIT_TEXT =
    " Error: dwRet == WAIT_FAILED -> WaitForSingleObject( aThreadHDL, dwMilliseconds )";
constexpr LPCTSTR LOOK_TEXT = " Error: dwRet == WAIT_FAILED -> WaitForSingleObject( aThreadHDL, 0 )";
constexpr LPCTSTR INPUT_TEXT =
    " Error: MsgWaitForMultipleObjects( 1, &aThreadHDL, FALSE, dwMilliseconds, QS_ALLINPUT ) failed";
constexpr LPCTSTR OTHER_TEXT =
    " Error: dwRet != WAIT_OBJECT_0 + 1 && dwRet != WAIT_TIMEOUT -> Something else happened";

struct WaitedFor
{
    const HANDLE* pHandles;
    DWORD dwCount;

    DWORD Wait( DWORD dwMilliseconds ) const
    {
        return dwCount == 1 ? WaitForSingleObject( *pHandles, dwMilliseconds )
                            : WaitForMultipleObjects( dwCount, pHandles, FALSE, dwMilliseconds );
    }
    bool IsReady( DWORD dwResult ) const { return dwResult < WAIT_OBJECT_0 + dwCount; }
};

// Dispatches what has come so far. dwResult: what the last look at the handles found.
BOOL DispatchMessages( CallReport& rReport, const WaitedFor& rObjects, DWORD& dwResult )
{
    MSG aMessage;
    while ( PeekMessageA( &aMessage, NULL, 0, 0, PM_REMOVE ) )
    {
        TranslateMessage( &aMessage );
        DispatchMessageA( &aMessage );
        dwResult = rObjects.Wait( 0 );
        if ( dwResult == WAIT_FAILED )
            return rReport.Fail( LOOK_TEXT );
        if ( rObjects.IsReady( dwResult ) )
            break;
    }
    return TRUE;
}

// Each wait has the whole limit again, and the ticks alone bound them all.
BOOL WaitWithMessageLoop( CallReport& rReport, const WaitedFor& rObjects, DWORD dwMilliseconds,
                          DWORD& dwResult )
{
    const DWORD dwStart = GetTickCount();
    for ( ;; )
    {
        dwResult = MsgWaitForMultipleObjects( rObjects.dwCount, rObjects.pHandles, FALSE, dwMilliseconds,
                                              QS_ALLINPUT );
        if ( rObjects.IsReady( dwResult ) )
            return TRUE;
        if ( dwResult == WAIT_FAILED )
            return rReport.Fail( INPUT_TEXT );
        if ( dwResult != WAIT_OBJECT_0 + rObjects.dwCount && dwResult != WAIT_TIMEOUT )
            return rReport.Fail( OTHER_TEXT );
        if ( !DispatchMessages( rReport, rObjects, dwResult ) )
            return FALSE;
        if ( rObjects.IsReady( dwResult ) )
            return TRUE;
        if ( dwMilliseconds != INFINITE && GetTickCount() - dwStart >= dwMilliseconds )
        {
            dwResult = WAIT_TIMEOUT;
            return TRUE;
        }
    }
}

} // namespace

BOOL WaitForHandles( CallReport& rReport, const HANDLE* pHandles, DWORD dwCount, DWORD dwMilliseconds,
                     BOOL fWithMessageLoop, DWORD& dwResult )
{
    const WaitedFor aObjects = { pHandles, dwCount };
    return rReport.Guard(
        [&]() -> BOOL
        {
            if ( fWithMessageLoop )
                return WaitWithMessageLoop( rReport, aObjects, dwMilliseconds, dwResult );
            dwResult = aObjects.Wait( dwMilliseconds );
            return dwResult != WAIT_FAILED || rReport.Fail( WAIT_TEXT );
        } );
}

DLL_EXPORT_MOD BOOL DLL_EXPORT WaitForHandleSignaled( HANDLE aThreadHDL, DWORD dwMilliseconds,
                                                      BOOL fWithMessageLoop, DWORD* pdwRetValueOnSuccess )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT WaitForHandleSignaled( HANDLE aThreadHDL, DWORD dwMilliseconds, BOOL fWithMessageLoop, DWORD* pdwRetValueOnSuccess )" );
    if ( aThreadHDL == NULL || pdwRetValueOnSuccess == NULL )
        return aReport.Fail( " Error: aThreadHDL == NULL || pdwRetValueOnSuccess == NULL -> invalid handle" );
    return WaitForHandles( aReport, &aThreadHDL, 1, dwMilliseconds, fWithMessageLoop, *pdwRetValueOnSuccess );
}
