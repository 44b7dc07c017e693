#include "tools/sync/runcommand.h"
#include "tools/talk.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <initializer_list>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

// The child's part.
[[noreturn]] void BecomeCommand( const std::vector<std::string>& aCommand, pid_t nParent )
{
    std::vector<char*> aPointers;
    for ( const std::string& rWord : aCommand )
        aPointers.push_back( const_cast<char*>( rWord.c_str() ) );
    aPointers.push_back( nullptr );
    prctl( PR_SET_PDEATHSIG, SIGTERM );
    if ( getppid() == nParent ) // it may have been killed before that
        execvp( aPointers[0], aPointers.data() );
    const int nErrno = errno;
    SayError( aCommand[0] + ": " + std::strerror( nErrno ) );
    _exit( nErrno == ENOENT ? EXIT_NOT_FOUND : EXIT_NOT_RUN );
}

} // namespace

int RunCommand( const std::vector<std::string>& aCommand )
{
    // Who started us may have turned them off, and with them the answer of waitpid.
    std::signal( SIGCHLD, SIG_DFL );
    const pid_t nOwn = getpid();
    const pid_t nChild = fork();
    if ( nChild == 0 )
        BecomeCommand( aCommand, nOwn );
    if ( nChild < 0 )
    {
        SayError( std::string( "cannot start a process: " ) + std::strerror( errno ) );
        return EXIT_NOT_RUN;
    }
    // A terminal sends them to both.
    for ( const int nSignal : { SIGINT, SIGQUIT } )
        std::signal( nSignal, SIG_IGN );
    int nStatus = 0;
    while ( waitpid( nChild, &nStatus, 0 ) < 0 && errno == EINTR )
    {
    }
    return WIFSIGNALED( nStatus ) ? EXIT_OF_SIGNAL + WTERMSIG( nStatus ) : WEXITSTATUS( nStatus );
}
