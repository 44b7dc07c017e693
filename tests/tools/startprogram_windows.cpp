#include "support/startprocess.h"
#include "tools/runprogram.h"

#include <gtest/gtest.h>

namespace
{

// A word that the C library of the program reads as it is; no backslash stands before a quote or at the end.
std::string Word( const std::string& strText )
{
    std::string strWord = " \"";
    for ( const char cSign : strText )
        strWord += cSign == '"' ? "\\\"" : std::string( 1, cSign );
    return strWord + "\"";
}

HANDLE OpenInherited( const std::string& strFile, bool fWrite )
{
    SECURITY_ATTRIBUTES aInherited = { sizeof( aInherited ), NULL, TRUE };
    return CreateFileA( strFile.c_str(), fWrite ? GENERIC_WRITE : GENERIC_READ,
                        FILE_SHARE_READ | FILE_SHARE_WRITE, &aInherited,
                        fWrite ? CREATE_ALWAYS : OPEN_EXISTING, 0, NULL );
}

} // namespace

int ProgramFolder::Start( const std::string& strProgram, const Texts& aArguments,
                          unsigned uMilliseconds ) const
{
    std::string strLine = "\"" + strProgram + "\"";
    for ( const std::string& strArgument : aArguments )
        strLine += Word( strArgument );
    STARTUPINFOA aStartup = {};
    aStartup.cb = sizeof( aStartup );
    aStartup.dwFlags = STARTF_USESTDHANDLES;
    aStartup.hStdInput = OpenInherited( Path( "stdin" ), false );
    aStartup.hStdOutput = OpenInherited( Path( "stdout" ), true );
    aStartup.hStdError = OpenInherited( Path( "stderr" ), true );
    PROCESS_INFORMATION aProcess = {};
    const BOOL fStarted = StartProcess( strLine, Path().c_str(), aStartup, aProcess );
    const DWORD dwError = GetLastError();
    for ( HANDLE hFile : { aStartup.hStdInput, aStartup.hStdOutput, aStartup.hStdError } )
        CloseHandle( hFile );
    EXPECT_TRUE( fStarted ) << dwError << ": " << strLine;
    if ( !fStarted )
        return -1;
    DWORD dwExitCode = 0;
    if ( WaitForSingleObject( aProcess.hProcess, uMilliseconds != 0 ? uMilliseconds : INFINITE ) ==
         WAIT_TIMEOUT )
        TerminateProcess( aProcess.hProcess, static_cast<UINT>( -1 ) );
    WaitForSingleObject( aProcess.hProcess, INFINITE );
    GetExitCodeProcess( aProcess.hProcess, &dwExitCode );
    CloseHandle( aProcess.hThread );
    CloseHandle( aProcess.hProcess );
    return static_cast<int>( dwExitCode );
}
