#include "processes.h"

#include "measure.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <sched.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

static void Expect( bool fGood, const char* pWhat )
{
    if ( fGood )
        return;
    std::perror( pWhat );
    std::exit( 1 );
}

StartGate::StartGate()
{
    Expect( pipe( m_anArrived ) == 0 && pipe( m_anOpened ) == 0, "pipe" );
}

StartGate::~StartGate()
{
    for ( const int nDescriptor : { m_anArrived[0], m_anArrived[1], m_anOpened[0] } )
        close( nDescriptor );
}

void StartGate::Pass()
{
    close( m_anOpened[1] );
    char cArrived = 0;
    Expect( write( m_anArrived[1], &cArrived, 1 ) == 1 && read( m_anOpened[0], &cArrived, 1 ) == 0, "gate" );
}

void StartGate::AwaitArrivals( int nProcesses )
{
    char cArrived = 0;
    for ( int i = 0; i < nProcesses; ++i )
        Expect( read( m_anArrived[0], &cArrived, 1 ) == 1, "gate" );
}

void StartGate::Open()
{
    close( m_anOpened[1] );
}

static void UseFirstProcessor()
{
    cpu_set_t aProcessors;
    CPU_ZERO( &aProcessors );
    CPU_SET( 0, &aProcessors );
    Expect( sched_setaffinity( 0, sizeof( aProcessors ), &aProcessors ) == 0, "sched_setaffinity" );
}

double TimeOfProcesses( const char* pName, int nProcesses, const ProcessBody& aBody, bool fOneProcessor )
{
    StartGate aGate;
    std::vector<pid_t> aProcesses;
    for ( int nProcess = 0; nProcess < nProcesses; ++nProcess )
    {
        aProcesses.push_back( fork() );
        Expect( aProcesses.back() >= 0, "fork" );
        if ( aProcesses.back() > 0 )
            continue;
        if ( fOneProcessor )
            UseFirstProcessor();
        _exit( aBody( nProcess, aGate ) ? 0 : 1 );
    }
    aGate.AwaitArrivals( nProcesses );
    const auto aBefore = std::chrono::steady_clock::now();
    aGate.Open();
    for ( const pid_t nProcess : aProcesses )
    {
        int nStatus = 0;
        waitpid( nProcess, &nStatus, 0 );
        CheckAnswer( pName, std::to_string( nStatus ), "0" );
    }
    return std::chrono::duration<double>( std::chrono::steady_clock::now() - aBefore ).count();
}

void MeasureProcesses( const char* pName, int nProcesses, long lItems, const ProcessBody& aBody,
                       bool fOneProcessor )
{
    TimeOfProcesses( pName, nProcesses, aBody, fOneProcessor );
    benchmark::RegisterBenchmark( pName,
                                  [=]( benchmark::State& rState )
                                  {
                                      while ( rState.KeepRunningBatch( lItems ) )
                                          rState.SetIterationTime(
                                              TimeOfProcesses( pName, nProcesses, aBody, fOneProcessor ) );
                                  } )
        ->UseManualTime();
}

void* MakeSharedMemory( size_t nBytes )
{
    void* const pMemory = mmap( NULL, nBytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0 );
    Expect( pMemory != MAP_FAILED, "mmap" );
    return pMemory;
}
