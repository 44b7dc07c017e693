// Stands in for the library that tells of 16-bit tasks, which no 64-bit system has: two of them run in each process that is asked
// for, and the second one lets itself be ended.
#include <windows.h>

namespace
{

struct Task
{
    WORD whTask;
    char szFileName[32];
};
Task g_aTasks[] = { { 0x0101, "C:\\OLD\\BXOLD1.EXE" }, { 0x0102, "C:\\OLD\\BXOLD2.EXE" } };

using TaskFunction = BOOL( WINAPI* )( DWORD dwThreadId, WORD hMod16, WORD hTask16, PSZ pModName,
                                      PSZ pFileName, LPARAM lParam );

} // namespace

extern "C"
{
    __declspec( dllexport ) DWORD dwEndedIn = 0;
}

extern "C" __declspec( dllexport ) INT WINAPI VDMEnumTaskWOWEx( DWORD, TaskFunction pFunction, LPARAM lParam )
{
    for ( Task& rTask : g_aTasks )
        if ( pFunction( 1, 2, rTask.whTask, NULL, rTask.szFileName, lParam ) )
            break;
    return 2;
}

extern "C" __declspec( dllexport ) BOOL WINAPI VDMTerminateTaskWOW( DWORD dwProcessId, WORD whTask )
{
    if ( whTask != g_aTasks[1].whTask )
        return FALSE;
    dwEndedIn = dwProcessId;
    return TRUE;
}
