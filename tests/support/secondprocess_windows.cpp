#include "support/secondprocess.h"
#include "support/startprocess.h"

#include <gtest/gtest.h>

namespace
{

constexpr UINT KILLED = 0xDEAD;

struct Pipe
{
    HANDLE hRead = NULL;
    HANDLE hWrite = NULL;
};

// A pipe of which the role inherits one end.
Pipe MakePipe( bool fRoleReads )
{
    SECURITY_ATTRIBUTES aInherited = { sizeof( aInherited ), NULL, TRUE };
    Pipe aPipe;
    CreatePipe( &aPipe.hRead, &aPipe.hWrite, &aInherited, 0 );
    SetHandleInformation( fRoleReads ? aPipe.hWrite : aPipe.hRead, HANDLE_FLAG_INHERIT, 0 );
    return aPipe;
}

std::string CommandLine( const std::string& strRole, const std::vector<std::string>& aArguments,
                         const std::string& strProgram )
{
    char szOwn[MAX_PATH] = "";
    GetModuleFileNameA( NULL, szOwn, MAX_PATH );
    std::string strLine = "\"" + ( strProgram.empty() ? szOwn : strProgram ) + "\" --role=" + strRole;
    for ( const std::string& strArgument : aArguments )
        strLine += " \"" + strArgument + "\"";
    return strLine;
}

} // namespace

struct SecondProcess::State
{
    PROCESS_INFORMATION aProcess = {};
    HANDLE hToRole = NULL;
    HANDLE hFromRole = NULL;
};

SecondProcess::SecondProcess( const std::string& strRole, const std::vector<std::string>& aArguments,
                              const std::string& strProgram )
    : m_pState( new State )
{
    const Pipe aToRole = MakePipe( true );
    const Pipe aFromRole = MakePipe( false );
    STARTUPINFOA aStart = {};
    aStart.cb = sizeof( aStart );
    aStart.dwFlags = STARTF_USESTDHANDLES;
    aStart.hStdInput = aToRole.hRead;
    aStart.hStdOutput = aFromRole.hWrite;
    aStart.hStdError = GetStdHandle( STD_ERROR_HANDLE );
    const std::string strLine = CommandLine( strRole, aArguments, strProgram );
    EXPECT_TRUE( StartProcess( strLine, NULL, aStart, m_pState->aProcess ) )
        << GetLastError() << " " << strLine;
    CloseHandle( aToRole.hRead );
    CloseHandle( aFromRole.hWrite );
    m_pState->hToRole = aToRole.hWrite;
    m_pState->hFromRole = aFromRole.hRead;
}

SecondProcess::~SecondProcess()
{
    Kill();
    Wait();
    CloseHandle( m_pState->aProcess.hThread );
    CloseHandle( m_pState->aProcess.hProcess );
    CloseHandle( m_pState->hToRole );
    CloseHandle( m_pState->hFromRole );
    delete m_pState;
}

unsigned long SecondProcess::Id() const
{
    return m_pState->aProcess.dwProcessId;
}

std::string SecondProcess::ReadLine()
{
    std::string strLine;
    char cCharacter = 0;
    DWORD dwRead = 0;
    while ( ReadFile( m_pState->hFromRole, &cCharacter, 1, &dwRead, NULL ) && dwRead == 1 &&
            cCharacter != '\n' )
    {
        if ( cCharacter != '\r' )
            strLine += cCharacter;
    }
    return strLine;
}

void SecondProcess::WriteLine( const std::string& strLine )
{
    const std::string strWhole = strLine + "\n";
    DWORD dwWritten = 0;
    WriteFile( m_pState->hToRole, strWhole.data(), static_cast<DWORD>( strWhole.size() ), &dwWritten, NULL );
}

void SecondProcess::Kill()
{
    TerminateProcess( m_pState->aProcess.hProcess, KILLED );
}

int SecondProcess::Wait()
{
    DWORD dwResult = KILLED;
    WaitForSingleObject( m_pState->aProcess.hProcess, INFINITE );
    GetExitCodeProcess( m_pState->aProcess.hProcess, &dwResult );
    return dwResult == KILLED ? -1 : static_cast<int>( dwResult );
}
