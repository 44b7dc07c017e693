#include "platform/debug/debugsinks.h"

#include "platform/highdescriptor.h"
#include "platform/locked.h"
#include "platform/textoutput.h"

#include <bxtools/platform.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{
struct Sink;

struct SinkKind
{
    int ( *pOpen )( const char* pPath );
    int ( *pWrite )( const Sink& rSink, int nDescriptor, std::string_view aText ); // 0, or the errno
};

// The descriptor is shared by all threads: a file is opened for appending, so the kernel puts each message whole behind
// the others.
struct Sink
{
    const SinkKind* pKind;
    std::array<char, PATH_MAX> aPath;
    std::atomic<int> nDescriptor;
    std::atomic<bool> fMaySignal;
};

constexpr size_t MOST_SINKS = 4;

constinit CRITICAL_SECTION g_aLock{};
constinit Sink g_aSinks[MOST_SINKS]{};
constinit std::atomic<size_t> g_nSinks{ 0 };

// ---- files ------------------------------------------------------------------------------------------------

int OpenFile( const char* pPath ) noexcept
{
    // Not to wait for the reader of a pipe. Straight to the kernel: the C library's call is a cancellation point.
    constexpr int FLAGS = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    constexpr mode_t MODE = 0666;
    return static_cast<int>( syscall( SYS_openat, AT_FDCWD, pPath, FLAGS, MODE ) );
}

int WriteToFile( const Sink& rSink, int nDescriptor, std::string_view aText ) noexcept
{
    return WriteTexts( nDescriptor, { aText }, rSink.fMaySignal.load( std::memory_order_relaxed ) );
}

constexpr SinkKind FILE_KIND = { OpenFile, WriteToFile };

bool MayRaiseSignals( int nDescriptor ) noexcept
{
    struct stat aStatus;
    rlimit aLimit;
    return fstat( nDescriptor, &aStatus ) != 0 || S_ISFIFO( aStatus.st_mode ) ||
           getrlimit( RLIMIT_FSIZE, &aLimit ) != 0 || aLimit.rlim_cur != RLIM_INFINITY;
}

// ---- the system's log -------------------------------------------------------------------------------------

int OpenSocket( const char* ) noexcept
{
    return socket( AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0 );
}

// One line, as long as the log's daemons take it: line ends become blanks, the last ones go.
size_t MakeLogLine( std::string_view aText, char* pLine, size_t nSize ) noexcept
{
    constexpr int USER_DEBUG = 15; // facility user, severity debug; the time is the daemon's
    const int nHead = std::snprintf( pLine, nSize, "<%d>%s[%u]: ", USER_DEBUG, program_invocation_short_name,
                                     static_cast<unsigned>( GetCurrentProcessId() ) );
    size_t nLine = std::min( static_cast<size_t>( std::max( nHead, 0 ) ), nSize );
    aText = aText.substr( 0, aText.find_last_not_of( "\r\n" ) + 1 );
    for ( const char cCharacter : aText.substr( 0, nSize - nLine ) )
    {
        if ( cCharacter != '\r' )
            pLine[nLine++] = cCharacter != '\n' ? cCharacter : ' ';
    }
    return nLine;
}

// Sent to the path each time, so that a daemon that starts anew is found again.
int SendToLog( const Sink& rSink, int nDescriptor, std::string_view aText ) noexcept
{
    char szLine[2048];
    const size_t nLine = MakeLogLine( aText, szLine, sizeof( szLine ) );
    sockaddr_un aAddress{};
    aAddress.sun_family = AF_UNIX;
    std::copy_n( rSink.aPath.begin(),
                 std::min( strlen( rSink.aPath.data() ), sizeof( aAddress.sun_path ) - 1 ),
                 aAddress.sun_path );
    const long nSent = syscall( SYS_sendto, nDescriptor, szLine, nLine, MSG_DONTWAIT | MSG_NOSIGNAL,
                                &aAddress, sizeof( aAddress ) );
    return nSent >= 0 ? 0 : errno;
}

constexpr SinkKind LOG_KIND = { OpenSocket, SendToLog };

// ---- all of them ------------------------------------------------------------------------------------------

int OpenSink( Sink& rSink ) noexcept
{
    const LockedScope aLocked( g_aLock );
    int nDescriptor = rSink.nDescriptor.load( std::memory_order_acquire );
    if ( nDescriptor != NO_DESCRIPTOR )
        return nDescriptor;
    nDescriptor = rSink.pKind->pOpen( rSink.aPath.data() );
    if ( nDescriptor < 0 )
        return NO_DESCRIPTOR;
    nDescriptor = MoveDescriptorHigh( nDescriptor );
    rSink.fMaySignal.store( MayRaiseSignals( nDescriptor ), std::memory_order_relaxed );
    rSink.nDescriptor.store( nDescriptor, std::memory_order_release );
    return nDescriptor;
}

void WriteToSink( Sink& rSink, std::string_view aText ) noexcept
{
    constexpr int ATTEMPTS = 2;
    for ( int i = 0; i < ATTEMPTS; ++i )
    {
        int nDescriptor = rSink.nDescriptor.load( std::memory_order_acquire );
        if ( nDescriptor == NO_DESCRIPTOR && ( nDescriptor = OpenSink( rSink ) ) == NO_DESCRIPTOR )
            return;
        const int nError = rSink.pKind->pWrite( rSink, nDescriptor, aText );
        if ( nError != EBADF && nError != ENOTSOCK )
            return;
        // Somebody closed all descriptors of the process, as services do when they start.
        rSink.nDescriptor.compare_exchange_strong( nDescriptor, NO_DESCRIPTOR );
    }
}

void AddSink( const SinkKind& rKind, std::string_view aPath ) noexcept
{
    if ( g_nSinks == MOST_SINKS || aPath.empty() || aPath.size() >= PATH_MAX )
        return;
    Sink& rSink = g_aSinks[g_nSinks++];
    rSink.pKind = &rKind;
    *std::copy( aPath.begin(), aPath.end(), rSink.aPath.begin() ) = '\0';
    rSink.nDescriptor.store( NO_DESCRIPTOR, std::memory_order_relaxed );
}
} // namespace

void AddDebugFile( std::string_view aPath ) noexcept
{
    AddSink( FILE_KIND, aPath );
}

void AddDebugLog( std::string_view aPath ) noexcept
{
    AddSink( LOG_KIND, aPath );
}

void WriteToOpenSinks( std::string_view aText ) noexcept
{
    for ( size_t i = 0; i < g_nSinks; ++i )
        WriteToSink( g_aSinks[i], aText );
}

void CloseOpenSinks() noexcept
{
    const LockedScope aLocked( g_aLock );
    for ( size_t i = 0; i < g_nSinks; ++i )
    {
        const int nDescriptor = g_aSinks[i].nDescriptor.exchange( NO_DESCRIPTOR );
        if ( nDescriptor != NO_DESCRIPTOR )
            syscall( SYS_close, nDescriptor );
    }
}

void ForgetOpenSinks() noexcept
{
    CloseOpenSinks();
    g_nSinks = 0;
}
