// Where debug output goes, and what it never does to its caller.

#include "platform/debug/debugout.h"
#include "platform/debug/debugringreader.h"
#include "support/scratchfolder.h"

#include <bxtools/platform.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{
class DebugOut : public ::testing::Test
{
protected:
    void SetUp() override { m_nStandardError = dup( STDERR_FILENO ); }
    void TearDown() override
    {
        RestoreStandardError();
        close( m_nStandardError );
        UseSink( "none" );
    }

    static void UseSink( const std::string& strSink )
    {
        setenv( "BXTOOLS_DEBUG_SINK", strSink.c_str(), 1 );
        ForgetDebugSettingsForTest();
    }
    static void SendStandardErrorTo( const std::string& strPath )
    {
        const int nFile = open( strPath.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600 );
        dup2( nFile, STDERR_FILENO );
        close( nFile );
    }
    void RestoreStandardError() { dup2( m_nStandardError, STDERR_FILENO ); }

    std::string Path( const char* pName ) const { return m_aFolder.Path( pName ); }

private:
    int m_nStandardError = -1;
    ScratchFolder m_aFolder;
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

std::vector<std::string> SplitLines( const std::string& strText )
{
    std::vector<std::string> aLines;
    for ( size_t nStart = 0; nStart < strText.size(); )
    {
        const size_t nEnd = std::min( strText.find( '\n', nStart ), strText.size() );
        aLines.push_back( strText.substr( nStart, nEnd - nStart ) );
        nStart = nEnd + 1;
    }
    return aLines;
}

// Many threads write long lines, each of one letter.
void WriteLines( int nThreads, int nLines, size_t nLength )
{
    std::vector<std::thread> aThreads;
    for ( int i = 0; i < nThreads; ++i )
        aThreads.emplace_back(
            [=]
            {
                const std::string strLine = std::string( nLength, static_cast<char>( 'a' + i ) ) + "\n";
                for ( int n = 0; n < nLines; ++n )
                    OutputDebugStringA( strLine.c_str() );
            } );
    for ( std::thread& rThread : aThreads )
        rThread.join();
}

void ExpectWholeLines( const std::string& strText, size_t nLines, size_t nLength )
{
    const std::vector<std::string> aLines = SplitLines( strText );
    EXPECT_EQ( nLines, aLines.size() );
    const auto IsWhole = [&]( const std::string& strLine )
    { return strLine.size() == nLength && strLine.find_first_not_of( strLine[0] ) == std::string::npos; };
    EXPECT_EQ( static_cast<std::ptrdiff_t>( aLines.size() ),
               std::count_if( aLines.begin(), aLines.end(), IsWhole ) );
}

int CountOpenDescriptors()
{
    int nOpen = 0;
    for ( int i = 0; i < 1024; ++i )
        nOpen += fcntl( i, F_GETFD ) >= 0;
    return nOpen;
}
} // namespace

TEST_F( DebugOut, GoesToEverySinkThatIsNamed )
{
    const int nLog = ListenAsLog( Path( "log" ) );
    SendStandardErrorTo( Path( "stderr" ) );
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
    RestoreStandardError();
    EXPECT_EQ( "to the usual place", NextInRing( aRing ) );
    for ( const char* pSink : { "one", "two", "stderr" } )
        EXPECT_EQ( "first\r\nline\r\nsecond", ReadBytes( Path( pSink ) ) ) << pSink;
    const std::string strHead = "<15>test_platform[" + std::to_string( getpid() ) + "]: ";
    EXPECT_EQ( strHead + "first line", NextDatagram( nLog ) );
    EXPECT_EQ( strHead + "second", NextDatagram( nLog ) );
    close( nLog );
}

TEST_F( DebugOut, MessagesOfThreadsNeverMix )
{
    UseSink( "file:" + Path( "file" ) );
    WriteLines( 4, 200, 6000 );
    ExpectWholeLines( ReadBytes( Path( "file" ) ), 800, 6000 );

    // A pipe, which takes a message of this length in pieces.
    int anPipe[2];
    ASSERT_EQ( 0, pipe( anPipe ) );
    std::string strAll;
    std::thread aReader(
        [&]
        {
            char aBuffer[4096];
            for ( ssize_t n; ( n = read( anPipe[0], aBuffer, sizeof( aBuffer ) ) ) > 0; )
                strAll.append( aBuffer, static_cast<size_t>( n ) );
        } );
    dup2( anPipe[1], STDERR_FILENO );
    close( anPipe[1] );
    UseSink( "stderr" );
    WriteLines( 4, 20, 200000 );
    RestoreStandardError();
    aReader.join();
    close( anPipe[0] );
    ExpectWholeLines( strAll, 80, 200000 );
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
    int anPipe[2];
    ASSERT_EQ( 0, pipe( anPipe ) );
    dup2( anPipe[1], STDERR_FILENO );
    close( anPipe[1] );
    close( anPipe[0] );
    WriteUnnoticed( "nobody reads standard error" );
    close( STDERR_FILENO );
    WriteUnnoticed( "closed" );

    UseSink( "file:" + Path( "limited" ) );
    const rlimit aLimit{ 10, RLIM_INFINITY };
    rlimit aBefore;
    getrlimit( RLIMIT_FSIZE, &aBefore );
    setrlimit( RLIMIT_FSIZE, &aLimit );
    WriteUnnoticed( "0123456789" );
    WriteUnnoticed( "beyond the limit" );
    setrlimit( RLIMIT_FSIZE, &aBefore );
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
    const int nBefore = CountOpenDescriptors();
    UseSink( "file:" + Path( "file" ) );
    WriteLines( 4, 50, 10 );
    EXPECT_EQ( nBefore + 1, CountOpenDescriptors() );
    for ( int i = 3; i < 1024; ++i )
    {
        const std::string strTarget = "/proc/self/fd/" + std::to_string( i );
        struct stat aFile, aWanted;
        if ( stat( strTarget.c_str(), &aFile ) != 0 || stat( Path( "file" ).c_str(), &aWanted ) != 0 ||
             aFile.st_ino != aWanted.st_ino || aFile.st_dev != aWanted.st_dev )
            continue;
        EXPECT_EQ( FD_CLOEXEC, fcntl( i, F_GETFD ) & FD_CLOEXEC );
        // As a service does when it starts.
        close( i );
    }
    WriteUnnoticed( "again\n" );
    EXPECT_EQ( 201u, SplitLines( ReadBytes( Path( "file" ) ) ).size() );
    CloseDebugSinks();
    EXPECT_EQ( nBefore, CountOpenDescriptors() );
}
