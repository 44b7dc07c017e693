// A vector of one block to another process, and its acknowledgement back; wall time of both. The receiver has the bytes in a buffer of
// its own when it acknowledges. 64B, 64KB and 1MB: one right after the other, wherever the system puts the two processes.
// asleep: 64 bytes, each a while after the last acknowledgement, when the receiver has long gone to sleep.
#include "measure.h"
#include "processes.h"

#include <bxtools/channel.h>
#include <bxtools/platform.h>

#include <boost/interprocess/ipc/message_queue.hpp>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <linux/futex.h>
#include <memory>
#include <mqueue.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

using Bytes = std::vector<char>;

// The other side of a peer's link is the same object in a copy of the process.
class Link
{
public:
    virtual ~Link() = default;
    virtual bool Send( const Bytes& rBytes ) = 0; // and waits for the acknowledgement
    virtual bool Receive( Bytes& rBytes ) = 0;    // and acknowledges
};

// ---- descriptors ------------------------------------------------------------------------------------------

class StreamLink : public Link
{
public:
    StreamLink( const StreamLink& ) = delete;
    StreamLink& operator=( const StreamLink& ) = delete;
    ~StreamLink() override
    {
        for ( const int nDescriptor : m_anDescriptors )
            close( nDescriptor );
    }
    bool Send( const Bytes& rBytes ) override
    {
        size_t nDone = 0;
        while ( nDone < rBytes.size() )
        {
            const ssize_t nPart = write( m_anDescriptors[1], rBytes.data() + nDone, rBytes.size() - nDone );
            if ( nPart <= 0 )
                return false;
            nDone += static_cast<size_t>( nPart );
        }
        char cAnswer = 0;
        return read( m_anDescriptors[2], &cAnswer, 1 ) == 1;
    }
    bool Receive( Bytes& rBytes ) override
    {
        size_t nDone = 0;
        while ( nDone < rBytes.size() )
        {
            const ssize_t nPart = read( m_anDescriptors[0], rBytes.data() + nDone, rBytes.size() - nDone );
            if ( nPart <= 0 )
                return false;
            nDone += static_cast<size_t>( nPart );
        }
        return write( m_anDescriptors[3], "", 1 ) == 1;
    }

protected:
    StreamLink() = default;
    int m_anDescriptors[4]{ -1, -1, -1, -1 }; // bytes: read, write; answers: read, write
};

struct PipeLink final : StreamLink
{
    explicit PipeLink( size_t )
    {
        CheckAnswer( "pipe", Written( pipe( m_anDescriptors ) + pipe( m_anDescriptors + 2 ) ), "0" );
    }
};

struct SocketLink final : StreamLink
{
    explicit SocketLink( size_t )
    {
        CheckAnswer( "socketpair", Written( socketpair( AF_UNIX, SOCK_STREAM, 0, m_anDescriptors ) ), "0" );
        m_anDescriptors[2] = dup( m_anDescriptors[1] );
        m_anDescriptors[3] = dup( m_anDescriptors[0] );
    }
};

// ---- shared memory ----------------------------------------------------------------------------------------

class MemoryLink : public Link
{
public:
    bool Send( const Bytes& rBytes ) override
    {
        std::memcpy( m_pBytes, rBytes.data(), rBytes.size() );
        return Signal( 0 ) && Await( 1 );
    }
    bool Receive( Bytes& rBytes ) override
    {
        if ( !Await( 0 ) )
            return false;
        std::memcpy( rBytes.data(), m_pBytes, rBytes.size() );
        return Signal( 1 );
    }

protected:
    explicit MemoryLink( size_t nBytes ) : m_pBytes( static_cast<char*>( MakeSharedMemory( nBytes ) ) ) {}
    virtual bool Signal( int nWhich ) = 0;
    virtual bool Await( int nWhich ) = 0;

private:
    char* const m_pBytes;
};

struct EventLink final : MemoryLink
{
    explicit EventLink( size_t nBytes ) : MemoryLink( nBytes ) {}
    bool Signal( int nWhich ) override { return eventfd_write( anEvents[nWhich], 1 ) == 0; }
    bool Await( int nWhich ) override
    {
        eventfd_t ullValue = 0;
        return eventfd_read( anEvents[nWhich], &ullValue ) == 0;
    }
    const int anEvents[2]{ eventfd( 0, EFD_CLOEXEC ), eventfd( 0, EFD_CLOEXEC ) };
};

struct FutexLink final : MemoryLink
{
    explicit FutexLink( size_t nBytes ) : MemoryLink( nBytes ) {}
    bool Signal( int nWhich ) override
    {
        __atomic_store_n( pWords + nWhich, 1, __ATOMIC_SEQ_CST );
        return syscall( SYS_futex, pWords + nWhich, FUTEX_WAKE, 1, NULL, NULL, 0 ) >= 0;
    }
    bool Await( int nWhich ) override
    {
        while ( __atomic_exchange_n( pWords + nWhich, 0, __ATOMIC_SEQ_CST ) == 0 )
            syscall( SYS_futex, pWords + nWhich, FUTEX_WAIT, 0, NULL, NULL, 0 );
        return true;
    }
    uint32_t* const pWords = static_cast<uint32_t*>( MakeSharedMemory( 2 * sizeof( uint32_t ) ) );
};

// ---- queues -----------------------------------------------------------------------------------------------

static std::string QueueName( const char* pWhat )
{
    static int nQueues = 0;
    return std::string( "bxbench-" ) + pWhat + "-" + std::to_string( getpid() ) + "-" +
           std::to_string( nQueues++ );
}

class PosixQueueLink final : public Link
{
public:
    explicit PosixQueueLink( size_t nBytes ) : m_nThere( Open( nBytes ) ), m_nBack( Open( nBytes ) ) {}
    bool Send( const Bytes& rBytes ) override
    {
        Bytes aAnswer( rBytes.size() );
        return mq_send( m_nThere, rBytes.data(), rBytes.size(), 0 ) == 0 &&
               mq_receive( m_nBack, aAnswer.data(), aAnswer.size(), NULL ) == 1;
    }
    bool Receive( Bytes& rBytes ) override
    {
        return mq_receive( m_nThere, rBytes.data(), rBytes.size(), NULL ) > 0 &&
               mq_send( m_nBack, "", 1, 0 ) == 0;
    }

private:
    static mqd_t Open( size_t nBytes )
    {
        const std::string strName = "/" + QueueName( "queue" );
        mq_attr aAttributes{};
        aAttributes.mq_maxmsg = 1;
        aAttributes.mq_msgsize = static_cast<long>( nBytes );
        const mqd_t nQueue = mq_open( strName.c_str(), O_RDWR | O_CREAT, 0600, &aAttributes );
        mq_unlink( strName.c_str() );
        return nQueue;
    }
    const mqd_t m_nThere;
    const mqd_t m_nBack;
};

class BoostLink final : public Link
{
public:
    explicit BoostLink( size_t nBytes ) : m_aThere( m_strThere, nBytes ), m_aBack( m_strBack, 1 ) {}
    bool Send( const Bytes& rBytes ) override
    {
        m_aThere.aQueue.send( rBytes.data(), rBytes.size(), 0 );
        char cAnswer = 0;
        return Take( m_aBack, &cAnswer, 1 );
    }
    bool Receive( Bytes& rBytes ) override
    {
        const bool fTaken = Take( m_aThere, rBytes.data(), rBytes.size() );
        m_aBack.aQueue.send( "", 1, 0 );
        return fTaken;
    }

private:
    struct Queue
    {
        Queue( const std::string& strName, size_t nBytes )
            : aQueue( boost::interprocess::create_only, strName.c_str(), 1, nBytes )
        {
            boost::interprocess::message_queue::remove( strName.c_str() );
        }
        boost::interprocess::message_queue aQueue;
    };
    static bool Take( Queue& rQueue, char* pBytes, size_t nBytes )
    {
        boost::interprocess::message_queue::size_type nTaken = 0;
        unsigned unPriority = 0;
        rQueue.aQueue.receive( pBytes, nBytes, nTaken, unPriority );
        return nTaken == nBytes;
    }
    const std::string m_strThere = QueueName( "there" );
    const std::string m_strBack = QueueName( "back" );
    Queue m_aThere;
    Queue m_aBack;
};

// ---- the measurements -------------------------------------------------------------------------------------

static constexpr char LAST = 'L'; // first byte of the last vector

// One side's part of a run; Exchange is called once for each vector by the sender, and by a peer's receiver.
using Exchange = std::function<bool( Bytes& rBytes )>;

static bool SendAll( const Exchange& aSend, long lVectors, size_t nBytes )
{
    Bytes aBytes( nBytes, 'v' );
    bool fRight = true;
    for ( long i = 1; i <= lVectors; ++i )
    {
        if ( i == lVectors )
            aBytes.front() = aBytes.back() = LAST;
        fRight &= aSend( aBytes );
    }
    return fRight;
}

static bool PlayPeer( Link& rLink, bool fReceives, const Exchange& aSend, long lVectors, size_t nBytes )
{
    if ( !fReceives )
        return SendAll( aSend, lVectors, nBytes );
    Bytes aBytes( nBytes );
    bool fRight = true;
    for ( long i = 0; i < lVectors; ++i )
        fRight &= rLink.Receive( aBytes );
    return fRight && aBytes.front() == LAST && aBytes.back() == LAST;
}

struct ExtraData
{
    ChannelBuffer* pChannel;
    Bytes* pBytes;
};

static int DLL_EXPORT TakeVector( DATAELEM* pDataVec, ULONG, ExtraData* pExtraData )
{
    std::memcpy( pExtraData->pBytes->data(), pDataVec[0].pData, pDataVec[0].ulLength );
    if ( pExtraData->pBytes->front() == LAST )
        pExtraData->pChannel->StopWaitingForData();
    return 1;
}

static constexpr char CHANNEL_NAME[] = "bxbench channel";

static bool ReceiveChannel( size_t nBytes )
{
    Bytes aBytes( nBytes );
    ChannelBuffer aReceiver;
    ExtraData aData{ &aReceiver, &aBytes };
    aReceiver.Init( CHANNEL_NAME, 0, 0, &TakeVector, &aData );
    return aReceiver.ReceiverWaitsForData() && aBytes.back() == LAST;
}

static bool SendChannel( ChannelBuffer& rSender, Bytes& rBytes )
{
    DATAELEM aVector{ rBytes.data(), static_cast<ULONG>( rBytes.size() ) };
    return rSender.SenderWritesData( &aVector, 1 ) != FALSE;
}

// A sender that comes before its receiver fails.
static void AwaitReceiver()
{
    for ( HANDLE hMapping = NULL; hMapping == NULL; )
    {
        hMapping = OpenFileMappingA( FILE_MAP_READ, FALSE, CHANNEL_NAME );
        CloseHandle( hMapping );
        Sleep( 0 );
    }
}

// A sender's exchange that waits for the receiver to sleep, and adds what the exchange itself took.
static Exchange Pausing( const Exchange& aSend, double* pSeconds )
{
    if ( pSeconds == NULL )
        return aSend;
    return [=]( Bytes& rBytes )
    {
        usleep( 300 );
        const auto aBefore = std::chrono::steady_clock::now();
        const bool fRight = aSend( rBytes );
        *pSeconds += std::chrono::duration<double>( std::chrono::steady_clock::now() - aBefore ).count();
        return fRight;
    };
}

static bool PlayChannel( bool fReceives, double* pSeconds, long lVectors, size_t nBytes )
{
    if ( fReceives )
        return ReceiveChannel( nBytes );
    AwaitReceiver();
    ChannelBuffer aSender;
    aSender.Init( CHANNEL_NAME, 1, 0, NULL, NULL );
    return SendAll( Pausing( [&]( Bytes& rBytes ) { return SendChannel( aSender, rBytes ); }, pSeconds ),
                    lVectors, nBytes );
}

static void MeasureExchange( const std::string& strName, long lVectors, double* pSeconds,
                             const ProcessBody& aBody )
{
    if ( pSeconds == NULL )
        return MeasureProcesses( strName.c_str(), 2, lVectors, aBody );
    benchmark::RegisterBenchmark( strName.c_str(),
                                  [=]( benchmark::State& rState )
                                  {
                                      while ( rState.KeepRunningBatch( lVectors ) )
                                      {
                                          *pSeconds = 0;
                                          TimeOfProcesses( strName.c_str(), 2, aBody );
                                          rState.SetIterationTime( *pSeconds );
                                      }
                                  } )
        ->UseManualTime();
}

struct Case
{
    const char* pName;
    size_t nBytes;
    long lVectors;
    bool fPauses;
};

static double* SecondsOf( const Case& rCase )
{
    return rCase.fPauses ? static_cast<double*>( MakeSharedMemory( sizeof( double ) ) ) : NULL;
}

template <class Peer>
static void MeasurePeer( const Case& rCase, const char* pWho )
{
    const auto pLink = std::make_shared<Peer>( rCase.nBytes );
    double* const pSeconds = SecondsOf( rCase );
    const Exchange aSend = Pausing( [pLink]( Bytes& rBytes ) { return pLink->Send( rBytes ); }, pSeconds );
    MeasureExchange( std::string( "channel/" ) + rCase.pName + "/" + pWho, rCase.lVectors, pSeconds,
                     [=]( int nProcess, StartGate& rGate )
                     {
                         rGate.Pass();
                         return PlayPeer( *pLink, nProcess == 0, aSend, rCase.lVectors, rCase.nBytes );
                     } );
}

static void MeasureChannel( const Case& rCase )
{
    double* const pSeconds = SecondsOf( rCase );
    MeasureExchange( std::string( "channel/" ) + rCase.pName + "/bxtools", rCase.lVectors, pSeconds,
                     [=]( int nProcess, StartGate& rGate )
                     {
                         rGate.Pass();
                         return PlayChannel( nProcess == 0, pSeconds, rCase.lVectors, rCase.nBytes );
                     } );
}

void RegisterChannelMeasurements()
{
    constexpr Case SMALL = { "64B", 64, 5000, false };
    constexpr Case MIDDLE = { "64KB", 65536, 5000, false };
    constexpr Case LARGE = { "1MB", 1048576, 1000, false };
    constexpr Case ASLEEP = { "asleep", 64, 1000, true };
    // So many that the start of the processes does not count, which takes as long as a thousand of ours.
    constexpr Case MANY_SMALL = { "64B", 64, 100000, false };
    for ( const Case& rCase : { MANY_SMALL, MIDDLE, LARGE, ASLEEP } )
        MeasureChannel( rCase );
    MeasurePeer<EventLink>( SMALL, "eventfd" );
    MeasurePeer<PipeLink>( SMALL, "pipe" );
    MeasurePeer<PosixQueueLink>( SMALL, "POSIX-queue" );
    for ( const Case& rCase : { SMALL, MIDDLE } )
        MeasurePeer<SocketLink>( rCase, "unix-stream" );
    for ( const Case& rCase : { SMALL, LARGE } )
        MeasurePeer<BoostLink>( rCase, "Boost" );
    MeasurePeer<FutexLink>( ASLEEP, "futex" );
}
