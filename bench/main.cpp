// bxbench: the operations that a caller would notice, each beside the peer a caller would take instead, in one run.
// scripts/bench runs it and prints the ratios; docs/performance.md says what is measured and how.
#include "measure.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <unistd.h>

void CheckAnswer( const char* pName, const std::string& strWritten, const std::string& strExpected )
{
    if ( strWritten == strExpected )
        return;
    std::fprintf( stderr, "%s gives a wrong answer:\n%.400s\nexpected:\n%.400s\n", pName, strWritten.c_str(),
                  strExpected.c_str() );
    std::exit( 1 );
}

static constexpr char OWN_FOLDER[] = "BXBENCH_FOLDER";

// The library looks for its folders when it is loaded, before main. So the program starts once more, in its place, with
// folders of its own for whatever processes share.
static int StartInOwnFolder( char** ppArguments )
{
    std::string strFolder = ( std::filesystem::temp_directory_path() / "bxbench-XXXXXX" ).string();
    if ( mkdtemp( strFolder.data() ) == NULL )
    {
        std::perror( strFolder.c_str() );
        return 1;
    }
    setenv( OWN_FOLDER, strFolder.c_str(), 1 );
    setenv( "BXTOOLS_OBJECT_DIR", strFolder.c_str(), 1 );
    setenv( "BXTOOLS_STATE_DIR", ( strFolder + "/state" ).c_str(), 1 );
    setenv( "BXTOOLS_DEBUG_SINK", "none", 1 );
    execv( std::filesystem::read_symlink( "/proc/self/exe" ).c_str(), ppArguments );
    std::perror( "bxbench" );
    return 1;
}

int main( int nArguments, char** ppArguments )
{
    const char* pFolder = std::getenv( OWN_FOLDER );
    if ( pFolder == NULL )
        return StartInOwnFolder( ppArguments );

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
    RegisterLockMeasurements();
    RegisterProcessMeasurements();
    RegisterWaitMeasurements();
    RegisterChannelMeasurements();
    RegisterRegistryMeasurements();
    RegisterIniMeasurements();
    RegisterFileMeasurements();
    RegisterPathMeasurements();
    RegisterNlsMeasurements();
    RegisterTreeMeasurements();
    benchmark::RunSpecifiedBenchmarks();
    RemoveLockPeers();
    std::filesystem::remove_all( pFolder );
    return 0;
}
