#include "platform/debug/debugringreader.h"

#include "platform/debug/debugring.h"
#include "platform/futex.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <ctime>
#include <linux/futex.h>
#include <string_view>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

namespace
{
constexpr ULONGLONG GRACE_MILLISECONDS = 250;

// Makes it known that somebody sleeps at this stroke of the bell, unless somebody does at a later one.
void AnnounceSleep( DebugRing& rRing, uint32_t nBell ) noexcept
{
    uint32_t nAsleepAt = rRing.nAsleepAt.load();
    // What stands there is older, or damage that lies ahead of the bell.
    while ( rRing.nBell.load() - nAsleepAt > rRing.nBell.load() - nBell &&
            !rRing.nAsleepAt.compare_exchange_weak( nAsleepAt, nBell ) )
    {
    }
}

void SleepAtBell( const DebugRing& rRing, uint32_t nBell, ULONGLONG ullMilliseconds ) noexcept
{
    const timespec aTime{ 0, static_cast<long>( ullMilliseconds ) * 1000000 };
    syscall( SYS_futex, &rRing.nBell, FUTEX_WAIT, nBell, ullMilliseconds != 0 ? &aTime : nullptr, nullptr,
             0 );
}

bool IsSane( const DebugPiece& rPiece ) noexcept
{
    return rPiece.nLength <= DEBUG_PIECE_LENGTH && rPiece.nPieces >= 1 &&
           rPiece.nPieces <= DEBUG_MOST_PIECES && rPiece.nPiece < rPiece.nPieces;
}
} // namespace

DebugRingReader::DebugRingReader( Start eStart )
{
    if ( !Open() )
        return;
    const uint64_t ullNext = m_pRing->ullNext.load( std::memory_order_acquire );
    m_ullPosition = eStart == Start::Newest ? ullNext : ullNext - std::min( ullNext, DEBUG_RING_SLOTS );
}

DebugRingReader::~DebugRingReader()
{
    if ( m_pRing != nullptr )
        munmap( m_pRing, sizeof( DebugRing ) );
}

bool DebugRingReader::Open()
{
    const int nFile = OpenDebugRingFile( m_aFile );
    if ( nFile < 0 )
        return false;
    DebugRing* const pRing = MapDebugRing( nFile, nullptr );
    close( nFile );
    if ( pRing == nullptr )
        return false;
    if ( m_pRing != nullptr )
    {
        m_ullMissed += std::min( m_pRing->ullNext.load() - m_ullPosition, uint64_t{ DEBUG_RING_SLOTS } );
        munmap( m_pRing, sizeof( DebugRing ) );
    }
    m_pRing = pRing;
    m_ullPosition = 0;
    return true;
}

uint64_t DebugRingReader::TakeMissed()
{
    const uint64_t ullMissed = m_ullMissed;
    m_ullMissed = 0;
    return ullMissed;
}

void DebugRingReader::Skip( uint64_t ullPieces )
{
    m_ullMissed += ullPieces;
    m_ullPosition += ullPieces;
}

// False: the number was not published, or not any more, or its bytes are damaged.
bool DebugRingReader::CopyPiece( uint64_t ullNumber, DebugPiece& rPiece, char* pText ) const
{
    const DebugSlot& rSlot = m_pRing->Slot( ullNumber );
    const uint64_t ullPublished = DebugStatePublished( ullNumber );
    if ( rSlot.ullState.load( std::memory_order_acquire ) != ullPublished )
        return false;
    std::array<uint64_t, DEBUG_HEAD_WORDS> aHead;
    std::array<uint64_t, DEBUG_TEXT_WORDS> aText;
    std::transform( std::begin( rSlot.aHead ), std::end( rSlot.aHead ), aHead.begin(),
                    []( const auto& rWord ) { return rWord.load( std::memory_order_acquire ); } );
    std::transform( std::begin( rSlot.aText ), std::end( rSlot.aText ), aText.begin(),
                    []( const auto& rWord ) { return rWord.load( std::memory_order_acquire ); } );
    if ( rSlot.ullState.load( std::memory_order_relaxed ) != ullPublished )
        return false;

    rPiece = std::bit_cast<DebugPiece>( aHead );
    if ( !IsSane( rPiece ) )
        return false;
    const uint32_t nWritten = std::exchange( rPiece.nCheck, 0 );
    DebugCheck aCheck( ullNumber );
    const size_t nWords = ( rPiece.nLength + sizeof( uint64_t ) - 1 ) / sizeof( uint64_t );
    for ( size_t i = 0; i < nWords; ++i )
        aCheck.Add( aText[i] );
    for ( const uint64_t ullWord : std::bit_cast<std::array<uint64_t, DEBUG_HEAD_WORDS>>( rPiece ) )
        aCheck.Add( ullWord );
    std::memcpy( pText, aText.data(), rPiece.nLength );
    return aCheck.Value() == nWritten;
}

// The pieces behind the first one; they were published before it.
bool DebugRingReader::AppendPieces( const DebugPiece& rFirst, DebugRingMessage& rMessage ) const
{
    for ( uint32_t i = 1; i < rFirst.nPieces; ++i )
    {
        DebugPiece aPiece;
        char szText[DEBUG_PIECE_LENGTH];
        if ( !CopyPiece( m_ullPosition + i, aPiece, szText ) || aPiece.nPiece != i ||
             aPiece.nPieces != rFirst.nPieces || aPiece.dwThread != rFirst.dwThread )
            return false;
        rMessage.strText.append( szText, aPiece.nLength );
    }
    return true;
}

// The first message behind the position that has been written; ullNext if there is none.
uint64_t DebugRingReader::FindWritten( uint64_t ullNext ) const
{
    // Further behind, nothing is what it was; nor does a damaged number keep us counting.
    if ( ullNext > m_ullPosition && ullNext - m_ullPosition > DEBUG_RING_SLOTS )
        return m_ullPosition;
    uint64_t ullNumber = m_ullPosition + 1;
    while ( ullNumber < ullNext &&
            m_pRing->Slot( ullNumber ).ullState.load() != DebugStatePublished( ullNumber ) )
        ++ullNumber;
    return ullNumber;
}

bool DebugRingReader::IsOvertaken( uint64_t ullNext ) const
{
    return FindWritten( ullNext ) < ullNext;
}

DebugRingReader::Look DebugRingReader::SkipUnwritten( uint64_t ullNext )
{
    const uint64_t ullWritten = m_fGiveUp ? FindWritten( ullNext ) : ullNext;
    if ( ullWritten >= ullNext )
        return Look::Nothing;
    while ( m_ullPosition < ullWritten && !IsReadable() )
        Skip( 1 );
    return Look::Skipped;
}

bool DebugRingReader::IsReadable() const
{
    // Also what is newer than expected, or damaged: it has to be looked at.
    return m_pRing->Slot( m_ullPosition ).ullState.load() > DebugStateClaimed( m_ullPosition );
}

DebugRingReader::Look DebugRingReader::LookAtPosition( DebugRingMessage& rMessage )
{
    const uint64_t ullNext = m_pRing->ullNext.load( std::memory_order_acquire );
    if ( m_ullPosition >= ullNext )
    {
        m_ullPosition = ullNext; // which lies behind when it was damaged
        return Look::Nothing;
    }
    if ( ullNext - m_ullPosition > DEBUG_RING_SLOTS )
        Skip( ullNext - DEBUG_RING_SLOTS - m_ullPosition );
    if ( !IsReadable() )
        return SkipUnwritten( ullNext );
    DebugPiece aPiece;
    char szText[DEBUG_PIECE_LENGTH];
    if ( !CopyPiece( m_ullPosition, aPiece, szText ) || aPiece.nPiece != 0 )
    {
        Skip( 1 );
        return Look::Skipped;
    }
    rMessage.strText.assign( szText, aPiece.nLength );
    if ( !AppendPieces( aPiece, rMessage ) )
    {
        // Not beyond what has been written, whatever the piece says.
        Skip( std::min( uint64_t{ aPiece.nPieces }, ullNext - m_ullPosition ) );
        return Look::Skipped;
    }
    rMessage.ullTime = aPiece.ullTime;
    rMessage.dwProcess = aPiece.dwProcess;
    rMessage.dwThread = aPiece.dwThread;
    rMessage.nPieces = aPiece.nPieces;
    rMessage.ullLength = aPiece.ullText;
    rMessage.strProcess.assign( aPiece.szProcess, strnlen( aPiece.szProcess, sizeof( aPiece.szProcess ) ) );
    m_ullPosition += aPiece.nPieces;
    return Look::Message;
}

// Whether another file has taken the ring's place.
bool DebugRingReader::IsRetired() const
{
    return m_pRing->nRetired.load() != 0 && !IsDebugRingFile( m_aFile );
}

bool DebugRingReader::Next( DebugRingMessage& rMessage )
{
    Look eLook = Look::Skipped;
    // Not endlessly, should somebody keep a damaged ring turning.
    for ( size_t i = 0; i < DEBUG_RING_SLOTS && eLook == Look::Skipped; ++i )
    {
        eLook = LookAtPosition( rMessage );
        if ( eLook == Look::Nothing && IsRetired() && Open() )
            eLook = Look::Skipped;
    }
    m_fGiveUp = false;
    return eLook == Look::Message;
}

void DebugRingReader::Wait()
{
    const uint32_t nBell = m_pRing->nBell.load();
    AnnounceSleep( *m_pRing, nBell );
    const uint64_t ullNext = m_pRing->ullNext.load();
    if ( m_ullPosition != ullNext && IsReadable() )
        return;
    if ( IsRetired() )
    {
        // The new ring could not be had, or came just now: it is looked for again before long.
        SleepAtBell( *m_pRing, nBell, GRACE_MILLISECONDS );
        return;
    }
    if ( !IsOvertaken( ullNext ) )
    {
        SleepAtBell( *m_pRing, nBell, 0 );
        return;
    }
    const ULONGLONG ullNow = GetMonotonicMilliseconds();
    if ( m_ullGap != m_ullPosition )
    {
        m_ullGap = m_ullPosition;
        m_ullGapSeen = ullNow;
    }
    const ULONGLONG ullPassed = ullNow - m_ullGapSeen;
    m_fGiveUp = ullPassed >= GRACE_MILLISECONDS;
    if ( !m_fGiveUp )
        SleepAtBell( *m_pRing, nBell, GRACE_MILLISECONDS - ullPassed );
}
