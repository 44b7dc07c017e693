// Windows: a process is started.
#pragma once

#include <string>
#include <windows.h>

// CreateProcessA, once more where Wine could not set the process up: it tells of that as an internal error, before anything
// of the program has run.
inline BOOL StartProcess( std::string strLine, const char* pFolder, STARTUPINFOA& rStartup,
                          PROCESS_INFORMATION& rProcess )
{
    BOOL fStarted = FALSE;
    for ( int nAttempt = 0; nAttempt < 3 && !fStarted; ++nAttempt )
    {
        fStarted =
            CreateProcessA( NULL, strLine.data(), NULL, NULL, TRUE, 0, NULL, pFolder, &rStartup, &rProcess );
        if ( GetLastError() != ERROR_INTERNAL_ERROR )
            break;
    }
    return fStarted;
}
