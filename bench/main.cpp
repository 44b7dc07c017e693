// bxbench: the operations that a caller would notice, each beside the peer a caller would take instead, in one run.
// scripts/bench runs it and prints the ratios; docs/performance.md says what is measured and how.
#include "measure.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

void CheckAnswer( const char* pName, const std::string& strWritten, const std::string& strExpected )
{
    if ( strWritten == strExpected )
        return;
    std::fprintf( stderr, "%s gives a wrong answer:\n%.400s\nexpected:\n%.400s\n", pName, strWritten.c_str(),
                  strExpected.c_str() );
    std::exit( 1 );
}

// The library looks for its folders when it is loaded, before main. So the measurements run in a second process, to
// which folders of its own are given; they are gone afterwards.
static int RunInOwnFolders( char** ppArguments )
{
    std::string strFolder = ( std::filesystem::temp_directory_path() / "bxbench-XXXXXX" ).string();
    if ( mkdtemp( strFolder.data() ) == NULL )
    {
        std::perror( strFolder.c_str() );
        return 1;
    }
    setenv( "BXTOOLS_OBJECT_DIR", strFolder.c_str(), 1 );
    setenv( "BXTOOLS_STATE_DIR", ( strFolder + "/state" ).c_str(), 1 );
    setenv( "BXTOOLS_DEBUG_SINK", "none", 1 );

    pid_t nProcess = 0;
    int nStatus = 1;
    if ( posix_spawn( &nProcess, "/proc/self/exe", NULL, NULL, ppArguments, environ ) != 0 ||
         waitpid( nProcess, &nStatus, 0 ) != nProcess )
        std::perror( "bxbench" );
    std::filesystem::remove_all( strFolder );
    return WIFEXITED( nStatus ) ? WEXITSTATUS( nStatus ) : 1;
}

int main( int nArguments, char** ppArguments )
{
    static constexpr char SECOND_PROCESS[] = "BXBENCH_SECOND_PROCESS";
    if ( std::getenv( SECOND_PROCESS ) == NULL )
    {
        setenv( SECOND_PROCESS, "1", 1 );
        return RunInOwnFolders( ppArguments );
    }

    benchmark::Initialize( &nArguments, ppArguments );
    if ( benchmark::ReportUnrecognizedArguments( nArguments, ppArguments ) )
        return 1;
    RegisterStringMeasurements();
    RegisterNumberMeasurements();
    RegisterStreamMeasurements();
    RegisterGrowthMeasurements();
    RegisterDebugMeasurements();
    RegisterThreadMeasurements();
    RegisterStartMeasurements();
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
