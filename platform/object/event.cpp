#include "platform/object/event.h"

#include "platform/futex.h"
#include "platform/locked.h"
#include "platform/object/handletable.h"
#include "platform/object/sharedlock.h"
#include "platform/stopgate.h"

#include <bxtools/platform.h>

#include <cerrno>
#include <new>

namespace
{
// The word that sleepers sleep on. Who finds CLEAR makes it AWAITED before it sleeps, on the word or with a bell; who sets an
// AWAITED event does so and wakes in one system call, since one who is killed between the two would leave the sleepers
// asleep.
enum EventWord : uint32_t
{
    CLEAR,
    SET,
    AWAITED,     // clear, and somebody may sleep
    AWAITED_ANEW // the same, and who went to sleep on the other one is to look again
};

bool IsAwaited( uint32_t uWord ) noexcept
{
    return uWord != CLEAR && uWord != SET;
}

// An event's lock, for who sets it. Not for ever: others set it although one who has the lock was stopped.
class Signaller
{
public:
    explicit Signaller( pthread_mutex_t& raLock ) noexcept : m_raLock( raLock )
    {
        constexpr DWORD MOST_MILLISECONDS = 100;
        int nOutcome = pthread_mutex_trylock( &raLock );
        if ( nOutcome == EBUSY )
            nOutcome = pthread_mutex_clocklock( &raLock, CLOCK_MONOTONIC,
                                                &WaitLimit( MOST_MILLISECONDS ).GetPoint() );
        m_fHasLock = nOutcome == 0 || ( nOutcome == EOWNERDEAD && pthread_mutex_consistent( &raLock ) == 0 );
        // What is looked at now must not have been seen before others could see the lock.
        std::atomic_thread_fence( std::memory_order_seq_cst );
    }
    ~Signaller()
    {
        if ( m_fHasLock )
            pthread_mutex_unlock( &m_raLock );
    }
    Signaller( const Signaller& ) = delete;
    Signaller& operator=( const Signaller& ) = delete;

    bool HasLock() const noexcept { return m_fHasLock; }

private:
    const StopGate m_aGate;
    pthread_mutex_t& m_raLock;
    bool m_fHasLock = false;
};

// Guards the feeders of all events.
constinit CRITICAL_SECTION g_aFeedersLock{};
} // namespace

struct Event::AttachedFeeder
{
    EventFeeder& rFeeder;
    AttachedFeeder* pNext;
};

Event::Event( bool fManualReset, bool fSet ) noexcept
    : WaitableObject( KIND_EVENT ),
      m_uOwnWord( fSet ? SET : CLEAR ),
      m_uOwnManualReset( fManualReset ? 1 : 0 ),
      m_ruWord( m_uOwnWord ),
      m_ruManualReset( m_uOwnManualReset ),
      m_aBells( nullptr )
{
}

Event::Event( std::unique_ptr<NamedObject> pNamed ) noexcept
    : WaitableObject( KIND_EVENT ),
      m_pNamed( std::move( pNamed ) ),
      m_ruWord( m_pNamed->GetHeader().uEvent ),
      m_ruManualReset( m_pNamed->GetHeader().uManualReset ),
      m_aBells( &m_pNamed->GetFile() )
{
}

Event::~Event()
{
    while ( AttachedFeeder* const pAttached = m_pFeeders )
    {
        m_pFeeders = pAttached->pNext;
        delete pAttached;
    }
}

void Event::Set() noexcept
{
    uint32_t uWord = m_ruWord;
    while ( uWord == CLEAR && !m_ruWord.compare_exchange_weak( uWord, SET ) )
    {
    }
    // Nobody sleeps on what was clear; those who slept on what is set were woken by who set it.
    if ( !IsAwaited( uWord ) )
        return;
    if ( m_pNamed != nullptr )
        return SetAndTellProcesses();
    FutexSetAndWakeAll( m_ruWord, SET, false );
    m_aBells.RingAll();
}

// Bells are rung one after the other, and whoever does it may be killed at any moment. So they are rung first, under the
// lock: a listener who comes to look before the event is set finds the lock taken, and from then on sleeps with an eye on the
// process that has it. If that one lives on it rings once more.
//
// One who sleeps without having seen the lock has hung its bell, and marked the word, before the lock was taken: it is rung
// before the word changes.
void Event::SetAndTellProcesses() noexcept
{
    ObjectHeader& rHeader = m_pNamed->GetHeader();
    const Signaller aSignaller( rHeader.aLock );
    m_aBells.RingAll();
    FutexSetAndWakeAll( m_ruWord, SET, true );
    if ( !aSignaller.HasLock() || rHeader.uWatched.exchange( 0 ) != 0 )
        m_aBells.RingAll();
}

// A look alone leaves the word's memory with whoever wrote it last.
bool Event::ClearIfSet() noexcept
{
    uint32_t uWord = SET;
    return m_ruWord.load() == SET && m_ruWord.compare_exchange_strong( uWord, CLEAR );
}

void Event::Reset() noexcept
{
    ClearIfSet();
}

Taking Event::TakeWord() noexcept
{
    const bool fTaken = m_ruManualReset != 0 ? m_ruWord == SET : ClearIfSet();
    return fTaken ? Taking::Taken : Taking::NotReady;
}

Taking Event::TryTake() noexcept
{
    AskFeeders();
    return TakeWord();
}

void Event::PutBack( Taking ) noexcept
{
    if ( m_ruManualReset == 0 )
        Set();
}

// False: the limit is over.
bool Event::SleepOnWord( const WaitLimit& rLimit ) noexcept
{
    uint32_t uWord = m_ruWord;
    if ( uWord == SET )
        return true;
    if ( uWord == CLEAR )
    {
        if ( !m_ruWord.compare_exchange_strong( uWord, AWAITED ) )
            return true;
        uWord = AWAITED;
    }
    // A feeder that was attached before the mark went unseen would not wake us.
    if ( m_pFeeders.load() != nullptr )
        return true;
    const SleepWindow aWindow;
    return FutexWaitUntil( m_ruWord, uWord, rLimit.IsInfinite() ? nullptr : &rLimit.GetPoint(),
                           m_pNamed != nullptr );
}

Taking Event::WaitAndTake( const WaitLimit& rLimit ) noexcept
{
    if ( m_pFeeders.load() == nullptr )
        m_aSpin.Until( [this] { return m_ruWord.load( std::memory_order_relaxed ) == SET; } );
    for ( bool fInTime = true;; )
    {
        const Taking eTaking = TryTake();
        if ( eTaking != Taking::NotReady || !fInTime )
            return eTaking;
        if ( m_pFeeders.load() != nullptr )
            return PollAndTake( *this, rLimit );
        fInTime = SleepOnWord( rLimit );
    }
}

// Who sleeps looks again and finds the feeder.
void Event::WakeSleepers() noexcept
{
    uint32_t uWord = m_ruWord;
    while ( IsAwaited( uWord ) &&
            !m_ruWord.compare_exchange_weak( uWord, uWord == AWAITED ? AWAITED_ANEW : AWAITED ) )
    {
    }
    if ( IsAwaited( uWord ) )
        FutexWakeAll( m_ruWord, m_pNamed != nullptr );
    m_aBells.RingAll();
}

void Event::Initialise( bool fManualReset, bool fSet ) noexcept
{
    m_ruManualReset = fManualReset ? 1 : 0;
    m_ruWord = fSet ? SET : CLEAR;
}

bool Event::AttachFeeder( EventFeeder& rFeeder ) noexcept
{
    AttachedFeeder* const pAttached = new ( std::nothrow ) AttachedFeeder{ rFeeder, nullptr };
    if ( pAttached == nullptr )
    {
        SetLastError( ERROR_NOT_ENOUGH_MEMORY );
        return false;
    }
    {
        const LockedScope aLocked( g_aFeedersLock );
        pAttached->pNext = m_pFeeders;
        m_pFeeders = pAttached;
    }
    WakeSleepers();
    return true;
}

// With the feeders' lock.
void Event::Detach( AttachedFeeder* pBefore, AttachedFeeder* pAttached ) noexcept
{
    if ( pBefore != nullptr )
        pBefore->pNext = pAttached->pNext;
    else
        m_pFeeders = pAttached->pNext;
    delete pAttached;
}

void Event::DetachFeeder( EventFeeder& rFeeder ) noexcept
{
    const LockedScope aLocked( g_aFeedersLock );
    AttachedFeeder* pBefore = nullptr;
    AttachedFeeder* pAttached = m_pFeeders;
    while ( pAttached != nullptr && &pAttached->rFeeder != &rFeeder )
    {
        pBefore = pAttached;
        pAttached = pAttached->pNext;
    }
    if ( pAttached != nullptr )
        Detach( pBefore, pAttached );
}

void Event::AskFeeders() noexcept
{
    if ( m_pFeeders.load() == nullptr )
        return;
    bool fFired = false;
    {
        const LockedScope aLocked( g_aFeedersLock );
        AttachedFeeder* pBefore = nullptr;
        AttachedFeeder* pNext = nullptr;
        for ( AttachedFeeder* pAttached = m_pFeeders; pAttached != nullptr; pAttached = pNext )
        {
            pNext = pAttached->pNext;
            if ( pAttached->rFeeder.HasFired() )
            {
                Detach( pBefore, pAttached );
                fFired = true;
            }
            else
                pBefore = pAttached;
        }
    }
    if ( fFired )
        Set();
}

// Before the look that precedes a sleep with a bell. Once it is marked, who sets it rings.
void Event::MarkAwaited( PollSet& rSet ) noexcept
{
    uint32_t uWord = CLEAR;
    if ( !m_ruWord.compare_exchange_strong( uWord, AWAITED ) && uWord == SET )
        rSet.LookAgain(); // if somebody else takes it the mark is missing
}

void Event::AddDescriptors( PollSet& rSet ) noexcept
{
    if ( m_pNamed != nullptr )
    {
        ObjectHeader& rHeader = m_pNamed->GetHeader();
        std::atomic_thread_fence( std::memory_order_seq_cst );
        if ( GetLockOwner( rHeader.aLock ) != 0 )
        {
            rHeader.uWatched = 1;
            AddLockOwner( rHeader.aLock, rSet );
        }
    }
    MarkAwaited( rSet );
    if ( m_pFeeders.load() == nullptr )
        return;
    const LockedScope aLocked( g_aFeedersLock );
    for ( const AttachedFeeder* pAttached = m_pFeeders; pAttached != nullptr; pAttached = pAttached->pNext )
        rSet.Add( pAttached->rFeeder.GetDescriptor() );
}

void Event::HandleClosed() noexcept
{
    if ( m_pNamed != nullptr )
        m_pNamed->HandleClosed();
}

// ---- the calls --------------------------------------------------------------------------------------------

namespace
{
class EventMaker final : public ObjectMaker
{
public:
    EventMaker( bool fManualReset, bool fSet ) noexcept : m_fManualReset( fManualReset ), m_fSet( fSet ) {}

    ObjectKind GetKind() const noexcept override { return KIND_EVENT; }
    KernelObject* MakeObject( std::unique_ptr<NamedObject> pNamed ) noexcept override
    {
        return new ( std::nothrow ) Event( std::move( pNamed ) );
    }
    bool Initialise( KernelObject& rObject ) noexcept override
    {
        static_cast<Event&>( rObject ).Initialise( m_fManualReset, m_fSet );
        return true;
    }

private:
    const bool m_fManualReset;
    const bool m_fSet;
};

template <void ( Event::*pChange )() noexcept>
BOOL ChangeEvent( HANDLE hEvent ) noexcept
{
    const HandleUse aUse( hEvent, KIND_EVENT, EVENT_MODIFY_STATE );
    if ( !aUse.IsGood() )
        return FALSE;
    ( aUse.GetObject<Event>()->*pChange )();
    return TRUE;
}
} // namespace

HANDLE CreateEventA( LPSECURITY_ATTRIBUTES, BOOL fManualReset, BOOL fInitialState, LPCSTR pName )
{
    const ObjectName aName( pName );
    if ( !aName.IsGood() )
        return nullptr;
    EventMaker aMaker( fManualReset != FALSE, fInitialState != FALSE );
    if ( !aName.IsEmpty() )
        return MakeNamedHandle( aName, aMaker, true, EVENT_ALL_ACCESS );
    return MakeUnnamedHandle( new ( std::nothrow ) Event( fManualReset != FALSE, fInitialState != FALSE ),
                              EVENT_ALL_ACCESS );
}

HANDLE OpenEventA( DWORD dwAccess, BOOL, LPCSTR pName )
{
    EventMaker aMaker( false, false );
    return OpenNamedHandle( pName, aMaker, dwAccess );
}

BOOL SetEvent( HANDLE hEvent )
{
    return ChangeEvent<&Event::Set>( hEvent );
}

BOOL ResetEvent( HANDLE hEvent )
{
    return ChangeEvent<&Event::Reset>( hEvent );
}
