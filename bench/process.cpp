// The walk over all processes with the paths of their programs, beside libproc2, with as many processes as the machine has, and
// with 300 more.
#include "measure.h"

#include <bxtools/process.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <libproc2/pids.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

static constexpr int MORE_PROCESSES = 300;

struct Seen
{
    long lProcesses = 0;
    long lNamed = 0;
    bool fOwn = false; // this one, with its path
};

static void See( Seen& rSeen, long lId, const char* pPath )
{
    ++rSeen.lProcesses;
    rSeen.lNamed += *pPath != '\0' && *pPath != '-';
    rSeen.fOwn = rSeen.fOwn || ( lId == getpid() && *pPath == '/' );
}

static BOOL DLL_EXPORT OnProcess( DWORD dwPID, WORD, LPCTSTR szFileName, LPARAM lParam )
{
    See( *reinterpret_cast<Seen*>( lParam ), static_cast<long>( dwPID ), szFileName );
    return TRUE;
}

static Seen SeenByOwn()
{
    Seen aSeen;
    EnumProcs( OnProcess, reinterpret_cast<LPARAM>( &aSeen ) );
    return aSeen;
}

static Seen SeenByLibproc()
{
    static pids_item s_aItems[] = { PIDS_ID_PID, PIDS_EXE };
    Seen aSeen;
    pids_info* pInfo = NULL;
    if ( procps_pids_new( &pInfo, s_aItems, 2 ) < 0 )
        return aSeen;
    while ( pids_stack* const pStack = procps_pids_get( pInfo, PIDS_FETCH_TASKS_ONLY ) )
        See( aSeen, PIDS_VAL( 0, s_int, pStack, pInfo ), PIDS_VAL( 1, str, pStack, pInfo ) );
    procps_pids_unref( &pInfo );
    return aSeen;
}

// Processes that do nothing, for a scope.
class Crowd
{
public:
    explicit Crowd( int nProcesses )
    {
        for ( int nProcess = 0; nProcess < nProcesses; ++nProcess )
        {
            const pid_t nChild = fork();
            if ( nChild == 0 )
            {
                pause();
                _exit( 0 );
            }
            m_aChildren.push_back( nChild );
        }
    }
    ~Crowd()
    {
        for ( const pid_t nChild : m_aChildren )
            kill( nChild, SIGKILL );
        for ( const pid_t nChild : m_aChildren )
            waitpid( nChild, NULL, 0 );
    }
    Crowd( const Crowd& ) = delete;
    Crowd& operator=( const Crowd& ) = delete;

private:
    std::vector<pid_t> m_aChildren;
};

static void MeasureWalk( const char* pName, int nMore, Seen ( *pWalk )() )
{
    benchmark::RegisterBenchmark( pName,
                                  [=]( benchmark::State& rState )
                                  {
                                      const Crowd aCrowd( nMore );
                                      for ( [[maybe_unused]] auto aRun : rState )
                                          benchmark::DoNotOptimize( pWalk() );
                                  } );
}

void RegisterProcessMeasurements()
{
    // The machine's processes come and go; what is checked is that both see the same kind of thing.
    const Seen aOwn = SeenByOwn();
    const Seen aPeer = SeenByLibproc();
    if ( !aOwn.fOwn || !aPeer.fOwn || std::labs( aOwn.lProcesses - aPeer.lProcesses ) > 20 )
    {
        std::fprintf( stderr, "process: %ld and %ld processes seen\n", aOwn.lProcesses, aPeer.lProcesses );
        std::exit( 1 );
    }
    MeasureWalk( "process/walk/bxtools", 0, SeenByOwn );
    MeasureWalk( "process/walk/libproc2", 0, SeenByLibproc );
    MeasureWalk( "process/walk300/bxtools", MORE_PROCESSES, SeenByOwn );
    MeasureWalk( "process/walk300/libproc2", MORE_PROCESSES, SeenByLibproc );
}
