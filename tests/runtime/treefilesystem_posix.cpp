#include "runtime/treefilesystem.h"

#include <cerrno>
#include <csignal>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

static int g_nLastWrite = 0;
static bool g_fKill = false;

void FailFromWrite( int nWrite, bool fKill )
{
    g_nLastWrite = nWrite;
    g_fKill = fKill;
}

static bool IsLastWrite()
{
    if ( g_nLastWrite == 0 || --g_nLastWrite != 0 )
        return false;
    if ( g_fKill )
        std::raise( SIGKILL );
    g_nLastWrite = 1; // nor do those that follow
    errno = ENOSPC;
    return true;
}

// The library's own writes go through these.
extern "C" ssize_t pwrite( int nFile, const void* pBytes, size_t nSize, off_t nPlace )
{
    if ( IsLastWrite() )
    {
        syscall( SYS_pwrite64, nFile, pBytes, nSize / 2, nPlace );
        errno = ENOSPC;
        return -1;
    }
    return syscall( SYS_pwrite64, nFile, pBytes, nSize, nPlace );
}

extern "C" int fdatasync( int nFile )
{
    return IsLastWrite() ? -1 : static_cast<int>( syscall( SYS_fdatasync, nFile ) );
}

int PeakMegabytes()
{
    rusage aUsage{};
    getrusage( RUSAGE_SELF, &aUsage );
    return static_cast<int>( aUsage.ru_maxrss / 1024 );
}
