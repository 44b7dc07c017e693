// What loading a library adds to the start of a program: a program that does nothing is started and waited for; wall
// time. over-empty is the same less the time of a program without any C++ library, started right before.
#include "measure.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

// 540 starts of each program, in short runs all over the measurement: a busy moment then falls upon all of them.
static constexpr int REPETITIONS = 108;
static constexpr benchmark::IterationCount STARTS = 5;

static int StartAndWait( const char* pPath )
{
    char* aArguments[] = { const_cast<char*>( pPath ), NULL };
    pid_t nProcess = 0;
    int nStatus = 0;
    if ( posix_spawn( &nProcess, pPath, NULL, NULL, aArguments, environ ) != 0 ||
         waitpid( nProcess, &nStatus, 0 ) != nProcess )
        return -1;
    return WIFEXITED( nStatus ) ? WEXITSTATUS( nStatus ) : -1;
}

// Result: seconds.
static double TimeOfStart( const char* pPath )
{
    const auto aBefore = std::chrono::steady_clock::now();
    benchmark::DoNotOptimize( StartAndWait( pPath ) );
    return std::chrono::duration<double>( std::chrono::steady_clock::now() - aBefore ).count();
}

// Each of the programs ends with 7, so that one that was not started is no success.
static void RegisterStart( const char* pName, const char* pOverEmptyName, const char* pPath )
{
    CheckAnswer( pName, std::to_string( StartAndWait( pPath ) ), "7" );
    benchmark::RegisterBenchmark( pName,
                                  [pPath]( benchmark::State& rState )
                                  {
                                      for ( [[maybe_unused]] auto aRun : rState )
                                          rState.SetIterationTime( TimeOfStart( pPath ) );
                                  } )
        ->UseManualTime()
        ->Repetitions( REPETITIONS )
        ->Iterations( STARTS );
    if ( pOverEmptyName == NULL )
        return;
    benchmark::RegisterBenchmark( pOverEmptyName,
                                  [pPath]( benchmark::State& rState )
                                  {
                                      for ( [[maybe_unused]] auto aRun : rState )
                                      {
                                          const double dEmpty = TimeOfStart( BENCH_START_EMPTY );
                                          rState.SetIterationTime( TimeOfStart( pPath ) - dEmpty );
                                      }
                                  } )
        ->UseManualTime()
        ->Repetitions( REPETITIONS )
        ->Iterations( STARTS );
}

void RegisterStartMeasurements()
{
    RegisterStart( "start/library/bxtools", "start/over-empty/bxtools", BENCH_START_BXTOOLS );
    RegisterStart( "start/library/libstdcxx", "start/over-empty/libstdcxx", BENCH_START_LIBSTDCXX );
    RegisterStart( "start/library/GLib", "start/over-empty/GLib", BENCH_START_GLIB );
    RegisterStart( "start/library/empty", NULL, BENCH_START_EMPTY );
}
