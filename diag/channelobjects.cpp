#include "diag/channelobjects.h"

#include <bxtools/platform.h>

#include <algorithm>

namespace
{

constexpr char MUTEX_NAME[] = "CriticalSecGuard";
constexpr char START_WORK_NAME[] = "ClientFinishedDataWriting";
constexpr char ACK_DATA_READ_NAME[] = "ServerGoingToReadData";
// Ours, beside those three.
constexpr char GATE_NAME[] = "ClientWaitsForItsTurn";
constexpr char UNREAD_NAME[] = "ClientWaitsForServer";

// The mutex's owner may have died: it is ours then, too.
bool IsTaken( DWORD dwOutcome ) noexcept
{
    return dwOutcome == WAIT_OBJECT_0 || dwOutcome == WAIT_ABANDONED;
}

} // namespace

ChannelObjects::~ChannelObjects()
{
    const LastErrorGuard aLastError;
    if ( aMutex )
        ReleaseMutex( aMutex.Get() );
}

bool ChannelObjects::Make( bool fSender ) noexcept
{
    aMutex.Reset( fSender ? OpenMutexA( MUTEX_ALL_ACCESS, FALSE, MUTEX_NAME )
                          : CreateMutexA( NULL, FALSE, MUTEX_NAME ) );
    if ( aMutex )
        aStartWork.Reset( fSender ? OpenEventA( EVENT_MODIFY_STATE, TRUE, START_WORK_NAME )
                                  : CreateEventA( NULL, FALSE, FALSE, START_WORK_NAME ) );
    if ( aStartWork )
        aAckDataRead.Reset( CreateEventA( NULL, FALSE, FALSE, ACK_DATA_READ_NAME ) );
    if ( aAckDataRead )
        aGate.Reset( CreateMutexA( NULL, FALSE, GATE_NAME ) );
    if ( aGate )
        aUnread.Reset( CreateEventA( NULL, TRUE, FALSE, UNREAD_NAME ) );
    return static_cast<bool>( aUnread );
}

void ChannelObjects::ForgetLastVector() noexcept
{
    ResetEvent( aStartWork.Get() );
    ResetEvent( aUnread.Get() );
    ResetEvent( aAckDataRead.Get() );
}

void ChannelObjects::WakeForUnreadVector() noexcept
{
    if ( !IsTaken( WaitForSingleObject( aMutex.Get(), INFINITE ) ) )
        return;
    const DWORD dwGate = WaitForSingleObject( aGate.Get(), 0 );
    if ( dwGate == WAIT_TIMEOUT && WaitForSingleObject( aUnread.Get(), 0 ) == WAIT_OBJECT_0 )
        SetEvent( aStartWork.Get() );
    if ( IsTaken( dwGate ) )
        ReleaseMutex( aGate.Get() );
    ReleaseMutex( aMutex.Get() );
}

SenderTurn::SenderTurn( ChannelObjects& rObjects ) noexcept
    : m_rObjects( rObjects ),
      m_fMine( IsTaken( WaitForSingleObject( rObjects.aGate.Get(), INFINITE ) ) )
{
}

SenderTurn::~SenderTurn()
{
    if ( !m_fMine )
        return;
    ResetEvent( m_rObjects.aUnread.Get() );
    ReleaseMutex( m_rObjects.aGate.Get() );
}

ChannelMemory::~ChannelMemory()
{
    const LastErrorGuard aLastError;
    Release();
}

bool ChannelMemory::Make( LPCTSTR pName, bool fSender, ULONG ulBytes ) noexcept
{
    hMapping = CreateFileMappingA( INVALID_HANDLE_VALUE, NULL, PAGE_READWRITE | SEC_RESERVE, 0,
                                   std::max( ulBytes, CHANNEL_RESERVED_BYTES ), pName );
    if ( hMapping != NULL )
        pView = MapViewOfFile( hMapping, fSender ? FILE_MAP_WRITE : FILE_MAP_READ, 0, 0, ulBytes );
    return pView != NULL &&
           VirtualAlloc( pView, ulBytes, MEM_COMMIT, fSender ? PAGE_READWRITE : PAGE_READONLY ) != NULL;
}

BOOL ChannelMemory::Release() noexcept
{
    if ( pView != NULL && UnmapViewOfFile( pView ) )
        pView = NULL;
    if ( hMapping != NULL && CloseHandle( hMapping ) )
        hMapping = NULL;
    return pView == NULL && hMapping == NULL;
}
