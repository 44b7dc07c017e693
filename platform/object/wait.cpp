// Waits on one object sleep in the object; waits on several are here.

#include "platform/object/bell.h"
#include "platform/object/handletable.h"
#include "platform/object/spinwait.h"
#include "platform/object/waitable.h"
#include "platform/thread/messagequeue.h"

#include <bxtools/platform.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <functional>
#include <optional>
#include <span>

namespace
{
// What became of a wait. The index is that of the object taken, of a wait on all always 0.
struct WaitOutcome
{
    Taking eTaking;
    DWORD dwIndex;
};

DWORD ToResult( const WaitOutcome& rOutcome ) noexcept
{
    switch ( rOutcome.eTaking )
    {
    case Taking::Taken: return WAIT_OBJECT_0 + rOutcome.dwIndex;
    case Taking::Abandoned: return WAIT_ABANDONED_0 + rOutcome.dwIndex;
    case Taking::NotReady: return WAIT_TIMEOUT;
    case Taking::Failed: break;
    }
    return WAIT_FAILED;
}

bool IsTaken( Taking eTaking ) noexcept
{
    return eTaking == Taking::Taken || eTaking == Taking::Abandoned;
}

// A wait that does not fail keeps errno and the last error, whatever happened on its way.
class ErrorsKept
{
public:
    ErrorsKept() noexcept : m_nErrno( errno ), m_dwLastError( GetLastError() ) {}
    ErrorsKept( const ErrorsKept& ) = delete;
    ErrorsKept& operator=( const ErrorsKept& ) = delete;

    DWORD After( const WaitOutcome& rOutcome ) const noexcept
    {
        errno = m_nErrno;
        if ( rOutcome.eTaking != Taking::Failed )
            SetLastError( m_dwLastError );
        return ToResult( rOutcome );
    }

private:
    const int m_nErrno;
    const DWORD m_dwLastError;
};

using Waitables = std::span<WaitableObject* const>;

// The objects of one wait, kept alive until its end.
class WaitedObjects
{
public:
    // False: the last error says why.
    bool Find( DWORD dwCount, const HANDLE* pHandles ) noexcept
    {
        for ( ; m_dwCount < dwCount; ++m_dwCount )
        {
            const HandleUse& rUse =
                m_aUses[m_dwCount].emplace( pHandles[m_dwCount], DWORD( KINDS_OF_WAITS ), SYNCHRONIZE );
            if ( !rUse.IsGood() )
                return false;
            m_apObjects[m_dwCount] = rUse.GetObject<WaitableObject>();
        }
        return true;
    }

    // One without a handle.
    void Add( WaitableObject& rObject ) noexcept { m_apObjects[m_dwCount++] = &rObject; }

    Waitables All() const noexcept { return { m_apObjects.data(), m_dwCount }; }

    // Two handles of one object count as well.
    bool AnyTwice() const noexcept
    {
        auto apSorted = m_apObjects;
        const auto pEnd = apSorted.begin() + m_dwCount;
        std::sort( apSorted.begin(), pEnd, std::less<>() );
        return std::adjacent_find( apSorted.begin(), pEnd ) != pEnd;
    }

private:
    DWORD m_dwCount = 0;
    std::array<std::optional<HandleUse>, MAXIMUM_WAIT_OBJECTS> m_aUses;
    std::array<WaitableObject*, MAXIMUM_WAIT_OBJECTS> m_apObjects;
};

// ---- one of several ---------------------------------------------------------------------------------------

// The thread's bell in all objects, for a scope.
class BellsHung final : private Holding
{
public:
    BellsHung( Bell& rBell, Waitables aObjects ) noexcept : m_rBell( rBell ), m_aObjects( aObjects )
    {
        while ( m_dwHung < aObjects.size() && aObjects[m_dwHung]->AddBell( rBell ) )
            ++m_dwHung;
    }
    ~BellsHung() { GiveBack(); }
    BellsHung( const BellsHung& ) = delete;
    BellsHung& operator=( const BellsHung& ) = delete;

    bool AreAll() const noexcept { return m_dwHung == m_aObjects.size(); }

private:
    void GiveBack() noexcept override
    {
        const DWORD dwSavedError = GetLastError();
        while ( m_dwHung > 0 )
            m_aObjects[--m_dwHung]->RemoveBell( m_rBell );
        SetLastError( dwSavedError );
    }

    Bell& m_rBell;
    const Waitables m_aObjects;
    DWORD m_dwHung = 0;
};

WaitOutcome TakeFirst( Waitables aObjects ) noexcept
{
    for ( DWORD i = 0; i < aObjects.size(); ++i )
    {
        const Taking eTaking = aObjects[i]->TryTake();
        if ( eTaking != Taking::NotReady )
            return { eTaking, i };
    }
    return { Taking::NotReady, 0 };
}

// fWindows  the thread's windows go on living meanwhile. What their events wait for takes this thread's bell, so that all is
//           looked at again after them.
WaitOutcome SleepForAny( Waitables aObjects, const WaitLimit& rLimit, bool fWindows ) noexcept
{
    Bell* const pBell = Bell::OfThread();
    if ( pBell == nullptr )
        return { Taking::Failed, 0 };
    const BellsHung aHung( *pBell, aObjects );
    if ( !aHung.AreAll() )
        return { Taking::Failed, 0 };
    PollSet aSet;
    for ( ;; )
    {
        pBell->Drain();
        aSet.Clear();
        pBell->AddDescriptors( aSet );
        for ( WaitableObject* const pObject : aObjects )
            pObject->AddDescriptors( aSet );
        const WaitOutcome aOutcome = TakeFirst( aObjects );
        if ( aOutcome.eTaking != Taking::NotReady || rLimit.IsOver() )
            return aOutcome;
        if ( !( fWindows ? aSet.SleepWithWindows( rLimit ) : aSet.Sleep( rLimit ) ) )
            return { Taking::Failed, 0 };
    }
}

WaitOutcome WaitForAny( Waitables aObjects, DWORD dwMilliseconds, bool fWindows ) noexcept
{
    const WaitOutcome aOutcome = TakeFirst( aObjects );
    if ( aOutcome.eTaking != Taking::NotReady || dwMilliseconds == 0 )
        return aOutcome;
    return SleepForAny( aObjects, WaitLimit( dwMilliseconds ), fWindows );
}

// ---- all of several ---------------------------------------------------------------------------------------

// What a wait on all has taken so far; put back unless it is kept.
class AllTaken
{
public:
    explicit AllTaken( Waitables aObjects ) noexcept : m_aObjects( aObjects )
    {
        m_aeTaken.fill( Taking::NotReady );
    }
    ~AllTaken() { PutBack(); }
    AllTaken( const AllTaken& ) = delete;
    AllTaken& operator=( const AllTaken& ) = delete;

    void Note( DWORD dwIndex, Taking eTaking ) noexcept { m_aeTaken[dwIndex] = eTaking; }

    // Tries those that are not taken yet. One that is not ready: everything is put back, and it is named.
    //   fLinger  it is looked at a few times before that.
    //
    // Mutexes last: what others want to enter is not to be taken in vain.
    WaitOutcome TryRest( bool fLinger ) noexcept
    {
        for ( const bool fMutexes : { false, true } )
        {
            for ( DWORD i = 0; i < m_aObjects.size(); ++i )
            {
                if ( ( m_aObjects[i]->GetKind() == KIND_MUTEX ) != fMutexes || IsTaken( m_aeTaken[i] ) )
                    continue;
                m_aeTaken[i] = TryOne( *m_aObjects[i], fLinger && fMutexes );
                if ( IsTaken( m_aeTaken[i] ) )
                    continue;
                const Taking eTaking = m_aeTaken[i];
                PutBack();
                return { eTaking, i };
            }
        }
        return Keep();
    }

private:
    // Who set the event that has ended the sleep often still has the mutex, and gives it back at once.
    static Taking TryOne( WaitableObject& rObject, bool fLinger ) noexcept
    {
        constexpr int LOOKS = 16;
        constexpr int PAUSES_BY_LOOK = 4;
        Taking eTaking = rObject.TryTake();
        for ( int i = 0; fLinger && eTaking == Taking::NotReady && i < LOOKS; ++i )
        {
            for ( int j = 0; j < PAUSES_BY_LOOK; ++j )
                SpinWait::Pause();
            eTaking = rObject.TryTake();
        }
        return eTaking;
    }

    void PutBack() noexcept
    {
        const DWORD dwSavedError = GetLastError();
        for ( DWORD i = 0; i < m_aObjects.size(); ++i )
        {
            if ( IsTaken( m_aeTaken[i] ) )
                m_aObjects[i]->PutBack( m_aeTaken[i] );
            m_aeTaken[i] = Taking::NotReady;
        }
        SetLastError( dwSavedError );
    }

    WaitOutcome Keep() noexcept
    {
        const auto pEnd = m_aeTaken.begin() + m_aObjects.size();
        const bool fAbandoned = std::find( m_aeTaken.begin(), pEnd, Taking::Abandoned ) != pEnd;
        m_aeTaken.fill( Taking::NotReady );
        return { fAbandoned ? Taking::Abandoned : Taking::Taken, 0 };
    }

    const Waitables m_aObjects;
    std::array<Taking, MAXIMUM_WAIT_OBJECTS> m_aeTaken;
};

// Sleeps on one object that is not ready, holding nothing; then tries the others at once.
WaitOutcome WaitForAll( Waitables aObjects, DWORD dwMilliseconds ) noexcept
{
    AllTaken aTaken( aObjects );
    WaitOutcome aOutcome = aTaken.TryRest( false );
    if ( aOutcome.eTaking != Taking::NotReady || dwMilliseconds == 0 )
        return aOutcome;
    const WaitLimit aLimit( dwMilliseconds );
    while ( aOutcome.eTaking == Taking::NotReady && !aLimit.IsOver() )
    {
        const Taking eSlept = aObjects[aOutcome.dwIndex]->WaitAndTake( aLimit );
        if ( !IsTaken( eSlept ) )
            return { eSlept, 0 };
        aTaken.Note( aOutcome.dwIndex, eSlept );
        aOutcome = aTaken.TryRest( true );
    }
    return aOutcome;
}

// pQueue    the calling thread's, waited for behind the objects; may be null.
// fWindows  of a wait for one: see SleepForAny.
DWORD WaitForSeveral( DWORD dwCount, const HANDLE* pHandles, MessageQueue* pQueue, BOOL fWaitAll,
                      DWORD dwMilliseconds, bool fWindows ) noexcept
{
    const SleepingCall aCall;
    const ErrorsKept aKept;
    WaitedObjects aObjects;
    if ( !aObjects.Find( dwCount, pHandles ) )
        return WAIT_FAILED;
    if ( fWaitAll && aObjects.AnyTwice() )
    {
        SetLastError( ERROR_INVALID_PARAMETER );
        return WAIT_FAILED;
    }
    if ( pQueue != nullptr )
        aObjects.Add( *pQueue );
    return aKept.After( fWaitAll ? WaitForAll( aObjects.All(), dwMilliseconds )
                                 : WaitForAny( aObjects.All(), dwMilliseconds, fWindows ) );
}
} // namespace

Taking PollAndTake( WaitableObject& rObject, const WaitLimit& rLimit ) noexcept
{
    WaitableObject* const pObject = &rObject;
    return SleepForAny( { &pObject, 1 }, rLimit, false ).eTaking;
}

DWORD WaitForSingleObject( HANDLE hObject, DWORD dwMilliseconds )
{
    const SleepingCall aCall;
    const HandleUse aUse( hObject, KINDS_OF_WAITS, SYNCHRONIZE );
    if ( !aUse.IsGood() )
        return WAIT_FAILED;
    const ErrorsKept aKept;
    WaitableObject* const pObject = aUse.GetObject<WaitableObject>();
    Taking eTaking = pObject->TryTake();
    if ( eTaking == Taking::NotReady && dwMilliseconds != 0 )
        eTaking = pObject->WaitAndTake( WaitLimit( dwMilliseconds ) );
    return aKept.After( { eTaking, 0 } );
}

DWORD WaitForMultipleObjects( DWORD dwCount, const HANDLE* pHandles, BOOL fWaitAll, DWORD dwMilliseconds )
{
    if ( dwCount == 0 || dwCount > MAXIMUM_WAIT_OBJECTS || pHandles == nullptr )
    {
        SetLastError( ERROR_INVALID_PARAMETER );
        return WAIT_FAILED;
    }
    return WaitForSeveral( dwCount, pHandles, nullptr, fWaitAll, dwMilliseconds, false );
}

DWORD MsgWaitForMultipleObjects( DWORD dwCount, const HANDLE* pHandles, BOOL fWaitAll, DWORD dwMilliseconds,
                                 DWORD dwWakeMask )
{
    if ( dwCount >= MAXIMUM_WAIT_OBJECTS || ( dwCount > 0 && pHandles == nullptr ) )
    {
        SetLastError( ERROR_INVALID_PARAMETER );
        return WAIT_FAILED;
    }
    MessageQueue* const pQueue = MessageQueue::OfThread();
    if ( pQueue == nullptr )
        return WAIT_FAILED;
    pQueue->SetWakeMask( dwWakeMask );
    const bool fWindows = ( dwWakeMask & ~DWORD( QS_POSTMESSAGE ) ) != 0;
    return WaitForSeveral( dwCount, pHandles, pQueue, fWaitAll, dwMilliseconds, fWindows );
}
