#include "platform/object/mutex.h"

#include "platform/object/handletable.h"
#include "platform/object/sharedlock.h"
#include "platform/stopgate.h"
#include "platform/threadend.h"
#include "platform/threadstate.h"

#include <bxtools/platform.h>

#include <cerrno>
#include <new>
#include <utility>

// The mutexes that a thread owns, chained through them. The thread's own business alone; of a thread that was ended by
// force nobody follows the chain any more.
class OwnedMutexes
{
public:
    static void Add( Mutex& rMutex ) noexcept
    {
        Mutex*& rpFirst = t_aThreadState.pOwnedMutexes;
        rMutex.m_pPreviousOwned = nullptr;
        rMutex.m_pNextOwned = rpFirst;
        if ( rpFirst != nullptr )
            rpFirst->m_pPreviousOwned = &rMutex;
        rpFirst = &rMutex;
    }

    static void Remove( Mutex& rMutex ) noexcept
    {
        if ( rMutex.m_pNextOwned != nullptr )
            rMutex.m_pNextOwned->m_pPreviousOwned = rMutex.m_pPreviousOwned;
        if ( rMutex.m_pPreviousOwned != nullptr )
            rMutex.m_pPreviousOwned->m_pNextOwned = rMutex.m_pNextOwned;
        else
            t_aThreadState.pOwnedMutexes = rMutex.m_pNextOwned;
    }

    // The locks are the parent's.
    static void ForgetAll() noexcept
    {
        while ( Mutex* const pMutex = t_aThreadState.pOwnedMutexes )
        {
            t_aThreadState.pOwnedMutexes = pMutex->m_pNextOwned;
            pMutex->Release();
        }
    }

    static void AbandonAll() noexcept
    {
        while ( Mutex* const pMutex = t_aThreadState.pOwnedMutexes )
            pMutex->Unlock( true );
    }

    // Nobody else knows those whose last reference it was, so their links are free.
    static Mutex* AbandonAllOfDying() noexcept
    {
        Mutex* pLast = nullptr;
        while ( Mutex* const pMutex = t_aThreadState.pOwnedMutexes )
        {
            pMutex->UnlockWithReference( true );
            if ( pMutex->DropReference() )
                pMutex->m_pNextOwned = std::exchange( pLast, pMutex );
        }
        return pLast;
    }

    static void DestroyAll( Mutex* pFirst ) noexcept
    {
        while ( pFirst != nullptr )
            std::exchange( pFirst, pFirst->m_pNextOwned )->Destroy();
    }
};

Mutex::Mutex() noexcept
    : WaitableObject( KIND_MUTEX ),
      m_raLock( m_aOwnLock ),
      m_ruAbandoned( m_uOwnAbandoned ),
      m_aBells( nullptr )
{
    MakeRobustLock( m_aOwnLock, false );
}

Mutex::Mutex( std::unique_ptr<NamedObject> pNamed ) noexcept
    : WaitableObject( KIND_MUTEX ),
      m_pNamed( std::move( pNamed ) ),
      m_raLock( m_pNamed->GetHeader().aLock ),
      m_ruAbandoned( m_pNamed->GetHeader().uAbandoned ),
      m_aBells( &m_pNamed->GetFile() )
{
}

// Whoever owns it holds a reference.
Mutex::~Mutex() = default;

bool Mutex::IsOwn() const noexcept
{
    return m_ullOwner.load( std::memory_order_relaxed ) == GetThreadNumber();
}

// What the C library's lock answered.
Taking Mutex::NoteTaken( int nOutcome ) noexcept
{
    if ( nOutcome == EBUSY || nOutcome == ETIMEDOUT )
        return Taking::NotReady;
    if ( nOutcome == EOWNERDEAD )
        pthread_mutex_consistent( &m_raLock );
    else if ( nOutcome != 0 )
    {
        SetLastError( ERROR_INVALID_HANDLE );
        return Taking::Failed;
    }
    // The memory must stay while the lock is held. A thread of this process that was ended by force left us its reference.
    if ( m_ullOwner.exchange( GetThreadNumber(), std::memory_order_relaxed ) == 0 )
        AddReference();
    m_dwDepth = 1;
    OwnedMutexes::Add( *this );
    RequestThreadEnd();
    const bool fAbandoned = m_ruAbandoned.exchange( 0 ) != 0;
    return fAbandoned || nOutcome == EOWNERDEAD ? Taking::Abandoned : Taking::Taken;
}

bool Mutex::TakeAtBirth( bool fKeep ) noexcept
{
    if ( !fKeep && IsLockFree( m_raLock ) )
    {
        m_ruAbandoned = 0;
        return true;
    }
    const Taking eTaking = NoteTaken( pthread_mutex_trylock( &m_raLock ) );
    if ( eTaking != Taking::Taken && eTaking != Taking::Abandoned )
        return false;
    if ( !fKeep )
        Unlock( false );
    return true;
}

Taking Mutex::TryTake() noexcept
{
    if ( !IsOwn() )
        return NoteTaken( pthread_mutex_trylock( &m_raLock ) );
    ++m_dwDepth;
    return Taking::Taken;
}

namespace
{
int SleepForLock( pthread_mutex_t& raLock, const WaitLimit& rLimit ) noexcept
{
    const SleepWindow aWindow( &raLock );
    return rLimit.IsInfinite() ? pthread_mutex_lock( &raLock )
                               : pthread_mutex_clocklock( &raLock, CLOCK_MONOTONIC, &rLimit.GetPoint() );
}
} // namespace

Taking Mutex::WaitAndTake( const WaitLimit& rLimit ) noexcept
{
    if ( IsOwn() )
        return TryTake();
    // In this time its owner takes and gives it back some ten times, undisturbed.
    constexpr int BACK_OFF = 128;
    const bool fSeenFree = m_aSpin.Until<BACK_OFF>( [this] { return GetLockOwner( m_raLock ) == 0; } );
    const int nOutcome = fSeenFree ? pthread_mutex_trylock( &m_raLock ) : EBUSY;
    return NoteTaken( nOutcome != EBUSY ? nOutcome : SleepForLock( m_raLock, rLimit ) );
}

void Mutex::Unlock( bool fAbandoned ) noexcept
{
    UnlockWithReference( fAbandoned );
    Release();
}

void Mutex::UnlockWithReference( bool fAbandoned ) noexcept
{
    OwnedMutexes::Remove( *this );
    m_ullOwner.store( 0, std::memory_order_relaxed );
    if ( fAbandoned )
        m_ruAbandoned = 1;
    pthread_mutex_unlock( &m_raLock );
    // What the listener looks at must not be seen before the lock is free.
    std::atomic_thread_fence( std::memory_order_seq_cst );
    m_aBells.RingAll();
}

bool Mutex::GiveBack() noexcept
{
    if ( !IsOwn() )
        return false;
    if ( --m_dwDepth == 0 )
        Unlock( false );
    return true;
}

void Mutex::PutBack( Taking eTaking ) noexcept
{
    if ( eTaking == Taking::Abandoned )
        Unlock( true );
    else
        GiveBack();
}

// Ends of threads of this process ring the bells; the end of another process makes its descriptor readable.
void Mutex::AddDescriptors( PollSet& rSet ) noexcept
{
    if ( m_pNamed != nullptr )
        AddLockOwner( m_raLock, rSet );
}

void Mutex::HandleClosed() noexcept
{
    if ( m_pNamed != nullptr )
        m_pNamed->HandleClosed();
}

void AbandonMutexesOfThread() noexcept
{
    OwnedMutexes::AbandonAll();
}

Mutex* AbandonMutexesOfDyingThread() noexcept
{
    return OwnedMutexes::AbandonAllOfDying();
}

void DestroyMutexes( Mutex* pFirst ) noexcept
{
    OwnedMutexes::DestroyAll( pFirst );
}

void ForgetMutexesInChild() noexcept
{
    OwnedMutexes::ForgetAll();
}

// ---- the calls --------------------------------------------------------------------------------------------

namespace
{
class MutexMaker final : public ObjectMaker
{
public:
    explicit MutexMaker( bool fOwned ) noexcept : m_fOwned( fOwned ) {}

    ObjectKind GetKind() const noexcept override { return KIND_MUTEX; }
    KernelObject* MakeObject( std::unique_ptr<NamedObject> pNamed ) noexcept override
    {
        return new ( std::nothrow ) Mutex( std::move( pNamed ) );
    }
    bool Initialise( KernelObject& rObject ) noexcept override
    {
        return static_cast<Mutex&>( rObject ).TakeAtBirth( m_fOwned );
    }

private:
    const bool m_fOwned;
};
} // namespace

HANDLE CreateMutexA( LPSECURITY_ATTRIBUTES, BOOL fInitialOwner, LPCSTR pName )
{
    const ObjectName aName( pName );
    if ( !aName.IsGood() )
        return nullptr;
    MutexMaker aMaker( fInitialOwner != FALSE );
    if ( !aName.IsEmpty() )
        return MakeNamedHandle( aName, aMaker, true, MUTEX_ALL_ACCESS );
    const StopGate aGate;
    Mutex* const pMutex = new ( std::nothrow ) Mutex;
    if ( pMutex != nullptr )
        pMutex->TakeAtBirth( fInitialOwner != FALSE );
    return MakeUnnamedHandle( pMutex, MUTEX_ALL_ACCESS );
}

HANDLE OpenMutexA( DWORD dwAccess, BOOL, LPCSTR pName )
{
    MutexMaker aMaker( false );
    return OpenNamedHandle( pName, aMaker, dwAccess );
}

BOOL ReleaseMutex( HANDLE hMutex )
{
    const HandleUse aUse( hMutex, KIND_MUTEX, 0 );
    if ( !aUse.IsGood() )
        return FALSE;
    if ( aUse.GetObject<Mutex>()->GiveBack() )
        return TRUE;
    SetLastError( ERROR_NOT_OWNER );
    return FALSE;
}
