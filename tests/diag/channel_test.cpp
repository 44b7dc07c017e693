// Vectors between processes: what arrives, what is refused, and who goes on when the other side is killed.

#include "diag/channellayout.h"
#include "support/recorder.h"
#include "support/secondprocess.h"

#include <bxtools/channel.h>
#include <bxtools/platform.h>

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <numeric>
#include <set>
#include <thread>

namespace
{

constexpr char SENDS[] = "From BOOL ChannelBuffer::SenderWritesData( DATAELEM* pDataVec, ULONG ulVecSize )";
constexpr char RECEIVES[] = "From BOOL ChannelBuffer::ReceiverWaitsForData()";
constexpr char NAME[] = "channel_test/../a name";

using Texts = std::vector<std::string>;

BOOL Send( ChannelBuffer& rSender, const Texts& aTexts )
{
    std::vector<DATAELEM> aVector;
    for ( const std::string& strText : aTexts )
        aVector.push_back( { const_cast<char*>( strText.data() ), static_cast<ULONG>( strText.size() ) } );
    return rSender.SenderWritesData( aVector.data(), static_cast<ULONG>( aVector.size() ) );
}

// The objects under their names, held so that nobody has to wait for a receiver's start.
struct Objects
{
    HANDLE hMutex = CreateMutexA( NULL, FALSE, "CriticalSecGuard" );
    HANDLE hStart = CreateEventA( NULL, FALSE, FALSE, "ClientFinishedDataWriting" );
    HANDLE hAck = CreateEventA( NULL, FALSE, FALSE, "ServerGoingToReadData" );
    HANDLE hGate = CreateMutexA( NULL, FALSE, "ClientWaitsForItsTurn" );
    HANDLE hUnread = CreateEventA( NULL, TRUE, FALSE, "ClientWaitsForServer" );
    HANDLE hMapping = CreateFileMappingA( INVALID_HANDLE_VALUE, NULL, PAGE_READWRITE | SEC_RESERVE, 0,
                                          64 * 1024 * 1024, NAME );
    BYTE* pView = static_cast<BYTE*>( MapViewOfFile( hMapping, FILE_MAP_WRITE, 0, 0, 4096 ) );

    Objects() { VirtualAlloc( pView, 4096, MEM_COMMIT, PAGE_READWRITE ); }
    ~Objects()
    {
        UnmapViewOfFile( pView );
        for ( HANDLE hObject : { hMutex, hStart, hAck, hGate, hUnread, hMapping } )
            CloseHandle( hObject );
    }
};

struct Sender : ChannelBuffer
{
    Sender() { Init( NAME, 1, 0, NULL, NULL ); }
};

} // namespace

// A receiver's data: everything that came, and the text whose arrival ends the loop.
struct ExtraData
{
    std::vector<Texts> aReceived;
    ChannelBuffer* pChannel = NULL;
};

static int DLL_EXPORT Keep( DATAELEM* pDataVec, ULONG ulVecSize, ExtraData* pExtraData )
{
    Texts& rTexts = pExtraData->aReceived.emplace_back();
    for ( ULONG i = 0; i < ulVecSize; ++i )
        rTexts.emplace_back( static_cast<char*>( pDataVec[i].pData ), pDataVec[i].ulLength );
    if ( rTexts.front() == "throw" )
        throw 1;
    if ( rTexts.front() == "end" )
        pExtraData->pChannel->StopWaitingForData();
    return rTexts.front() != "fail";
}

static int DLL_EXPORT TellAndHang( DATAELEM*, ULONG, ExtraData* )
{
    TellTest( "handling" );
    WaitForTest();
    return 1;
}

// Receives in a thread until "end" came, or a failure.
class Receiving
{
public:
    ~Receiving() { Wait(); }
    const std::vector<Texts>& Wait()
    {
        if ( m_aThread.joinable() )
            m_aThread.join();
        return m_aData.aReceived;
    }
    BOOL m_fResult = 2;

private:
    ExtraData m_aData;
    std::thread m_aThread{ [this]
                           {
                               ChannelBuffer aReceiver;
                               m_aData.pChannel = &aReceiver;
                               aReceiver.Init( NAME, 0, 0, &Keep, &m_aData );
                               m_fResult = aReceiver.ReceiverWaitsForData();
                           } };
};

BX_ROLE( channel_receiver )
{
    ChannelBuffer aReceiver;
    aReceiver.Init( NAME, 0, 0, &TellAndHang, NULL );
    return aReceiver.ReceiverWaitsForData();
}

BX_ROLE( channel_sender )
{
    Sender aSender;
    for ( int i = 0; i < std::stoi( Arguments[1] ); ++i )
    {
        if ( !Send( aSender, { Arguments[0], std::to_string( i ) } ) )
            return 1;
    }
    return 0;
}

// Takes the sender's steps by hand, up to one of them.
BX_ROLE( channel_halfsender )
{
    Objects aObjects;
    const int nSteps = std::stoi( Arguments[0] );
    const DATAELEM aDead = { const_cast<char*>( "dead" ), 4 };
    const std::function<void()> aSteps[] = {
        [&] { WaitForSingleObject( aObjects.hGate, INFINITE ); },
        [&] { WaitForSingleObject( aObjects.hMutex, INFINITE ); },
        [&] { std::memset( aObjects.pView, 0xFF, 64 ); },
        [&] { WriteChannelVector( aObjects.pView, &aDead, 1, 12 ); },
        [&] { SetEvent( aObjects.hStart ) && SetEvent( aObjects.hUnread ); },
        [&] { ReleaseMutex( aObjects.hMutex ); },
    };
    for ( int i = 0; i < nSteps; ++i )
        aSteps[i]();
    TellTest( "there" );
    WaitForTest();
    return 0;
}

TEST( Channel, IsSetUpOnceAndRefusesBadNames )
{
    DebugRecorder aRecorder;
    ChannelBuffer aSender;
    EXPECT_FALSE( Send( aSender, { "x" } ) ) << "without a name";
    EXPECT_TRUE( aSender.Init( NAME, 1, 0, NULL, NULL ) );
    EXPECT_FALSE( Send( aSender, { "x" } ) ) << "without a receiver";
    const Objects aObjects;
    for ( const std::string& strName : { std::string(), std::string( 10000, 'n' ), std::string( "a\\b" ) } )
    {
        EXPECT_TRUE( aSender.Init( strName.c_str(), 0, 0, NULL, NULL ) );
        EXPECT_FALSE( aSender.ReceiverWaitsForData() ) << strName;
    }
    const Report aNotSent( SENDS, " Error: !CheckInitState()" );
    const Report aNotReceived( RECEIVES, " Error: !CheckInitState()" );
    EXPECT_TRUE( aRecorder.OnlyReports( { aNotSent, aNotSent, aNotReceived, aNotReceived, aNotReceived } ) );
    EXPECT_TRUE( aSender.IsRunLoop() );
    EXPECT_FALSE( aSender.StopWaitingForData() || aSender.IsRunLoop() );
}

TEST( Channel, VectorsArriveWholeAndWhatIsTooLargeIsRefused )
{
    const Objects aObjects;
    DebugRecorder aRecorder;
    std::string strLarge( 5000000, '\0' );
    std::iota( strLarge.begin(), strLarge.end(), '\0' );
    const std::vector<Texts> aSent = { { "" },       Texts( 65536, "b" ), { "a", "", strLarge, "z" },
                                       { strLarge }, Texts( 65536, "" ),  { "end" } };
    Receiving aReceiving;
    Sender aFirst;
    EXPECT_TRUE( Send( aFirst, aSent[0] ) );
    EXPECT_FALSE( aFirst.Init( NAME, 1, 0, NULL, NULL ) ) << "mapped";
    ChannelBuffer aSender( aFirst );
    aFirst = Sender();
    EXPECT_TRUE( Send( aSender, aSent[1] ) );
    EXPECT_TRUE( Send( aSender, aSent[2] ) );
    for ( const ULONG ulLength : { 64u * 1024 * 1024, 0xFFFFFFFFu } )
    {
        DATAELEM aTooLarge[] = { { NULL, ulLength }, { NULL, 13 } };
        EXPECT_FALSE( aSender.SenderWritesData( aTooLarge, 2 ) );
        EXPECT_TRUE( aRecorder.OnlyReport( SENDS, " Error: !InternalWrite( pDataVec, ulVecSize )" ) );
    }
    for ( size_t i = 3; i < aSent.size(); ++i )
        EXPECT_TRUE( Send( aSender, aSent[i] ) );
    EXPECT_TRUE( aReceiving.Wait() == aSent );
    EXPECT_TRUE( aReceiving.m_fResult );
}

TEST( Channel, BytesAreAsTheyAreDrawnAndWhatIsNoneIsRefused )
{
    const Objects aObjects;
    DebugRecorder aRecorder;
    Sender aSender;
    {
        Receiving aReceiving;
        EXPECT_TRUE( Send( aSender, { "one", std::string( 20, '.' ) } ) );
        DATAELEM aVector[] = { { const_cast<char*>( "abc" ), 3 },
                               { NULL, 2 },
                               { const_cast<char*>( "xy" ), 2 } };
        EXPECT_TRUE( aSender.SenderWritesData( aVector, 3 ) );
        constexpr char BYTES[] = "\x17\0\0\0\3\0\0\0\3\0\0\0\2\0\0\0\2\0\0\0abc..xy.";
        EXPECT_EQ( 0, std::memcmp( BYTES, aObjects.pView, sizeof( BYTES ) - 1 ) );
        EXPECT_TRUE( aSender.SenderWritesData( NULL, 1 ) );
        EXPECT_TRUE( Send( aSender, { "throw" } ) );
        EXPECT_EQ( ( std::vector<Texts>{ { "one", std::string( 20, '.' ) },
                                         { "abc", "..", "xy" },
                                         { "abc", "..", "xy" },
                                         { "throw" } } ),
                   aReceiving.Wait() );
        EXPECT_TRUE( aRecorder.OnlyReport( RECEIVES, "Severe error occurred executing this function" ) );
    }
    {
        Receiving aReceiving;
        EXPECT_TRUE( Send( aSender, { "fail" } ) );
        aReceiving.Wait();
        EXPECT_FALSE( aReceiving.m_fResult );
        EXPECT_TRUE( aRecorder.OnlyReport(
            RECEIVES, " Error: !( fRet = (*m_pCallBackFunc) ( pDataVec, ulVecSize, m_pExtraData ) )" ) );
    }
    // Whatever a hostile peer writes is refused and acknowledged.
    constexpr ULONG HEADERS[][4] = {
        { 8, 0, 0, 0 },  { 0xFFFFFFFF, 1, 8, 0 },           { 67108864, 1, 67108856, 0 },
        { 3, 1, 0, 0 },  { 100, 0xFFFFFFFF, 4, 4 },         { 20, 2, 0xFFFFFFFF, 9 },
        { 0, 1, 99, 0 }, { 100, 2, 0x80000000, 0x80000000 }
    };
    for ( const ULONG( &rHeader )[4] : HEADERS )
    {
        std::memcpy( aObjects.pView, rHeader, sizeof( rHeader ) );
        Receiving aReceiving;
        SetEvent( aObjects.hStart );
        EXPECT_EQ( WAIT_OBJECT_0, WaitForSingleObject( aObjects.hAck, INFINITE ) );
        EXPECT_TRUE( aReceiving.Wait().empty() );
        EXPECT_TRUE( aRecorder.OnlyReport( RECEIVES, " Error: !InternalRead( pDataVec, ulVecSize )" ) );
    }
}

TEST( Channel, KilledSenderCostsItsOwnVectorOnly )
{
    const Objects aObjects;
    Receiving aReceiving;
    Sender aSender;
    std::vector<Texts> aExpected;
    for ( const char* pSteps : { "1", "2", "3", "4", "5", "6" } )
    {
        SecondProcess aKilled( "channel_halfsender", { pSteps } );
        ASSERT_EQ( "there", aKilled.ReadLine() );
        aKilled.Kill();
        aKilled.Wait();
        aExpected.push_back( { "alive", pSteps } );
        EXPECT_TRUE( Send( aSender, aExpected.back() ) );
    }
    aExpected.push_back( { "end" } );
    EXPECT_TRUE( Send( aSender, aExpected.back() ) );
    std::vector<Texts> aReceived = aReceiving.Wait();
    // What the killed one had written whole has come as well.
    std::erase( aReceived, Texts{ "dead" } );
    EXPECT_EQ( aExpected, aReceived );
}

TEST( Channel, SenderOfAKilledReceiverIsServedByTheNextOne )
{
    SecondProcess aSending( "channel_sender", { "waiting", "0" } );
    EXPECT_EQ( 0, aSending.Wait() );
    {
        const Objects aObjects;
        SecondProcess aKilled( "channel_receiver", {} );
        SecondProcess aWaiting( "channel_sender", { "waiting", "2" } );
        ASSERT_EQ( "handling", aKilled.ReadLine() );
        aKilled.Kill();
        aKilled.Wait();
        Receiving aReceiving;
        EXPECT_EQ( 0, aWaiting.Wait() );
        Sender aSender;
        EXPECT_TRUE( Send( aSender, { "end" } ) );
        EXPECT_EQ( ( std::vector<Texts>{ { "waiting", "0" }, { "waiting", "1" }, { "end" } } ),
                   aReceiving.Wait() );
    }
    // Nothing of it is left for the next pair.
    DebugRecorder aRecorder;
    Sender aAlone;
    EXPECT_FALSE( Send( aAlone, { "x" } ) );
    EXPECT_TRUE( aRecorder.OnlyReport( SENDS, " Error: !CheckInitState()" ) );
}

TEST( Channel, SendersTakeTurnsAndLoseNothing )
{
    constexpr size_t VECTORS = 200;
    const Objects aObjects;
    Receiving aReceiving;
    Sender aSender;
    {
        SecondProcess aFirst( "channel_sender", { "first", std::to_string( VECTORS ) } );
        SecondProcess aSecond( "channel_sender", { "second", std::to_string( VECTORS ) } );
        for ( size_t i = 0; i < VECTORS; ++i )
            EXPECT_TRUE( Send( aSender, { "third", std::to_string( i ) } ) );
        EXPECT_EQ( 0, aFirst.Wait() );
        EXPECT_EQ( 0, aSecond.Wait() );
    }
    EXPECT_TRUE( Send( aSender, { "end" } ) );
    const std::vector<Texts>& rReceived = aReceiving.Wait();
    EXPECT_EQ( 3 * VECTORS + 1, rReceived.size() );
    EXPECT_EQ( 3 * VECTORS + 1, std::set<Texts>( rReceived.begin(), rReceived.end() ).size() );
}
