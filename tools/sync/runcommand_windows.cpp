#include "core/guards.h"
#include "tools/errors/decodedrecord.h"
#include "tools/sync/runcommand.h"
#include "tools/talk.h"
#include "tools/terminal.h"

namespace
{

// As programs take their command line apart: a quote inside is escaped, and so are backslashes before a quote. A word that needs
// no quotes gets none, since the system's shell takes its own commands for file names in them.
std::string Quoted( const std::string& aWord )
{
    if ( !aWord.empty() && aWord.find_first_of( " \t\"" ) == std::string::npos )
        return aWord;
    std::string aQuoted = "\"";
    size_t nBackslashes = 0;
    for ( const char cLetter : aWord )
    {
        if ( cLetter == '"' )
            aQuoted.append( nBackslashes + 1, '\\' );
        nBackslashes = cLetter == '\\' ? nBackslashes + 1 : 0;
        aQuoted += cLetter;
    }
    return aQuoted.append( nBackslashes, '\\' ) + '"';
}

// What is in it ends when its last handle is closed, by the end of this process at the latest.
HANDLE MakeCage()
{
    const HANDLE hJob = CreateJobObjectA( NULL, NULL );
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION aLimits = {};
    aLimits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    SetInformationJobObject( hJob, JobObjectExtendedLimitInformation, &aLimits, sizeof( aLimits ) );
    return hJob;
}

} // namespace

int RunCommand( const std::vector<std::string>& aCommand )
{
    std::string aLine;
    for ( const std::string& rWord : aCommand )
        aLine += ( aLine.empty() ? "" : " " ) + Quoted( rWord );
    GiveTerminalBack();
    STARTUPINFOA aStartup = {};
    aStartup.cb = sizeof( aStartup );
    PROCESS_INFORMATION aProcess = {};
    if ( !CreateProcessA( NULL, aLine.data(), NULL, NULL, TRUE, CREATE_SUSPENDED, NULL, NULL, &aStartup,
                          &aProcess ) )
    {
        const DWORD dwError = GetLastError();
        SayError( aCommand[0] + ": " + GetSystemText( dwError ) );
        return dwError == ERROR_FILE_NOT_FOUND || dwError == ERROR_PATH_NOT_FOUND ? EXIT_NOT_FOUND
                                                                                  : EXIT_NOT_RUN;
    }
    const KernelHandle aRunning( aProcess.hProcess );
    const KernelHandle aThread( aProcess.hThread );
    const KernelHandle aCage( MakeCage() );
    AssignProcessToJobObject( aCage.Get(), aRunning.Get() );
    SetConsoleCtrlHandler( NULL, TRUE );
    ResumeThread( aThread.Get() );
    WaitForSingleObject( aRunning.Get(), INFINITE );
    DWORD dwExitCode = EXIT_NOT_RUN;
    GetExitCodeProcess( aRunning.Get(), &dwExitCode );
    return static_cast<int>( dwExitCode );
}
