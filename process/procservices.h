// What FindProcess and KillProcesses carry through their walk over the processes, and what they need of the system beside it.
#pragma once

#include "core/guards.h"

#include <bxtools/wintypes.h>

#include <optional>
#include <string_view>

class CallReport;
class MString;

typedef BOOL( DLL_EXPORT* VDMTERMINATETASKWOW )( DWORD dwProcessId, WORD whTask16 );

struct MyInfoStruct
{
    DWORD m_dwPlatformId = 0;
    // What FindProcess finds.
    DWORD m_dwProcess32ID = 0;
    DWORD m_dwTask16 = 0;
    // Services that not every Windows has; on Linux there are none. Given back with the record.
    std::optional<LoadedLibrary> m_aVDMLib;
    VDMTERMINATETASKWOW m_lpfVDMTerminateTaskWOW = NULL;
    std::optional<LoadedLibrary> m_aAdvapiLib;
    FARPROC m_lpfOpenProcessToken = NULL;
    FARPROC m_lpfLookupPrivilegeValue = NULL;
    FARPROC m_lpfAdjustTokenPrivileges = NULL;
    // The name or the names that are looked for.
    LPCTSTR m_pText = NULL;
};

// Prepares a record for KillProcesses.
BOOL SetupMyStruct( MyInfoStruct* pMyInfoStruct );

// Takes the right to end processes of other users.
BOOL EnableDebugPrivilege( MyInfoStruct* pMyInfoStruct );

// Ends a 16-bit task.
BOOL TerminateTask( CallReport& rReport, const MyInfoStruct& rStruct, DWORD dwProcessId, WORD whTask16 );

// Whether the process that has this number now, and has been opened, is still one of those that are to be ended. Error 87: it
// is not, and the one that was has ended.
bool IsStillMeant( const MyInfoStruct& rStruct, DWORD dwProcessId );

// The file name of a process's program, empty when it has none. May throw.
//   aLongPath  room for it.
std::string_view ProgramName( LPCTSTR szFileName, MString& aLongPath );

// The call fails, with a text that ends in the last error.
BOOL FailWithLastError( CallReport& rReport, LPCTSTR pText );

// Ends a process or task, or asks a window to close. The calling process is spared.
//   hWnd    may be NULL; with it the process is ended only when fForce is set.
BOOL KillProcess( DWORD dwProcessId, HWND hWnd, BOOL fForce, MyInfoStruct* paStruct, WORD whTask16 );
