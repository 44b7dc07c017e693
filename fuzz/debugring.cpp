// A ring of debug messages in any state: a viewer comes to an end, and tells of no more than there is.
#include "platform/debug/debugring.h"

#include "fuzz/require.h"
#include "platform/debug/debugringreader.h"
#include "platform/debug/debugringwriter.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <string>
#include <unistd.h>

namespace
{
// What is done to the ring is read from the fuzzer's bytes; behind their end stand zeros.
class Script
{
public:
    Script( const uint8_t* pBytes, size_t nBytes ) : m_pNext( pBytes ), m_nLeft( nBytes ) {}

    bool IsAtEnd() const { return m_nLeft == 0; }

    template <class T>
    T Take()
    {
        T aValue{};
        const size_t nTaken = std::min( sizeof( aValue ), m_nLeft );
        if ( nTaken != 0 )
            std::memcpy( &aValue, m_pNext, nTaken );
        m_pNext += nTaken;
        m_nLeft -= nTaken;
        return aValue;
    }

private:
    const uint8_t* m_pNext;
    size_t m_nLeft;
};

DebugRing& MapRing()
{
    DebugRingFile aIdentity;
    const int nFile = OpenDebugRingFile( aIdentity );
    DebugRing* const pRing = MapDebugRing( nFile, nullptr );
    Require( pRing != nullptr );
    close( nFile );
    return *pRing;
}

void Empty( DebugRing& rRing )
{
    rRing.nRetired = 0;
    rRing.ullNext = 0;
    rRing.nBell = 1;
    rRing.nAsleepAt = 0;
    std::memset( static_cast<void*>( rRing.aSlots ), 0, sizeof( rRing.aSlots ) );
}

// ---- what a script can do -----------------------------------------------------------------------------------------

void Write( DebugRing&, Script& rScript )
{
    WriteToDebugRing( std::string( rScript.Take<uint16_t>() % 2000, 'x' ) );
}

// As a writer that is killed right away.
void TakeNumbers( DebugRing& rRing, Script& rScript )
{
    rRing.ullNext += rScript.Take<uint8_t>();
}

void SetNext( DebugRing& rRing, Script& rScript )
{
    rRing.ullNext = rScript.Take<uint64_t>();
}

uint64_t RecentNumber( const DebugRing& rRing, Script& rScript )
{
    return rRing.ullNext - rScript.Take<uint8_t>();
}

void Damage( DebugRing& rRing, Script& rScript )
{
    auto* const pWords =
        reinterpret_cast<std::atomic<uint64_t>*>( &rRing.Slot( RecentNumber( rRing, rScript ) ) );
    pWords[rScript.Take<uint8_t>() % ( sizeof( DebugSlot ) / sizeof( uint64_t ) )] ^=
        rScript.Take<uint64_t>();
}

// A piece that says anything, with a checksum that fits.
void Forge( DebugRing& rRing, Script& rScript )
{
    const uint64_t ullNumber = RecentNumber( rRing, rScript );
    DebugPiece aPiece{};
    aPiece.nPiece = rScript.Take<uint16_t>();
    aPiece.nPieces = rScript.Take<uint16_t>();
    aPiece.nLength = rScript.Take<uint8_t>();
    aPiece.ullText = rScript.Take<uint64_t>();
    DebugSlot& rSlot = rRing.Slot( ullNumber );
    DebugCheck aCheck( ullNumber );
    const size_t nWords = ( aPiece.nLength + sizeof( uint64_t ) - 1 ) / sizeof( uint64_t );
    for ( size_t i = 0; i < std::min( nWords, DEBUG_TEXT_WORDS ); ++i )
        aCheck.Add( rSlot.aText[i] );
    for ( const uint64_t ullWord : std::bit_cast<std::array<uint64_t, DEBUG_HEAD_WORDS>>( aPiece ) )
        aCheck.Add( ullWord );
    aPiece.nCheck = aCheck.Value();
    const auto aWords = std::bit_cast<std::array<uint64_t, DEBUG_HEAD_WORDS>>( aPiece );
    std::copy( aWords.begin(), aWords.end(), rSlot.aHead );
    rSlot.ullState = DebugStatePublished( ullNumber );
}

void Retire( DebugRing& rRing, Script& )
{
    rRing.nRetired = 1;
}

constexpr void ( *STEPS[] )( DebugRing&, Script& ) = { Write, TakeNumbers, SetNext, Damage, Forge, Retire };

// ---- what a viewer makes of it --------------------------------------------------------------------------------------

// The pieces that were shown or counted.
uint64_t ReadAll( DebugRingReader& rReader )
{
    uint64_t ullPieces = 0;
    DebugRingMessage aMessage;
    for ( rReader.GiveUpUnwritten(); rReader.Next( aMessage ); rReader.GiveUpUnwritten() )
    {
        Require( aMessage.nPieces >= 1 && aMessage.nPieces <= DEBUG_MOST_PIECES );
        Require( aMessage.strText.size() <= aMessage.nPieces * DEBUG_PIECE_LENGTH );
        Require( aMessage.strProcess.size() <= sizeof( DebugPiece::szProcess ) );
        ullPieces += aMessage.nPieces;
    }
    return ullPieces + rReader.TakeMissed();
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput( const uint8_t* pBytes, size_t nBytes )
{
    static DebugRing& rRing = MapRing();
    Empty( rRing );
    DebugRingReader aWatcher( DebugRingReader::Start::Newest );
    for ( Script aScript( pBytes, nBytes ); !aScript.IsAtEnd(); )
        STEPS[aScript.Take<uint8_t>() % std::size( STEPS )]( rRing, aScript );
    const uint64_t ullNext = rRing.ullNext;
    DebugRingReader aLate( DebugRingReader::Start::Oldest );
    // The last message may reach beyond a number that was set back.
    constexpr uint64_t BEYOND = DEBUG_MOST_PIECES - 1;
    Require( ReadAll( aLate ) <= std::min( ullNext, uint64_t{ DEBUG_RING_SLOTS } ) + BEYOND );
    Require( ReadAll( aWatcher ) <= std::max( ullNext, ullNext + BEYOND ) );
    return 0;
}
