#include "core/callreport.h"
#include "process/processmatch.h"
#include "process/procservices.h"

#include <bxtools/mstring.h>
#include <bxtools/platform.h>
#include <bxtools/process.h>

namespace
{

constexpr DWORD ALL_ACCESS = 0x001F0FFF;
constexpr UINT EXIT_CODE_OF_KILLED = 1;

BOOL EndProcess( CallReport& rReport, const MyInfoStruct& rStruct, DWORD dwProcessId )
{
    const KernelHandle aProbe( OpenProcess( ALL_ACCESS, FALSE, dwProcessId ) );
    if ( !aProbe )
        return FailWithLastError( rReport, "OpenProcess failed with " );
    const KernelHandle aProcess( OpenProcess( ALL_ACCESS, FALSE, dwProcessId ) );
    if ( !aProcess || !IsStillMeant( rStruct, dwProcessId ) )
        return FailWithLastError( rReport, "OpenProcess1 failed with " );
    if ( !TerminateProcess( aProcess.Get(), EXIT_CODE_OF_KILLED ) )
        return rReport.Fail( "!TerminateProcess( hProcess, 1 )" );
    return TRUE;
}

BOOL DLL_EXPORT OnEnumProcessToKill( DWORD dwPID, WORD whTask16, LPCTSTR szFileName, LPARAM lParam )
{
    CallReport aReport(
        "From static BOOL DLL_EXPORT OnEnumProcessToKill( DWORD dwPID, WORD whTask16, LPCTSTR szFileName, LPARAM lParam )" );
    MyInfoStruct* const paStruct = reinterpret_cast<MyInfoStruct*>( lParam );
    MString aLongPath;
    if ( IsListed( ProgramName( szFileName, aLongPath ), paStruct->m_pText ) &&
         !KillProcess( dwPID, NULL, TRUE, paStruct, whTask16 ) )
        aReport.Fail( " Error: !KillProcess( dwPID, NULL, TRUE, paStruct, whTask16 )" );
    return TRUE;
}

} // namespace

BOOL KillProcess( DWORD dwProcessId, HWND hWnd, BOOL fForce, MyInfoStruct* paStruct, WORD whTask16 )
{
    CallReport aReport(
        "From static BOOL KillProcess( DWORD dwProcessId, HWND hWnd, BOOL fForce, MyInfoStruct* paStruct, WORD whTask16 )" );
    if ( dwProcessId == GetCurrentProcessId() )
        return TRUE;
    BOOL fDone = TRUE;
    if ( hWnd == NULL || fForce )
        fDone = whTask16 != 0 && paStruct->m_dwPlatformId == VER_PLATFORM_WIN32_NT
                    ? TerminateTask( aReport, *paStruct, dwProcessId, whTask16 )
                    : EndProcess( aReport, *paStruct, dwProcessId );
    if ( hWnd == NULL )
        return fDone;
    if ( !IsWindow( hWnd ) )
        return fDone ? aReport.Fail( "!IsWindow( hWnd )" ) : FALSE;
    PostMessageA( hWnd, WM_CLOSE, 0, 0 );
    return fDone;
}

BOOL DLL_EXPORT KillProcesses( LPCTSTR pProcessList, BOOL fAdminRights )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT KillProcesses( LPCTSTR pProcessList, BOOL fAdminRights )" );
    if ( pProcessList == NULL )
        return aReport.Fail( " Error: pProcessList == NULL" );
    if ( *pProcessList == '\0' )
        return aReport.Fail( " Error: STRLEN( pProcessList ) == 0" );
    return aReport.Guard(
        [&]() -> BOOL
        {
            MyInfoStruct aStruct;
            aStruct.m_pText = pProcessList;
            if ( !SetupMyStruct( &aStruct ) )
                return aReport.Fail( " Error: !SetupMyStruct( &aStruct )" );
            if ( fAdminRights && !EnableDebugPrivilege( &aStruct ) )
                return aReport.Fail( " Error: !EnableDebugPrivilege( &aStruct )" );
            if ( !EnumProcs( OnEnumProcessToKill, reinterpret_cast<LPARAM>( &aStruct ) ) )
                return aReport.Fail( " Error: !EnumProcs( OnEnumProcessToKill, (LPARAM)&aStruct )" );
            return TRUE;
        } );
}
