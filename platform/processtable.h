// The processes that there are, read from /proc.
#pragma once

#include <bxtools/wintypes.h>

#include <climits>

// A walk in the order of their numbers. Who begins or ends meanwhile is met or not. On the stack of one thread, and large.
class ProcessTable
{
public:
    ProcessTable() noexcept;
    ~ProcessTable();
    ProcessTable( const ProcessTable& ) = delete;
    ProcessTable& operator=( const ProcessTable& ) = delete;

    // Goes on to the first or next process. False: there are no more, or it failed.
    bool GoOn() noexcept;
    // The last error then says why.
    bool HasFailed() const noexcept { return m_fFailed; }

    // Of the process that GoOn came to.
    DWORD GetProcessId() const noexcept { return m_dwProcessId; }
    // The path of its program, empty where it cannot be read; overwritten by the next GoOn.
    const char* GetPath() noexcept;
    // That of another one.
    const char* GetPathOf( DWORD dwProcessId ) noexcept;

private:
    bool Fail( int nErrno ) noexcept;
    bool FillEntries() noexcept;

    int m_nFolder;
    bool m_fFailed = false;
    DWORD m_dwProcessId = 0;
    long m_nFilled = 0; // bytes of the entries
    long m_nNext = 0;   // where the next one begins
    alignas( 8 ) char m_aEntries[16384];
    char m_szPath[PATH_MAX + 1];
};
