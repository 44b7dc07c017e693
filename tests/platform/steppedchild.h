// A child of fork that stops at the beginning and the end of each system call, and may be killed at any of them.
#pragma once

#include "support/forked.h"

#include <csignal>
#include <functional>
#include <sys/ptrace.h>

class SteppedChild
{
public:
    // Stands where aWork raises SIGSTOP; the steps are those of what follows.
    explicit SteppedChild( const std::function<void()>& aWork ) : m_nChild( fork() )
    {
        if ( m_nChild == 0 )
        {
            ptrace( PTRACE_TRACEME, 0, NULL, NULL );
            aWork();
            _exit( 0 );
        }
        waitpid( m_nChild, &m_nStatus, 0 );
        ptrace( PTRACE_SETOPTIONS, m_nChild, NULL, PTRACE_O_EXITKILL );
    }
    ~SteppedChild()
    {
        if ( WIFSTOPPED( m_nStatus ) )
            KillAndWait( m_nChild );
    }
    SteppedChild( const SteppedChild& ) = delete;
    SteppedChild& operator=( const SteppedChild& ) = delete;

    // False: it has come to its end.
    bool Step()
    {
        ptrace( PTRACE_SYSCALL, m_nChild, NULL, NULL );
        waitpid( m_nChild, &m_nStatus, 0 );
        return WIFSTOPPED( m_nStatus );
    }

private:
    const pid_t m_nChild;
    int m_nStatus = 0;
};
