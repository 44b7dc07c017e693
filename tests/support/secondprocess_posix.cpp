#include "support/secondprocess.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

struct SecondProcess::State
{
    pid_t nProcess = -1;
    FILE* pToRole = NULL;
    FILE* pFromRole = NULL;
};

SecondProcess::SecondProcess( const std::string& strRole, const std::vector<std::string>& aArguments,
                              const std::string& strProgram )
    : m_pState( new State )
{
    std::signal( SIGPIPE, SIG_IGN );
    int anToRole[2];
    int anFromRole[2];
    if ( pipe2( anToRole, O_CLOEXEC ) != 0 || pipe2( anFromRole, O_CLOEXEC ) != 0 )
        return;
    posix_spawn_file_actions_t aActions;
    posix_spawn_file_actions_init( &aActions );
    posix_spawn_file_actions_adddup2( &aActions, anToRole[0], STDIN_FILENO );
    posix_spawn_file_actions_adddup2( &aActions, anFromRole[1], STDOUT_FILENO );

    std::vector<std::string> aLine = { strProgram.empty() ? "/proc/self/exe" : strProgram,
                                       "--role=" + strRole };
    aLine.insert( aLine.end(), aArguments.begin(), aArguments.end() );
    std::vector<char*> aPointers;
    for ( std::string& strArgument : aLine )
        aPointers.push_back( strArgument.data() );
    aPointers.push_back( NULL );
    const int nError =
        posix_spawn( &m_pState->nProcess, aPointers[0], &aActions, NULL, aPointers.data(), environ );
    EXPECT_EQ( 0, nError ) << aLine[0];
    if ( nError != 0 )
        m_pState->nProcess = -1;
    posix_spawn_file_actions_destroy( &aActions );
    close( anToRole[0] );
    close( anFromRole[1] );
    m_pState->pToRole = fdopen( anToRole[1], "w" );
    m_pState->pFromRole = fdopen( anFromRole[0], "r" );
}

SecondProcess::~SecondProcess()
{
    if ( m_pState->nProcess > 0 )
    {
        Kill();
        Wait();
    }
    if ( m_pState->pToRole != NULL )
        std::fclose( m_pState->pToRole );
    if ( m_pState->pFromRole != NULL )
        std::fclose( m_pState->pFromRole );
    delete m_pState;
}

unsigned long SecondProcess::Id() const
{
    return static_cast<unsigned long>( m_pState->nProcess );
}

std::string SecondProcess::ReadLine()
{
    std::string strLine;
    for ( int nCharacter = std::getc( m_pState->pFromRole ); nCharacter != EOF && nCharacter != '\n';
          nCharacter = std::getc( m_pState->pFromRole ) )
        strLine += static_cast<char>( nCharacter );
    return strLine;
}

void SecondProcess::WriteLine( const std::string& strLine )
{
    std::fprintf( m_pState->pToRole, "%s\n", strLine.c_str() );
    std::fflush( m_pState->pToRole );
}

void SecondProcess::Kill()
{
    if ( m_pState->nProcess > 0 )
        kill( m_pState->nProcess, SIGKILL );
}

int SecondProcess::Wait()
{
    int nStatus = 0;
    if ( m_pState->nProcess <= 0 || waitpid( m_pState->nProcess, &nStatus, 0 ) < 0 )
        return -1;
    m_pState->nProcess = -1;
    return WIFEXITED( nStatus ) ? WEXITSTATUS( nStatus ) : -1;
}
