#include "examples/tour/bytepipe.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

bool WriteAll( int nFile, const char* pBytes, size_t nLeft )
{
    while ( nLeft > 0 )
    {
        const ssize_t nWritten = write( nFile, pBytes, nLeft );
        if ( nWritten < 0 && errno == EINTR )
            continue;
        if ( nWritten <= 0 )
            return false;
        pBytes += nWritten;
        nLeft -= static_cast<size_t>( nWritten );
    }
    return true;
}

} // namespace

int RunReader( const MString& aProgram, const MString& aInput )
{
    int aPipe[2];
    if ( pipe2( aPipe, O_CLOEXEC ) != 0 )
        return -1;
    posix_spawn_file_actions_t aActions;
    posix_spawn_file_actions_init( &aActions );
    posix_spawn_file_actions_adddup2( &aActions, aPipe[0], STDIN_FILENO );
    MString aName( aProgram );
    char* const aArguments[] = { aName.GetBuffer( 0 ), NULL };
    pid_t nProcess = 0;
    const bool fStarted = posix_spawn( &nProcess, aProgram, &aActions, NULL, aArguments, environ ) == 0;
    posix_spawn_file_actions_destroy( &aActions );
    close( aPipe[0] );

    // A reader that ends early must not end us.
    signal( SIGPIPE, SIG_IGN );
    const bool fWritten = fStarted && WriteAll( aPipe[1], aInput, aInput.GetLength() );
    close( aPipe[1] );
    int nStatus = 0;
    if ( !fStarted || waitpid( nProcess, &nStatus, 0 ) != nProcess )
        return -1;
    return fWritten && WIFEXITED( nStatus ) ? WEXITSTATUS( nStatus ) : -1;
}

MString ReadStandardInput()
{
    MString aInput;
    char szBytes[4096];
    for ( ssize_t nRead = 0; ( nRead = read( STDIN_FILENO, szBytes, sizeof( szBytes ) ) ) > 0; )
        aInput.append( szBytes, static_cast<size_t>( nRead ) );
    return aInput;
}
