// For the calls on files and paths: errno is the caller's, and a thread that is cancelled inside ours ends behind them, as
// others stop it there.
#pragma once

#include "platform/errno_to_win32.h"
#include "platform/nocancellation.h"
#include "platform/stopgate.h"

#include <bxtools/platform.h>

#include <cerrno>

class FileCallScope
{
public:
    FileCallScope() noexcept = default;
    ~FileCallScope() { errno = m_nErrno; }
    FileCallScope( const FileCallScope& ) = delete;
    FileCallScope& operator=( const FileCallScope& ) = delete;

private:
    const StopGate m_aGate;
    const NoCancellation m_aNoCancellation;
    const int m_nErrno = errno;
};

// Says why a call fails.
inline bool FailWith( DWORD dwError ) noexcept
{
    SetLastError( dwError );
    return false;
}

// Repeats a system call that a signal interrupted.
template <class Call>
auto Uninterrupted( Call aCall ) noexcept
{
    auto aResult = aCall();
    while ( aResult < 0 && errno == EINTR )
        aResult = aCall();
    return aResult;
}
