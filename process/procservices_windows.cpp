#include "core/callreport.h"
#include "process/procservices.h"

#include <bxtools/platform.h>

namespace
{

constexpr char VDMLIB_NAME[] = "VDMDBG.DLL";
constexpr char ADVAPILIB_NAME[] = "ADVAPI32.DLL";

typedef BOOL( WINAPI* OPENPROCESSTOKEN )( HANDLE hProcess, DWORD dwAccess, HANDLE* phToken );
typedef BOOL( WINAPI* LOOKUPPRIVILEGEVALUE )( LPCSTR pSystem, LPCSTR pName, LUID* pValue );
typedef BOOL( WINAPI* ADJUSTTOKENPRIVILEGES )( HANDLE hToken, BOOL fDisableAll, TOKEN_PRIVILEGES* pNew,
                                               DWORD dwSize, TOKEN_PRIVILEGES* pOld, DWORD* pOldSize );

// The functions are there on the NT family only.
BOOL FailForMissingFunction( CallReport& rReport )
{
    SetLastError( ERROR_CALL_NOT_IMPLEMENTED );
    return FailWithLastError( rReport, "OpenProcessToken failed with " );
}

} // namespace

BOOL SetupMyStruct( MyInfoStruct* pMyInfoStruct )
{
    CallReport aReport( "From static BOOL SetupMyStruct( MyInfoStruct* pMyInfoStruct )" );
    OSVERSIONINFOA aVersion = {};
    aVersion.dwOSVersionInfoSize = sizeof( aVersion );
    if ( !GetVersionExA( &aVersion ) )
        return aReport.Fail( " Error: !GetVersionEx( &osver )" );
    pMyInfoStruct->m_dwPlatformId = aVersion.dwPlatformId;
    if ( aVersion.dwPlatformId != VER_PLATFORM_WIN32_NT )
        return TRUE;
    const LoadedLibrary& rVDMLib = pMyInfoStruct->m_aVDMLib.emplace( VDMLIB_NAME );
    if ( !rVDMLib )
        return aReport.Fail( " Error: ( hInstLib = LoadLibrary( VDMLIB_NAME ) ) == NULL" );
    pMyInfoStruct->m_lpfVDMTerminateTaskWOW = rVDMLib.Get<VDMTERMINATETASKWOW>( "VDMTerminateTaskWOW" );
    if ( pMyInfoStruct->m_lpfVDMTerminateTaskWOW == NULL )
        return aReport.Fail( " Error: pMyInfoStruct->m_lpfVDMTerminateTaskWOW == NULL" );
    const LoadedLibrary& rAdvapiLib = pMyInfoStruct->m_aAdvapiLib.emplace( ADVAPILIB_NAME );
    if ( !rAdvapiLib )
        return aReport.Fail( " Error: ( hInstLib2 = LoadLibrary( ADVAPILIB_NAME ) ) == NULL" );
    pMyInfoStruct->m_lpfOpenProcessToken = rAdvapiLib.Get<FARPROC>( "OpenProcessToken" );
    pMyInfoStruct->m_lpfLookupPrivilegeValue = rAdvapiLib.Get<FARPROC>( "LookupPrivilegeValueA" );
    pMyInfoStruct->m_lpfAdjustTokenPrivileges = rAdvapiLib.Get<FARPROC>( "AdjustTokenPrivileges" );
    if ( pMyInfoStruct->m_lpfOpenProcessToken == NULL || pMyInfoStruct->m_lpfLookupPrivilegeValue == NULL ||
         pMyInfoStruct->m_lpfAdjustTokenPrivileges == NULL )
        return aReport.Fail( " Error: One or more of three callback functions are not initialized" );
    return TRUE;
}

BOOL EnableDebugPrivilege( MyInfoStruct* pMyInfoStruct )
{
    CallReport aReport( "From static BOOL EnableDebugPrivilege( MyInfoStruct* pMyInfoStruct )" );
    const auto pOpenProcessToken = AsFunction<OPENPROCESSTOKEN>( pMyInfoStruct->m_lpfOpenProcessToken );
    const auto pLookupPrivilegeValue =
        AsFunction<LOOKUPPRIVILEGEVALUE>( pMyInfoStruct->m_lpfLookupPrivilegeValue );
    const auto pAdjustTokenPrivileges =
        AsFunction<ADJUSTTOKENPRIVILEGES>( pMyInfoStruct->m_lpfAdjustTokenPrivileges );
    if ( pOpenProcessToken == NULL )
        return FailForMissingFunction( aReport );
    HANDLE hToken = NULL;
    if ( !pOpenProcessToken( GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &hToken ) )
        return FailWithLastError( aReport, "OpenProcessToken failed with " );
    const KernelHandle aToken( hToken );
    TOKEN_PRIVILEGES aPrivileges = {};
    aPrivileges.PrivilegeCount = 1;
    aPrivileges.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
    if ( !pLookupPrivilegeValue( NULL, "SeDebugPrivilege", &aPrivileges.Privileges[0].Luid ) )
        return FailWithLastError( aReport, "LookupPrivilegeValue failed with " );
    // It succeeds with error 1300 where the privilege is not there to be enabled.
    if ( !pAdjustTokenPrivileges( hToken, FALSE, &aPrivileges, 0, NULL, NULL ) ||
         GetLastError() == ERROR_NOT_ALL_ASSIGNED )
        return FailWithLastError( aReport, "AdjustTokenPrivileges failed with " );
    return TRUE;
}

BOOL TerminateTask( CallReport& rReport, const MyInfoStruct& rStruct, DWORD dwProcessId, WORD whTask16 )
{
    const MyInfoStruct* const paStruct = &rStruct;
    if ( paStruct->m_lpfVDMTerminateTaskWOW == NULL )
        return rReport.Fail( " Error: paStruct->m_lpfVDMTerminateTaskWOW == NULL" );
    if ( !( *paStruct->m_lpfVDMTerminateTaskWOW )( dwProcessId, whTask16 ) )
        return rReport.Fail( " Error: !(*paStruct->m_lpfVDMTerminateTaskWOW) ( dwProcessId, whTask16 )" );
    return TRUE;
}

// The walk has named the process that it opened a moment ago; its number is taken to be its own until it is opened again.
bool IsStillMeant( const MyInfoStruct&, DWORD )
{
    return true;
}
