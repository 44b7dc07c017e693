// Children of a fork, and what is shared with them.
#pragma once

#include <csignal>
#include <functional>
#include <new>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

// Checks in a child. Result: 0, or the number of the check that failed. A child that hangs is killed.
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

// Result: whether it was the kill that ended it.
inline bool KillAndWait( pid_t nChild )
{
    int nStatus = 0;
    kill( nChild, SIGKILL );
    waitpid( nChild, &nStatus, 0 );
    return WIFSIGNALED( nStatus );
}

// Memory that this process and its children have in common.
template <class Object>
struct SharedMemory
{
    SharedMemory()
        : pObject( new ( mmap( NULL, sizeof( Object ), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1,
                               0 ) ) Object() )
    {
    }
    ~SharedMemory() { munmap( pObject, sizeof( Object ) ); }
    SharedMemory( const SharedMemory& ) = delete;
    SharedMemory& operator=( const SharedMemory& ) = delete;

    Object* const pObject;
};
