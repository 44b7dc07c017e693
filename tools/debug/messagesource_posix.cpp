#include "platform/debug/debugringreader.h"
#include "tools/debug/messagesource.h"
#include "tools/toolfailure.h"

struct MessageSource::State
{
    DebugRingReader aReader;
    bool fKept;
    uint64_t ullPieces = 0; // of the messages that were seen
};

MessageSource::MessageSource( bool fKept )
    : m_pState( new State{
          DebugRingReader( fKept ? DebugRingReader::Start::Oldest : DebugRingReader::Start::Newest ),
          fKept } )
{
    if ( !m_pState->aReader.IsOpen() )
        throw ToolFailure( ExitCode::Input, "there is no ring of messages: its folder is refused or full" );
}

MessageSource::~MessageSource() = default;

bool MessageSource::Next( SeenMessage& rMessage )
{
    if ( m_pState->fKept )
    {
        // Of what comes meanwhile a ring's worth at most: the writers may be as fast as we are.
        if ( m_pState->ullPieces >= DEBUG_RING_SLOTS )
            return false;
        m_pState->aReader.GiveUpUnwritten();
    }
    DebugRingMessage aMessage;
    if ( !m_pState->aReader.Next( aMessage ) )
        return false;
    m_pState->ullPieces += aMessage.nPieces;
    constexpr uint64_t NANOSECONDS = 1000;
    rMessage.nMicroseconds = static_cast<int64_t>( aMessage.ullTime / NANOSECONDS );
    rMessage.dwProcess = aMessage.dwProcess;
    rMessage.dwThread = aMessage.dwThread;
    rMessage.aProcess = std::move( aMessage.strProcess );
    rMessage.nLost = aMessage.ullLength - std::min( aMessage.ullLength, uint64_t{ aMessage.strText.size() } );
    rMessage.aText = std::move( aMessage.strText );
    return true;
}

void MessageSource::Wait()
{
    m_pState->aReader.Wait();
}

uint64_t MessageSource::TakeMissed()
{
    return m_pState->aReader.TakeMissed();
}

std::string KeptPartOfName( const std::string& aProcess )
{
    return aProcess.substr( 0, sizeof( DebugPiece::szProcess ) );
}
