// Each family of systems has a library of its own for this, and the other's may be missing: all of it is loaded by name, for
// one call.
#include "core/guards.h"
#include "process/processmatch.h"
#include "process/processwalks.h"

#include <bxtools/platform.h>
#include <bxtools/process.h>

#include <memory>
#include <new>
#include <string_view>

namespace
{

constexpr char HOST_OF_TASKS[] = "NTVDM.EXE";

struct Walk
{
    ENUMPROCSFUNC lpProc;
    LPARAM lParam;
};

// ---- the NT family ------------------------------------------------------------------------------------------------------

constexpr DWORD FIRST_BUFFER = 1024; // bytes

typedef BOOL( WINAPI* ENUMPROCESSES )( DWORD* pIds, DWORD dwSize, DWORD* pNeeded );
typedef BOOL( WINAPI* ENUMPROCESSMODULES )( HANDLE hProcess, HMODULE* pModules, DWORD dwSize,
                                            DWORD* pNeeded );
typedef DWORD( WINAPI* GETMODULEFILENAMEEX )( HANDLE hProcess, HMODULE hModule, LPSTR pFileName,
                                              DWORD dwSize );
typedef BOOL( WINAPI* TASKENUMPROC )( DWORD dwThreadId, WORD hMod16, WORD hTask16, PSZ pModName,
                                      PSZ pFileName, LPARAM lParam );
typedef INT( WINAPI* VDMENUMTASKWOWEX )( DWORD dwProcessId, TASKENUMPROC pProc, LPARAM lParam );

struct NTServices
{
    bool AreComplete() const
    {
        return aPsapi && aVdmDbg && pEnumProcesses != NULL && pEnumProcessModules != NULL &&
               pGetModuleFileNameEx != NULL && pVDMEnumTaskWOWEx != NULL;
    }

    const LoadedLibrary aPsapi{ "PSAPI.DLL" };
    const LoadedLibrary aVdmDbg{ "VDMDBG.DLL" };
    const ENUMPROCESSES pEnumProcesses = aPsapi.Get<ENUMPROCESSES>( "EnumProcesses" );
    const ENUMPROCESSMODULES pEnumProcessModules = aPsapi.Get<ENUMPROCESSMODULES>( "EnumProcessModules" );
    const GETMODULEFILENAMEEX pGetModuleFileNameEx =
        aPsapi.Get<GETMODULEFILENAMEEX>( "GetModuleFileNameExA" );
    const VDMENUMTASKWOWEX pVDMEnumTaskWOWEx = aVdmDbg.Get<VDMENUMTASKWOWEX>( "VDMEnumTaskWOWEx" );
};

// A buffer that is filled may have been too small. Result: the ids; null: they cannot be had.
std::unique_ptr<DWORD[]> ReadProcessIds( const NTServices& rServices, DWORD& rdwCount )
{
    for ( DWORD dwSize = FIRST_BUFFER;; dwSize *= 2 )
    {
        std::unique_ptr<DWORD[]> pIds( new ( std::nothrow ) DWORD[dwSize / sizeof( DWORD )] );
        DWORD dwFilled = 0;
        if ( !pIds || !rServices.pEnumProcesses( pIds.get(), dwSize, &dwFilled ) )
            return nullptr;
        rdwCount = dwFilled / sizeof( DWORD );
        if ( dwFilled != dwSize )
            return pIds;
    }
}

// The file name of a process's first module; empty where it cannot be had.
void ReadPath( const NTServices& rServices, DWORD dwProcessId, char ( &szPath )[MAX_PATH] )
{
    szPath[0] = '\0';
    const KernelHandle aProcess(
        OpenProcess( PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, dwProcessId ) );
    HMODULE hModule = NULL;
    DWORD dwNeeded = 0;
    if ( aProcess &&
         rServices.pEnumProcessModules( aProcess.Get(), &hModule, sizeof( hModule ), &dwNeeded ) &&
         rServices.pGetModuleFileNameEx( aProcess.Get(), hModule, szPath, sizeof( szPath ) ) == 0 )
        szPath[0] = '\0';
    szPath[MAX_PATH - 1] = '\0';
}

struct TaskWalk
{
    const Walk& rWalk;
    DWORD dwProcessId;
    bool fStopped;
};

// TRUE ends the walk over the tasks.
BOOL WINAPI OnTask( DWORD, WORD, WORD hTask16, PSZ, PSZ pFileName, LPARAM lParam )
{
    TaskWalk& rTasks = *reinterpret_cast<TaskWalk*>( lParam );
    const Walk& rWalk = rTasks.rWalk;
    rTasks.fStopped =
        !rWalk.lpProc( rTasks.dwProcessId, hTask16, pFileName != NULL ? pFileName : "", rWalk.lParam );
    return rTasks.fStopped;
}

bool HostsTasks( std::string_view aPath )
{
    constexpr size_t LENGTH = sizeof( HOST_OF_TASKS ) - 1;
    return aPath.size() >= LENGTH && IsSameName( aPath.substr( aPath.size() - LENGTH ), HOST_OF_TASKS );
}

// Result: whether the walk goes on.
bool VisitProcess( const NTServices& rServices, DWORD dwProcessId, const Walk& rWalk )
{
    char szPath[MAX_PATH];
    ReadPath( rServices, dwProcessId, szPath );
    if ( !rWalk.lpProc( dwProcessId, 0, szPath, rWalk.lParam ) )
        return false;
    TaskWalk aTasks{ rWalk, dwProcessId, false };
    if ( HostsTasks( szPath ) )
        rServices.pVDMEnumTaskWOWEx( dwProcessId, OnTask, reinterpret_cast<LPARAM>( &aTasks ) );
    return !aTasks.fStopped;
}

// ---- the Windows 95 family ----------------------------------------------------------------------------------------------

typedef HANDLE( WINAPI* CREATESNAPSHOT )( DWORD dwFlags, DWORD dwProcessId );
typedef BOOL( WINAPI* WALKSNAPSHOT )( HANDLE hSnapshot, PROCESSENTRY32* pEntry );

} // namespace

// ---- the walks ----------------------------------------------------------------------------------------------------------

BOOL EnumOnNT( ENUMPROCSFUNC lpProc, LPARAM lParam )
{
    const NTServices aServices;
    DWORD dwCount = 0;
    const std::unique_ptr<DWORD[]> pIds =
        aServices.AreComplete() ? ReadProcessIds( aServices, dwCount ) : nullptr;
    if ( !pIds )
        return FALSE;
    for ( DWORD dwIndex = 0; dwIndex < dwCount; ++dwIndex )
        if ( !VisitProcess( aServices, pIds[dwIndex], { lpProc, lParam } ) )
            break;
    return TRUE;
}

BOOL EnumOnWindows95( ENUMPROCSFUNC lpProc, LPARAM lParam )
{
    const LoadedLibrary aKernel( "Kernel32.DLL" );
    const auto pCreate = aKernel.Get<CREATESNAPSHOT>( "CreateToolhelp32Snapshot" );
    const auto pFirst = aKernel.Get<WALKSNAPSHOT>( "Process32First" );
    const auto pNext = aKernel.Get<WALKSNAPSHOT>( "Process32Next" );
    if ( pCreate == NULL || pFirst == NULL || pNext == NULL )
        return FALSE;
    const HANDLE hSnapshot = pCreate( TH32CS_SNAPPROCESS, 0 );
    if ( hSnapshot == INVALID_HANDLE_VALUE )
        return FALSE;
    const KernelHandle aSnapshot( hSnapshot );
    PROCESSENTRY32 aEntry = {};
    aEntry.dwSize = sizeof( aEntry );
    for ( BOOL fFound = pFirst( hSnapshot, &aEntry ); fFound; fFound = pNext( hSnapshot, &aEntry ) )
        if ( !lpProc( aEntry.th32ProcessID, 0, aEntry.szExeFile, lParam ) )
            break;
    return TRUE;
}

BOOL DLL_EXPORT EnumProcs( ENUMPROCSFUNC lpProc, LPARAM lParam )
{
    OSVERSIONINFOA aVersion = {};
    aVersion.dwOSVersionInfoSize = sizeof( aVersion );
    if ( lpProc == NULL )
        SetLastError( ERROR_INVALID_PARAMETER );
    if ( lpProc == NULL || !GetVersionExA( &aVersion ) )
        return FALSE;
    if ( aVersion.dwPlatformId == VER_PLATFORM_WIN32_NT )
        return EnumOnNT( lpProc, lParam );
    return aVersion.dwPlatformId == VER_PLATFORM_WIN32_WINDOWS ? EnumOnWindows95( lpProc, lParam ) : FALSE;
}
