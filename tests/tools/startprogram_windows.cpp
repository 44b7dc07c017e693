#include "tools/startprogram.h"

#include <windows.h>

namespace
{

HANDLE OpenInherited( const std::string& strFile, bool fWrite )
{
    SECURITY_ATTRIBUTES aInherited = { sizeof( aInherited ), NULL, TRUE };
    return CreateFileA( strFile.c_str(), fWrite ? GENERIC_WRITE : GENERIC_READ,
                        FILE_SHARE_READ | FILE_SHARE_WRITE, &aInherited,
                        fWrite ? CREATE_ALWAYS : OPEN_EXISTING, 0, NULL );
}

std::string CommandLine( const ProgramStart& rStart )
{
    std::string strLine = "\"" + rStart.strProgram + "\"";
    for ( const std::string& strArgument : rStart.aArguments )
        strLine += " \"" + strArgument + "\"";
    return strLine;
}

} // namespace

int StartProgram( const ProgramStart& rStart )
{
    // A test program starts one program at a time, so its own environment is as good as a copy.
    for ( const std::string& strEntry : rStart.aEnvironment )
    {
        const size_t nValue = strEntry.find( '=' ) + 1;
        const char* pValue = nValue < strEntry.size() ? strEntry.c_str() + nValue : NULL;
        SetEnvironmentVariableA( strEntry.substr( 0, nValue - 1 ).c_str(), pValue );
    }
    STARTUPINFOA aStartup = {};
    aStartup.cb = sizeof( aStartup );
    aStartup.dwFlags = STARTF_USESTDHANDLES;
    aStartup.hStdInput = OpenInherited( rStart.strInput, false );
    aStartup.hStdOutput = OpenInherited( rStart.strOutput, true );
    aStartup.hStdError = OpenInherited( rStart.strErrors, true );
    PROCESS_INFORMATION aProcess = {};
    std::string strLine = CommandLine( rStart );
    const BOOL fStarted = CreateProcessA( NULL, strLine.data(), NULL, NULL, TRUE, 0, NULL,
                                          rStart.strFolder.c_str(), &aStartup, &aProcess );
    for ( HANDLE hFile : { aStartup.hStdInput, aStartup.hStdOutput, aStartup.hStdError } )
        CloseHandle( hFile );
    if ( !fStarted )
        return -1;
    DWORD dwExitCode = 0;
    WaitForSingleObject( aProcess.hProcess, INFINITE );
    GetExitCodeProcess( aProcess.hProcess, &dwExitCode );
    CloseHandle( aProcess.hThread );
    CloseHandle( aProcess.hProcess );
    return static_cast<int>( dwExitCode );
}
