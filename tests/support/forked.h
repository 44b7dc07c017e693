// Checks in the child of a fork.
#pragma once

#include <functional>
#include <sys/wait.h>
#include <unistd.h>

// Result: 0, or the number of the check that failed. A child that hangs is killed.
inline int InChild( const std::function<int()>& aChecks )
{
    const pid_t nChild = fork();
    if ( nChild == 0 )
    {
        alarm( 20 );
        _exit( aChecks() );
    }
    int nStatus = 0;
    waitpid( nChild, &nStatus, 0 );
    return WIFEXITED( nStatus ) ? WEXITSTATUS( nStatus ) : 1000 + nStatus;
}
