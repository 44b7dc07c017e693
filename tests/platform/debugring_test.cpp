// The ring of debug messages: many writers, many viewers, and what is left when some of them are killed.

#include "diag/sharedvalues.h"
#include "platform/debug/debugout.h"
#include "platform/debug/debugring.h"
#include "platform/debug/debugringreader.h"
#include "platform/futex.h"
#include "platform/namespacefolder.h"
#include "support/forked.h"
#include "support/limit.h"
#include "support/scratchfolder.h"
#include "support/secondprocess.h"

#include <bxtools/debug.h>
#include <bxtools/platform.h>

#include <gtest/gtest.h>

#include <csignal>
#include <deque>
#include <map>
#include <numeric>
#include <random>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr int PROCESSES = 10;
constexpr int MESSAGES = 300;

void UseRingIn( const std::string& strFolder, const char* pSink = "ring" )
{
    setenv( "BXTOOLS_OBJECT_DIR", strFolder.c_str(), 1 );
    setenv( "BXTOOLS_DEBUG_SINK", pSink, 1 );
    ForgetNamespaceForTest();
    ForgetDebugSettingsForTest();
}

class Ring : public ::testing::Test
{
protected:
    Ring() { UseRingIn( m_strFolder ); }
    ~Ring() override { UseRingIn( m_strFolderBefore, "none" ); }

    const ScratchFolder m_aScratch;
    const std::string m_strFolder = m_aScratch.Path( "objects" );
    const std::string m_strFile = m_strFolder + "/messages";

private:
    const std::string m_strFolderBefore = getenv( "BXTOOLS_OBJECT_DIR" );
};

// For as long as the process lives.
DebugRing& MapRing()
{
    DebugRingFile aIdentity;
    const int nFile = OpenDebugRingFile( aIdentity );
    DebugRing* const pRing = MapDebugRing( nFile, nullptr );
    close( nFile );
    return *pRing;
}

// A text that tells where it comes from, and by its length whether it is whole.
std::string MakeText( int nWriter, int nMessage )
{
    const std::string strHead = std::to_string( nWriter ) + " " + std::to_string( nMessage ) + " ";
    const size_t nLength = static_cast<size_t>( nMessage * 37 % 900 );
    return strHead + std::string( nLength, static_cast<char>( 'a' + nWriter ) );
}

std::vector<DebugRingMessage> ReadAll( DebugRingReader& rReader )
{
    std::vector<DebugRingMessage> aMessages;
    DebugRingMessage aMessage;
    for ( rReader.GiveUpUnwritten(); rReader.Next( aMessage ); rReader.GiveUpUnwritten() )
        aMessages.push_back( aMessage );
    return aMessages;
}

uint64_t CountPieces( const std::vector<DebugRingMessage>& aMessages )
{
    const auto AddPieces = []( uint64_t ullSum, const DebugRingMessage& r ) { return ullSum + r.nPieces; };
    return std::accumulate( aMessages.begin(), aMessages.end(), uint64_t{ 0 }, AddPieces );
}
} // namespace

// Tells the number of pieces that were read and missed, once "end" has come.
BX_ROLE( ring_watcher )
{
    UseRingIn( Arguments[0] );
    DebugRingReader aReader( DebugRingReader::Start::Newest );
    TellTest( "ready" );
    std::map<int, int> aNext;
    uint64_t ullPieces = 0;
    for ( DebugRingMessage aMessage; aMessage.strText != "end"; )
    {
        while ( !aReader.Next( aMessage ) )
            aReader.Wait();
        ullPieces += aMessage.nPieces;
        int nWriter = 0;
        int nMessage = 0;
        if ( sscanf( aMessage.strText.c_str(), "%d %d ", &nWriter, &nMessage ) == 2 &&
             ( aMessage.strText != MakeText( nWriter, nMessage ) || nMessage != aNext[nWriter]++ ) )
            return 1;
    }
    for ( const auto& [nWriter, nMessages] : aNext )
    {
        if ( nMessages != MESSAGES )
            return 2;
    }
    TellTest( std::to_string( ullPieces ) + " " + std::to_string( aReader.TakeMissed() ) );
    return static_cast<int>( aNext.size() ) == PROCESSES ? 0 : 3;
}

BX_ROLE( ring_writer )
{
    UseRingIn( Arguments[0] );
    TellTest( "ready" );
    WaitForTest();
    for ( int i = 0; i < MESSAGES; ++i )
        OutputDebugStringA( MakeText( atoi( Arguments[1].c_str() ), i ).c_str() );
    return 0;
}

// Takes numbers for a message of three pieces, writes the last one, and is killed.
BX_ROLE( ring_victim )
{
    UseRingIn( Arguments[0] );
    DebugRing& rRing = MapRing();
    const uint64_t ullFirst = rRing.ullNext.fetch_add( 3 );
    rRing.Slot( ullFirst + 1 ).ullState = DebugStateClaimed( ullFirst + 1 );
    rRing.Slot( ullFirst + 2 ).ullState = DebugStatePublished( ullFirst + 2 );
    raise( SIGKILL );
    return 0;
}

TEST_F( Ring, EachWatcherSeesEachMessageAndIsToldWhatItMissed )
{
    using Arguments = std::vector<std::string>;
    std::deque<SecondProcess> aWatchers;
    std::deque<SecondProcess> aWriters;
    for ( int i = 0; i < PROCESSES; ++i )
    {
        aWatchers.emplace_back( "ring_watcher", Arguments{ m_strFolder } );
        aWriters.emplace_back( "ring_writer", Arguments{ m_strFolder, std::to_string( i ) } );
    }
    // One that is killed in its sleep keeps nobody from being woken.
    SecondProcess aKilled( "ring_watcher", { m_strFolder } );
    EXPECT_EQ( "ready", aKilled.ReadLine() );
    aKilled.Kill();
    for ( auto* const pProcesses : { &aWatchers, &aWriters } )
    {
        for ( SecondProcess& rProcess : *pProcesses )
            EXPECT_EQ( "ready", rProcess.ReadLine() );
    }
    for ( SecondProcess& rWriter : aWriters )
        rWriter.WriteLine( "go" );
    EXPECT_EQ( -1, RunInRole( "ring_victim", { m_strFolder } ) );
    for ( SecondProcess& rWriter : aWriters )
        EXPECT_EQ( 0, rWriter.Wait() );
    OutputDebugStringA( "end" );
    const uint64_t ullWritten = MapRing().ullNext;
    const std::string strExpected = std::to_string( ullWritten - 3 ) + " 3";
    for ( SecondProcess& rWatcher : aWatchers )
    {
        EXPECT_EQ( strExpected, rWatcher.ReadLine() );
        EXPECT_EQ( 0, rWatcher.Wait() );
    }

    // What the dead wrote is still there; and one who comes too late is told so.
    DebugRingReader aLate( DebugRingReader::Start::Oldest );
    std::vector<DebugRingMessage> aMessages = ReadAll( aLate );
    EXPECT_EQ( size_t{ PROCESSES * MESSAGES + 1 }, aMessages.size() );
    EXPECT_EQ( program_invocation_short_name, aMessages.back().strProcess );
    EXPECT_NE( GetCurrentProcessId(), aMessages.front().dwProcess );
    EXPECT_EQ( GetCurrentProcessId(), aMessages.back().dwProcess );
    EXPECT_EQ( GetCurrentThreadId(), aMessages.back().dwThread );
    EXPECT_LT( uint64_t( time( nullptr ) - 60 ) * 1000000000, aMessages.back().ullTime );
    EXPECT_EQ( 3u, aLate.TakeMissed() );
    for ( int i = 0; i < 20000; ++i )
        OutputDebugStringA( MakeText( 1, i ).c_str() );
    aMessages = ReadAll( aLate );
    EXPECT_EQ( MakeText( 1, 19999 ), aMessages.back().strText );
    EXPECT_EQ( MapRing().ullNext - ullWritten, CountPieces( aMessages ) + aLate.TakeMissed() );
}

TEST_F( Ring, TextsOfAnyLengthArriveAndTheLongestAreCut )
{
    DebugRingReader aReader( DebugRingReader::Start::Newest );
    OutputDebugStringA( "up to the zero\0behind it" );
    EXPECT_EQ( 0, InChild( [] { return OutputDebugStringA( "child" ), 0; } ) );
    std::string strLong;
    for ( size_t i = 0; i < 10000000; ++i )
        strLong += static_cast<char>( 'a' + i % 23 );
    for ( const size_t nLength : { 1u, 191u, 192u, 193u, 384u, 100000u, 10000000u } )
        OutputDebugStringA( strLong.substr( 0, nLength ).c_str() );

    std::vector<DebugRingMessage> aMessages = ReadAll( aReader );
    ASSERT_EQ( 9u, aMessages.size() );
    EXPECT_EQ( "up to the zero", aMessages[0].strText );
    EXPECT_NE( GetCurrentProcessId(), aMessages[1].dwProcess );
    for ( size_t i = 2; i < 8; ++i )
        EXPECT_TRUE( strLong.starts_with( aMessages[i].strText ) &&
                     aMessages[i].ullLength == aMessages[i].strText.size() );
    EXPECT_EQ( strLong.substr( 0, DEBUG_MOST_PIECES * DEBUG_PIECE_LENGTH ), aMessages[8].strText );
    EXPECT_EQ( strLong.size(), aMessages[8].ullLength );
    EXPECT_EQ( 0u, aReader.TakeMissed() );
}

TEST_F( Ring, DamageIsCountedAndNeverShown )
{
    for ( int i = 0; i < 40; ++i )
        OutputDebugStringA( MakeText( 2, i ).c_str() );
    DebugRing& rRing = MapRing();
    const uint64_t ullNext = rRing.ullNext;
    auto* const pBytes = reinterpret_cast<unsigned char*>( &rRing.aSlots[0] );
    const auto ExpectOnlyWhatWasWritten = [&]( size_t nWhere )
    {
        DebugRingReader aReader( DebugRingReader::Start::Oldest );
        const std::vector<DebugRingMessage> aMessages = ReadAll( aReader );
        EXPECT_EQ( rRing.ullNext, CountPieces( aMessages ) + aReader.TakeMissed() ) << nWhere;
        for ( const DebugRingMessage& rMessage : aMessages )
        {
            int nMessage = -1;
            sscanf( rMessage.strText.c_str(), "2 %d ", &nMessage );
            EXPECT_EQ( MakeText( 2, nMessage ), rMessage.strText ) << nWhere;
        }
    };
    for ( size_t i = 0; i < ullNext * sizeof( DebugSlot ); i += 5 )
    {
        pBytes[i] ^= 0x41;
        // The last slots may look as if they were still being written; then nothing behind them is told of.
        if ( i < ( ullNext - 10 ) * sizeof( DebugSlot ) )
            ExpectOnlyWhatWasWritten( i );
        pBytes[i] ^= 0x41;
    }
    ExpectOnlyWhatWasWritten( 0 );

    // Anything else in the ring: nobody hangs, and the next message is seen again.
    std::mt19937_64 aRandom( 1 );
    DebugRingReader aReader( DebugRingReader::Start::Newest );
    for ( int i = 0; i < 20; ++i )
    {
        for ( size_t n = 0; n < sizeof( rRing.aSlots ); n += sizeof( uint64_t ) )
            reinterpret_cast<std::atomic<uint64_t>*>( pBytes + n )->store( aRandom() >> ( i * 2 ) );
        rRing.ullNext = aRandom() >> ( i * 2 );
        rRing.nBell = static_cast<uint32_t>( aRandom() );
        rRing.nAsleepAt = static_cast<uint32_t>( aRandom() );
        rRing.nRetired = 1;
        ReadAll( aReader );
        OutputDebugStringA( "still alive" );
        const std::vector<DebugRingMessage> aMessages = ReadAll( aReader );
        EXPECT_TRUE( !aMessages.empty() && aMessages.back().strText == "still alive" ) << i;
    }
}

TEST_F( Ring, WhatIsNoRingIsReplacedAndAFolderThatIsTidiedUpIsNoticed )
{
    OutputDebugStringA( "makes the folder" );
    struct stat aStatus;
    ASSERT_EQ( 0, stat( m_strFile.c_str(), &aStatus ) );
    EXPECT_EQ( 0600u, aStatus.st_mode & 07777u );
    std::string strOther = ReadBytes( m_strFile );
    strOther[8] ^= 1; // the size of a slot
    for ( const std::string& strContent :
          { std::string( "short" ), std::string( sizeof( DebugRing ), '\0' ), strOther } )
    {
        WriteBytes( m_strFile, strContent );
        ForgetDebugSettingsForTest();
        DebugRingReader aReader( DebugRingReader::Start::Newest );
        OutputDebugStringA( "new ring" );
        EXPECT_EQ( 1u, ReadAll( aReader ).size() );
    }

    DebugRingReader aReader( DebugRingReader::Start::Newest );
    unlink( m_strFile.c_str() );
    // The writer looks for it once a second; the viewer sleeps until then.
    std::string strLast;
    for ( DebugRingMessage aMessage; access( m_strFile.c_str(), F_OK ) != 0; )
    {
        OutputDebugStringA( "for the old ring, or the new one" );
        while ( aReader.Next( aMessage ) )
            strLast = aMessage.strText;
    }
    OutputDebugStringA( "found again" );
    aReader.Wait();
    EXPECT_EQ( "found again", ReadAll( aReader ).back().strText );
}

// In a folder that is refused: the settings are read, and change nothing for others.
BX_ROLE( private_values )
{
    const bool fRead = IsDbgMessage();
    SetDebugEnabled( false );
    SetDebugLevel( 0x11111 );
    return fRead && !IsDbgMessage() ? 0 : 1;
}

TEST_F( Ring, WithoutAFolderOrRoomThereIsSilence )
{
    SetDebugEnabled( true );
    OutputDebugStringA( "makes the folder" );
    const auto ExpectSilence = []
    {
        ForgetNamespaceForTest();
        ForgetDebugSettingsForTest();
        SetLastError( 4711 );
        OutputDebugStringA( "to nobody" );
        EXPECT_EQ( 4711u, GetLastError() );
        EXPECT_FALSE( DebugRingReader( DebugRingReader::Start::Oldest ).IsOpen() );
    };
    testing::internal::CaptureStderr();
    // A folder that was good may become one that is not. Nor does a viewer whose ring is gone spin.
    DebugRingReader aReader( DebugRingReader::Start::Newest );
    MapRing().nRetired = 1;
    chmod( m_strFolder.c_str(), 0777 );
    DebugRingMessage aMessage;
    EXPECT_FALSE( aReader.Next( aMessage ) );
    const ULONGLONG ullStart = GetMonotonicMilliseconds();
    aReader.Wait();
    EXPECT_LE( ullStart + 100, GetMonotonicMilliseconds() );
    ExpectSilence();
    EXPECT_EQ( 0, RunInRole( "private_values" ) );
    EXPECT_EQ( TRUE, IsDbgMessage() );
    EXPECT_FALSE( internalIsDbgMessageLevel( 0x11111 ) );
    EXPECT_NE( std::string::npos, testing::internal::GetCapturedStderr().find( "give it the mode 0700" ) );
    chmod( m_strFolder.c_str(), 0700 );
    unlink( m_strFile.c_str() );
    ASSERT_EQ( 0, symlink( "/dev/null", m_strFile.c_str() ) );
    ExpectSilence();
    unlink( m_strFile.c_str() );
    {
        const Limit aLimit( RLIMIT_FSIZE, 1000000 );
        ExpectSilence();
    }
    EXPECT_NE( 0, access( m_strFile.c_str(), F_OK ) );
}
