#include "runtime/treefilesystem.h"
#include "support/importedcall.h"

#include <psapi.h>

static int g_nLastWrite = 0;
static bool g_fKill = false;

static bool IsLastWrite()
{
    if ( g_nLastWrite == 0 || --g_nLastWrite != 0 )
        return false;
    if ( g_fKill )
        TerminateProcess( GetCurrentProcess(), 1 );
    g_nLastWrite = 1; // nor do those that follow
    return true;
}

static BOOL WINAPI WriteOrFail( HANDLE hFile, LPCVOID pBytes, DWORD dwSize, LPDWORD pdwWritten,
                                LPOVERLAPPED pPlace )
{
    if ( !IsLastWrite() )
        return WriteFile( hFile, pBytes, dwSize, pdwWritten, pPlace );
    WriteFile( hFile, pBytes, dwSize / 2, pdwWritten, pPlace );
    SetLastError( ERROR_DISK_FULL );
    return FALSE;
}

static BOOL WINAPI FlushOrFail( HANDLE hFile )
{
    if ( !IsLastWrite() )
        return FlushFileBuffers( hFile );
    SetLastError( ERROR_DISK_FULL );
    return FALSE;
}

void FailFromWrite( int nWrite, bool fKill )
{
    static const bool fStandsIn =
        StandInForCall( "BXRUNTIME_INSPECT.DLL", "WriteFile", reinterpret_cast<void*>( &WriteOrFail ) ) &&
        StandInForCall( "BXRUNTIME_INSPECT.DLL", "FlushFileBuffers",
                        reinterpret_cast<void*>( &FlushOrFail ) );
    if ( !fStandsIn )
        abort();
    g_nLastWrite = nWrite;
    g_fKill = fKill;
}

int PeakMegabytes()
{
    PROCESS_MEMORY_COUNTERS aCounters = {};
    K32GetProcessMemoryInfo( GetCurrentProcess(), &aCounters, sizeof( aCounters ) );
    return static_cast<int>( aCounters.PeakWorkingSetSize >> 20 );
}
