#include "platform/debugout.h"

#include "platform/locked.h"
#include "platform/textoutput.h"

#include <bxtools/platform.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{
constexpr int NO_DESCRIPTOR = -1;

// Descriptors of ours lie high, out of the way of programs that close and count on the low ones.
constexpr int FIRST_DESCRIPTOR = 500;

// One file; found once, opened with the first message. The descriptor is shared by all threads: the file is
// opened for appending, so the kernel puts each message whole behind the others.
struct FileSink
{
    std::array<char, PATH_MAX> aPath;
    std::atomic<int> nDescriptor;
    std::atomic<bool> fMaySignal;
};

constexpr size_t MOST_FILES = 4;

enum class Settings
{
    NotRead,
    Read
};

constinit CRITICAL_SECTION g_aLock{};
constinit std::atomic<Settings> g_eSettings{ Settings::NotRead };
constinit bool g_fStandardError = false;
constinit FileSink g_aFiles[MOST_FILES]{};
constinit size_t g_nFiles = 0;

int OpenHigh( const char* pPath ) noexcept
{
    // Not to wait for the reader of a pipe. Straight to the kernel: the C library's call is a cancellation
    // point.
    constexpr int FLAGS = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    constexpr mode_t MODE = 0666;
    const int nLow = static_cast<int>( syscall( SYS_openat, AT_FDCWD, pPath, FLAGS, MODE ) );
    if ( nLow < 0 )
        return NO_DESCRIPTOR;
    const int nHigh = static_cast<int>( syscall( SYS_fcntl, nLow, F_DUPFD_CLOEXEC, FIRST_DESCRIPTOR ) );
    if ( nHigh < 0 )
        return nLow;
    syscall( SYS_close, nLow );
    return nHigh;
}

bool MayRaiseSignals( int nDescriptor ) noexcept
{
    struct stat aStatus;
    rlimit aLimit;
    return fstat( nDescriptor, &aStatus ) != 0 || S_ISFIFO( aStatus.st_mode ) ||
           getrlimit( RLIMIT_FSIZE, &aLimit ) != 0 || aLimit.rlim_cur != RLIM_INFINITY;
}

int OpenSink( FileSink& rSink ) noexcept
{
    const LockedScope aLocked( g_aLock );
    int nDescriptor = rSink.nDescriptor.load( std::memory_order_acquire );
    if ( nDescriptor != NO_DESCRIPTOR )
        return nDescriptor;
    nDescriptor = OpenHigh( rSink.aPath.data() );
    if ( nDescriptor != NO_DESCRIPTOR )
        rSink.fMaySignal.store( MayRaiseSignals( nDescriptor ), std::memory_order_relaxed );
    rSink.nDescriptor.store( nDescriptor, std::memory_order_release );
    return nDescriptor;
}

void WriteToFile( FileSink& rSink, std::string_view aText ) noexcept
{
    constexpr int ATTEMPTS = 2;
    for ( int i = 0; i < ATTEMPTS; ++i )
    {
        int nDescriptor = rSink.nDescriptor.load( std::memory_order_acquire );
        if ( nDescriptor == NO_DESCRIPTOR && ( nDescriptor = OpenSink( rSink ) ) == NO_DESCRIPTOR )
            return;
        if ( WriteTexts( nDescriptor, { aText }, rSink.fMaySignal.load( std::memory_order_relaxed ) ) !=
             EBADF )
            return;
        // Somebody closed all descriptors of the process, as services do when they start.
        rSink.nDescriptor.compare_exchange_strong( nDescriptor, NO_DESCRIPTOR );
    }
}

void AddFile( std::string_view aPath ) noexcept
{
    if ( g_nFiles == MOST_FILES || aPath.empty() || aPath.size() >= PATH_MAX )
        return;
    FileSink& rSink = g_aFiles[g_nFiles++];
    memcpy( rSink.aPath.data(), aPath.data(), aPath.size() );
    rSink.aPath[aPath.size()] = '\0';
    rSink.nDescriptor.store( NO_DESCRIPTOR, std::memory_order_relaxed );
}

void AddStandardError( std::string_view ) noexcept
{
    g_fStandardError = true;
}

void AddNothing( std::string_view ) noexcept {}

struct SinkKind
{
    std::string_view aName; // with a colon at its end when a value follows
    void ( *pAdd )( std::string_view aValue );
};

constexpr SinkKind g_aKinds[] = {
    { "stderr", AddStandardError },
    { "file:", AddFile },
    { "none", AddNothing },
};

// FALSE for a name that is no sink's.
bool AddSink( std::string_view aItem ) noexcept
{
    for ( const SinkKind& rKind : g_aKinds )
    {
        const bool fValue = rKind.aName.ends_with( ':' );
        if ( fValue ? aItem.starts_with( rKind.aName ) : aItem == rKind.aName )
        {
            rKind.pAdd( aItem.substr( rKind.aName.size() ) );
            return true;
        }
    }
    return false;
}

void ReadSettings() noexcept
{
    g_fStandardError = false;
    g_nFiles = 0;
    // A program with raised rights must not be made to write files by whoever starts it.
    const char* const pSetting = secure_getenv( "BXTOOLS_DEBUG_SINK" );
    std::string_view aLeft( pSetting != nullptr ? pSetting : "" );
    bool fAnySink = false;
    while ( !aLeft.empty() )
    {
        const size_t nComma = aLeft.find( ',' );
        fAnySink |= AddSink( aLeft.substr( 0, nComma ) );
        aLeft.remove_prefix( nComma == std::string_view::npos ? aLeft.size() : nComma + 1 );
    }
    if ( !fAnySink )
        g_fStandardError = true;
}

void ReadSettingsOnce() noexcept
{
    if ( g_eSettings.load( std::memory_order_acquire ) == Settings::Read )
        return;
    const LockedScope aLocked( g_aLock );
    if ( g_eSettings.load( std::memory_order_relaxed ) == Settings::Read )
        return;
    ReadSettings();
    g_eSettings.store( Settings::Read, std::memory_order_release );
}
} // namespace

void WriteToDebugSinks( std::string_view aText ) noexcept
{
    ReadSettingsOnce();
    for ( size_t i = 0; i < g_nFiles; ++i )
        WriteToFile( g_aFiles[i], aText );
    if ( g_fStandardError )
        WriteToStandardError( { aText } );
}

void CloseDebugSinks() noexcept
{
    const LockedScope aLocked( g_aLock );
    for ( size_t i = 0; i < g_nFiles; ++i )
    {
        const int nDescriptor = g_aFiles[i].nDescriptor.exchange( NO_DESCRIPTOR );
        if ( nDescriptor != NO_DESCRIPTOR )
            syscall( SYS_close, nDescriptor );
    }
}

void ForgetDebugSettingsForTest() noexcept
{
    CloseDebugSinks();
    g_eSettings.store( Settings::NotRead, std::memory_order_release );
}

void OutputDebugStringA( LPCSTR pOutputString )
{
    if ( pOutputString == nullptr || *pOutputString == '\0' )
        return;
    const int nSavedErrno = errno;
    const DWORD dwSavedError = GetLastError();
    WriteToDebugSinks( pOutputString );
    SetLastError( dwSavedError );
    errno = nSavedErrno;
}
