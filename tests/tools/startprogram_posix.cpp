#include "tools/startprogram.h"

#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

std::vector<std::string> MakeEnvironment( const std::vector<std::string>& aChanges )
{
    std::vector<std::string> aAll;
    for ( char** ppEntry = environ; *ppEntry != NULL; ppEntry++ )
    {
        bool fChanged = false;
        for ( const std::string& strChange : aChanges )
            fChanged |= strncmp( *ppEntry, strChange.c_str(), strChange.find( '=' ) + 1 ) == 0;
        if ( !fChanged )
            aAll.push_back( *ppEntry );
    }
    for ( const std::string& strChange : aChanges )
        if ( strChange.back() != '=' )
            aAll.push_back( strChange );
    return aAll;
}

std::vector<char*> PointersTo( std::vector<std::string>& aTexts )
{
    std::vector<char*> aPointers;
    for ( std::string& strText : aTexts )
        aPointers.push_back( strText.data() );
    aPointers.push_back( NULL );
    return aPointers;
}

} // namespace

int StartProgram( const ProgramStart& rStart )
{
    std::vector<std::string> aLine = { rStart.strProgram };
    aLine.insert( aLine.end(), rStart.aArguments.begin(), rStart.aArguments.end() );
    std::vector<std::string> aEnvironment = MakeEnvironment( rStart.aEnvironment );
    constexpr int WRITTEN = O_WRONLY | O_CREAT | O_TRUNC;
    posix_spawn_file_actions_t aActions;
    posix_spawn_file_actions_init( &aActions );
    posix_spawn_file_actions_addopen( &aActions, STDIN_FILENO, rStart.strInput.c_str(), O_RDONLY, 0 );
    posix_spawn_file_actions_addopen( &aActions, STDOUT_FILENO, rStart.strOutput.c_str(), WRITTEN, 0600 );
    posix_spawn_file_actions_addopen( &aActions, STDERR_FILENO, rStart.strErrors.c_str(), WRITTEN, 0600 );
    posix_spawn_file_actions_addchdir_np( &aActions, rStart.strFolder.c_str() );
    pid_t nProcess = 0;
    const int nError = posix_spawn( &nProcess, rStart.strProgram.c_str(), &aActions, NULL,
                                    PointersTo( aLine ).data(), PointersTo( aEnvironment ).data() );
    posix_spawn_file_actions_destroy( &aActions );
    int nStatus = 0;
    if ( nError != 0 || waitpid( nProcess, &nStatus, 0 ) != nProcess )
        return -1;
    return WIFEXITED( nStatus ) ? WEXITSTATUS( nStatus ) : -1;
}
