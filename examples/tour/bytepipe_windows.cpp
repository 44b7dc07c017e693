#include "examples/tour/bytepipe.h"

#include <bxtools/wintypes.h>

namespace
{

PROCESS_INFORMATION StartReader( const MString& aProgram, HANDLE hInput )
{
    STARTUPINFOA aStartup = {};
    aStartup.cb = sizeof( aStartup );
    aStartup.dwFlags = STARTF_USESTDHANDLES;
    aStartup.hStdInput = hInput;
    aStartup.hStdOutput = GetStdHandle( STD_OUTPUT_HANDLE );
    aStartup.hStdError = GetStdHandle( STD_ERROR_HANDLE );
    MString aCommandLine = MString( "\"" ) + aProgram + "\"";
    PROCESS_INFORMATION aProcess = {};
    CreateProcessA( aProgram, aCommandLine.GetBuffer( 0 ), NULL, NULL, TRUE, 0, NULL, NULL, &aStartup,
                    &aProcess );
    return aProcess;
}

} // namespace

int RunReader( const MString& aProgram, const MString& aInput )
{
    HANDLE hRead = NULL;
    HANDLE hWrite = NULL;
    if ( !CreatePipe( &hRead, &hWrite, NULL, 0 ) )
        return -1;
    // Our end is never inherited: a reader that had it, this one or another thread's, would not see the end of its input.
    SetHandleInformation( hRead, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT );
    const PROCESS_INFORMATION aProcess = StartReader( aProgram, hRead );
    CloseHandle( hRead );

    DWORD dwWritten = 0;
    const bool fStarted = aProcess.hProcess != NULL;
    const DWORD dwLength = static_cast<DWORD>( aInput.GetLength() );
    const bool fWritten = fStarted && WriteFile( hWrite, aInput.data(), dwLength, &dwWritten, NULL );
    CloseHandle( hWrite );
    if ( !fStarted )
        return -1;
    DWORD dwExitCode = 0;
    WaitForSingleObject( aProcess.hProcess, INFINITE );
    GetExitCodeProcess( aProcess.hProcess, &dwExitCode );
    CloseHandle( aProcess.hThread );
    CloseHandle( aProcess.hProcess );
    return fWritten ? static_cast<int>( dwExitCode ) : -1;
}

MString ReadStandardInput()
{
    MString aInput;
    char szBytes[4096];
    DWORD dwRead = 0;
    while ( ReadFile( GetStdHandle( STD_INPUT_HANDLE ), szBytes, sizeof( szBytes ), &dwRead, NULL ) &&
            dwRead > 0 )
        aInput.append( szBytes, dwRead );
    return aInput;
}
