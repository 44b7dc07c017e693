// Where debug output goes, and what it never does to its caller.

#include "platform/debug/debugout.h"
#include "platform/debug/debugringreader.h"
#include "support/limit.h"
#include "support/scratchfolder.h"
#include "support/threads.h"

#include <bxtools/platform.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sstream>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{
class DebugOut : public ::testing::Test
{
protected:
    ~DebugOut() override { UseSink( "none" ); }

    static void UseSink( const std::string& strSink )
    {
        setenv( "BXTOOLS_DEBUG_SINK", strSink.c_str(), 1 );
        ForgetDebugSettingsForTest();
    }
    // Until standard error is captured no longer. Result: what the pipe is read from.
    static int SendStandardErrorToPipe()
    {
        int anPipe[2];
        EXPECT_EQ( 0, pipe( anPipe ) );
        testing::internal::CaptureStderr();
        dup2( anPipe[1], STDERR_FILENO );
        close( anPipe[1] );
        return anPipe[0];
    }
    std::string Path( const char* pName ) const { return m_aFolder.Path( pName ); }

private:
    const ScratchFolder m_aFolder;
};

// Writes without the caller noticing anything.
void WriteUnnoticed( const char* pText )
{
    errno = EDOM;
    SetLastError( 4711 );
    OutputDebugStringA( pText );
    EXPECT_EQ( EDOM, errno );
    EXPECT_EQ( 4711u, GetLastError() );
}

int ListenAsLog( const std::string& strPath )
{
    const int nLog = socket( AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK, 0 );
    sockaddr_un aAddress{ AF_UNIX, {} };
    strPath.copy( aAddress.sun_path, sizeof( aAddress.sun_path ) - 1 );
    EXPECT_EQ( 0, bind( nLog, reinterpret_cast<sockaddr*>( &aAddress ), sizeof( aAddress ) ) );
    return nLog;
}

std::string NextDatagram( int nSocket )
{
    char aBuffer[200];
    const ssize_t nRead = read( nSocket, aBuffer, sizeof( aBuffer ) );
    return std::string( aBuffer, static_cast<size_t>( std::max<ssize_t>( nRead, 0 ) ) );
}

std::string NextInRing( DebugRingReader& rRing )
{
    DebugRingMessage aMessage;
    return rRing.Next( aMessage ) ? aMessage.strText : "";
}

// Several threads write long lines, each of one letter.
void WriteLines( int nLines, size_t nLength )
{
    std::atomic<char> cNext{ 'a' };
    const auto Write = [&]
    {
        const std::string strLine = std::string( nLength, cNext++ ) + "\n";
        for ( int n = 0; n < nLines; ++n )
            OutputDebugStringA( strLine.c_str() );
    };
    OnThreads( 4, Write );
}

// Result: how many lines there are, each of one letter as often as it was written.
int CountWholeLines( const std::string& strText, size_t nLength )
{
    int nWhole = 0;
    std::istringstream aText( strText );
    for ( std::string strLine; std::getline( aText, strLine ); ++nWhole )
        EXPECT_EQ( std::string( nLength, strLine[0] ), strLine );
    return nWhole;
}

std::ptrdiff_t CountOpenDescriptors()
{
    return std::distance( std::filesystem::directory_iterator( "/proc/self/fd" ), {} );
}
} // namespace

TEST_F( DebugOut, GoesToEverySinkThatIsNamed )
{
    const int nLog = ListenAsLog( Path( "log" ) );
    testing::internal::CaptureStderr();
    UseSink( "file:" + Path( "one" ) + ",stderr,unknown,syslog:" + Path( "log" ) +
             ",ring,file:" + Path( "two" ) );
    DebugRingReader aRing( DebugRingReader::Start::Newest );
    WriteUnnoticed( "first\r\nline\r\n" );
    WriteUnnoticed( "second" );
    EXPECT_EQ( "first\r\nline\r\n", NextInRing( aRing ) );
    EXPECT_EQ( "second", NextInRing( aRing ) );
    UseSink( "none" );
    WriteUnnoticed( "to nobody" );
    UseSink( "unknown" );
    WriteUnnoticed( "to the usual place" );
    EXPECT_EQ( "to the usual place", NextInRing( aRing ) );
    for ( const std::string& strWritten :
          { ReadBytes( Path( "one" ) ), ReadBytes( Path( "two" ) ), testing::internal::GetCapturedStderr() } )
        EXPECT_EQ( "first\r\nline\r\nsecond", strWritten );
    const std::string strHead = "<15>test_platform[" + std::to_string( getpid() ) + "]: ";
    EXPECT_EQ( strHead + "first line", NextDatagram( nLog ) );
    EXPECT_EQ( strHead + "second", NextDatagram( nLog ) );
    close( nLog );
}

TEST_F( DebugOut, MessagesOfThreadsNeverMix )
{
    // Through a pipe, which takes a message of this length in pieces.
    const int nPipe = SendStandardErrorToPipe();
    std::string strAll;
    std::thread aReader(
        [&]
        {
            char aBuffer[4096];
            for ( ssize_t n; ( n = read( nPipe, aBuffer, sizeof( aBuffer ) ) ) > 0; )
                strAll.append( aBuffer, static_cast<size_t>( n ) );
        } );
    UseSink( "stderr" );
    WriteLines( 20, 200000 );
    testing::internal::GetCapturedStderr();
    aReader.join();
    close( nPipe );
    EXPECT_EQ( 80, CountWholeLines( strAll, 200000 ) );
}

TEST_F( DebugOut, FailuresAreNotTheCallers )
{
    UseSink( "file:/dev/full" );
    WriteUnnoticed( "no room" );
    UseSink( "file:" + Path( "nofolder/file" ) );
    WriteUnnoticed( "no such folder" );

    ASSERT_EQ( 0, mkfifo( Path( "pipe" ).c_str(), 0600 ) );
    UseSink( "file:" + Path( "pipe" ) );
    WriteUnnoticed( "no reader yet" );
    const int nReader = open( Path( "pipe" ).c_str(), O_RDONLY | O_NONBLOCK );
    WriteUnnoticed( "read" );
    char aBuffer[16] = "";
    EXPECT_EQ( 4, read( nReader, aBuffer, sizeof( aBuffer ) ) );
    const std::string strMuch( 100000, 'x' );
    WriteUnnoticed( strMuch.c_str() );
    WriteUnnoticed( strMuch.c_str() );
    close( nReader );
    WriteUnnoticed( "the reader went away" );

    UseSink( "stderr" );
    close( SendStandardErrorToPipe() );
    WriteUnnoticed( "nobody reads standard error" );
    close( STDERR_FILENO );
    WriteUnnoticed( "closed" );
    testing::internal::GetCapturedStderr();

    UseSink( "file:" + Path( "limited" ) );
    {
        const Limit aLimit( RLIMIT_FSIZE, 10 );
        WriteUnnoticed( "0123456789" );
        WriteUnnoticed( "beyond the limit" );
    }
    EXPECT_EQ( "0123456789", ReadBytes( Path( "limited" ) ) );

    sigset_t aPending;
    sigpending( &aPending );
    EXPECT_FALSE( sigismember( &aPending, SIGPIPE ) );
    EXPECT_FALSE( sigismember( &aPending, SIGXFSZ ) );
}

TEST_F( DebugOut, HoldsOneDescriptorThatNobodyInherits )
{
    UseSink( "none" );
    WriteUnnoticed( "x" );
    const std::ptrdiff_t nBefore = CountOpenDescriptors();
    UseSink( "file:" + Path( "file" ) );
    WriteLines( 200, 6000 );
    EXPECT_EQ( nBefore + 1, CountOpenDescriptors() );
    int nSink = 3;
    for ( std::error_code aNone;
          !std::filesystem::equivalent( "/proc/self/fd/" + std::to_string( nSink ), Path( "file" ), aNone ); )
        ASSERT_LT( ++nSink, 1024 );
    EXPECT_EQ( FD_CLOEXEC, fcntl( nSink, F_GETFD ) & FD_CLOEXEC );
    // As a service does when it starts.
    close( nSink );
    WriteUnnoticed( ( std::string( 6000, 'a' ) + "\n" ).c_str() );
    EXPECT_EQ( 801, CountWholeLines( ReadBytes( Path( "file" ) ), 6000 ) );
    CloseDebugSinks();
    EXPECT_EQ( nBefore, CountOpenDescriptors() );
}
