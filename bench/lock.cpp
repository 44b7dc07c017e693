// Mutexes that processes share by name. contended: four processes count together, each with a handle that it keeps; wall
// time of one count. cycle: made or opened, taken, given back and closed again, by the only one who uses it; enter-release: the
// same by the library's functions.
#include "measure.h"
#include "processes.h"

#include <bxtools/platform.h>
#include <bxtools/sync.h>

#include <boost/interprocess/sync/named_mutex.hpp>
#include <fcntl.h>
#include <semaphore.h>
#include <unistd.h>

static constexpr int PROCESSES = 4;
static constexpr long COUNTS = 50000; // by each of them

// The peers' names are the whole system's; a run beside another one takes its own.
static std::string OwnName( const char* pWhat )
{
    return std::string( "bxbench-" ) + pWhat + "-" + std::to_string( getpid() );
}

// lCount is guarded by what is measured: a sum that is wrong in the end is a lock that does not lock.
struct Counted
{
    long lCount;
    long lRuns;
};

template <class Lock>
static void MeasureContended( const char* pName )
{
    Counted* const pCounted = static_cast<Counted*>( MakeSharedMemory( sizeof( Counted ) ) );
    MeasureProcesses( pName, PROCESSES, PROCESSES * COUNTS,
                      [pCounted]( int, StartGate& rGate )
                      {
                          Lock aLock;
                          rGate.Pass();
                          for ( long i = 0; i < COUNTS; ++i )
                          {
                              aLock.Take();
                              ++pCounted->lCount;
                              aLock.GiveBack();
                          }
                          // The last one sees what all of them have counted.
                          aLock.Take();
                          const bool fLast = ++pCounted->lRuns % PROCESSES == 0;
                          const bool fRight = !fLast || pCounted->lCount == pCounted->lRuns * COUNTS;
                          aLock.GiveBack();
                          return fRight;
                      } );
}

static std::string g_strBoostName;

class BoostLock
{
public:
    void Take() { m_aMutex.lock(); }
    void GiveBack() { m_aMutex.unlock(); }

private:
    boost::interprocess::named_mutex m_aMutex{ boost::interprocess::open_or_create, g_strBoostName.c_str() };
};

class OwnLock
{
public:
    ~OwnLock() { CloseHandle( m_hMutex ); }
    void Take() { WaitForSingleObject( m_hMutex, INFINITE ); }
    void GiveBack() { ReleaseMutex( m_hMutex ); }

private:
    const HANDLE m_hMutex = CreateMutexA( NULL, FALSE, "bxbench contended" );
};

static bool CycleOwn()
{
    const HANDLE hMutex = CreateMutexA( NULL, FALSE, "bxbench cycle" );
    const bool fTaken = WaitForSingleObject( hMutex, INFINITE ) == WAIT_OBJECT_0;
    return fTaken & ( ReleaseMutex( hMutex ) != FALSE ) & ( CloseHandle( hMutex ) != FALSE );
}

static bool EnterAndRelease()
{
    HANDLE hSection = NULL;
    const bool fTaken = EnterInterProcessCriticalSection( "bxbench section", &hSection ) != FALSE;
    return fTaken & ( ReleaseInterProcessCriticalSection( hSection ) != FALSE );
}

static bool CycleSemaphore( const std::string& strName )
{
    sem_t* const pSemaphore = sem_open( strName.c_str(), O_CREAT, 0600, 1 );
    if ( pSemaphore == SEM_FAILED )
        return false;
    const bool fTaken = sem_wait( pSemaphore ) == 0;
    return fTaken & ( sem_post( pSemaphore ) == 0 ) & ( sem_close( pSemaphore ) == 0 );
}

void RegisterLockMeasurements()
{
    g_strBoostName = OwnName( "boost" );
    MeasureContended<OwnLock>( "lock/contended/bxtools" );
    MeasureContended<BoostLock>( "lock/contended/Boost" );
    Measure( "lock/cycle/bxtools", "1\n", []( auto& rUse ) { rUse( CycleOwn() ); } );
    const std::string strSemaphore = "/" + OwnName( "semaphore" );
    Measure( "lock/cycle/semaphore", "1\n",
             [strSemaphore]( auto& rUse ) { rUse( CycleSemaphore( strSemaphore ) ); } );
    Measure( "lock/enter-release/bxtools", "1\n", []( auto& rUse ) { rUse( EnterAndRelease() ); } );
    Measure( "lock/enter-release/semaphore", "1\n",
             [strSemaphore]( auto& rUse ) { rUse( CycleSemaphore( strSemaphore ) ); } );
}

void RemoveLockPeers()
{
    boost::interprocess::named_mutex::remove( g_strBoostName.c_str() );
    sem_unlink( ( "/" + OwnName( "semaphore" ) ).c_str() );
}
