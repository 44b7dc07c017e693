// A signal to a process that sleeps: two processes wake each other in turn; wall time of one signal. one-core: both on the
// same processor, where the cost of the calls shows most; two-cores: wherever the system puts them.
#include "measure.h"
#include "processes.h"

#include <bxtools/platform.h>

#include <cstdint>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

static constexpr long ROUNDS = 5000; // two signals each

static bool PlayWithEvents( int nProcess, StartGate& rGate )
{
    const HANDLE ahEvents[] = { CreateEventA( NULL, FALSE, FALSE, "bxbench ping" ),
                                CreateEventA( NULL, FALSE, FALSE, "bxbench pong" ) };
    const HANDLE hOwn = ahEvents[nProcess];
    const HANDLE hOther = ahEvents[1 - nProcess];
    rGate.Pass();
    bool fRight = true;
    for ( long i = 0; i < ROUNDS; ++i )
    {
        if ( nProcess == 0 )
            fRight &= SetEvent( hOther ) != FALSE;
        fRight &= WaitForSingleObject( hOwn, INFINITE ) == WAIT_OBJECT_0;
        if ( nProcess == 1 )
            fRight &= SetEvent( hOther ) != FALSE;
    }
    return fRight;
}

static void SetWord( uint32_t* pWord )
{
    __atomic_store_n( pWord, 1, __ATOMIC_SEQ_CST );
    syscall( SYS_futex, pWord, FUTEX_WAKE, 1, NULL, NULL, 0 );
}

static void AwaitWord( uint32_t* pWord )
{
    while ( __atomic_exchange_n( pWord, 0, __ATOMIC_SEQ_CST ) == 0 )
        syscall( SYS_futex, pWord, FUTEX_WAIT, 0, NULL, NULL, 0 );
}

static bool PlayWithWords( uint32_t* pWords, int nProcess, StartGate& rGate )
{
    rGate.Pass();
    for ( long i = 0; i < ROUNDS; ++i )
    {
        if ( nProcess == 0 )
            SetWord( pWords + 1 );
        AwaitWord( pWords + nProcess );
        if ( nProcess == 1 )
            SetWord( pWords );
    }
    return true;
}

void RegisterWaitMeasurements()
{
    uint32_t* const pWords = static_cast<uint32_t*>( MakeSharedMemory( 2 * sizeof( uint32_t ) ) );
    const auto PlayBare = [pWords]( int nProcess, StartGate& rGate )
    { return PlayWithWords( pWords, nProcess, rGate ); };
    MeasureProcesses( "wait/one-core/bxtools", 2, 2 * ROUNDS, PlayWithEvents, true );
    MeasureProcesses( "wait/one-core/futex", 2, 2 * ROUNDS, PlayBare, true );
    MeasureProcesses( "wait/two-cores/bxtools", 2, 2 * ROUNDS, PlayWithEvents );
    MeasureProcesses( "wait/two-cores/futex", 2, 2 * ROUNDS, PlayBare );
}
