#include "platform/debug/debugout.h"

#include "platform/debug/debugringwriter.h"
#include "platform/debug/debugsinks.h"
#include "platform/locked.h"
#include "platform/textoutput.h"

#include <bxtools/platform.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>

namespace
{
enum class Settings
{
    NotRead,
    Read
};

constinit CRITICAL_SECTION g_aLock{};
constinit std::atomic<Settings> g_eSettings{ Settings::NotRead };
constinit bool g_fRing = false;
constinit bool g_fStandardError = false;

void AddRing( std::string_view ) noexcept
{
    g_fRing = true;
}

void AddStandardError( std::string_view ) noexcept
{
    g_fStandardError = true;
}

void AddSystemLog( std::string_view ) noexcept
{
    AddDebugLog( "/dev/log" );
}

void AddNothing( std::string_view ) noexcept {}

struct SinkName
{
    std::string_view aName; // with a colon at its end when a value follows
    void ( *pAdd )( std::string_view aValue );
};

constexpr SinkName g_aNames[] = {
    { "ring", AddRing },        { "stderr", AddStandardError }, { "file:", AddDebugFile },
    { "syslog", AddSystemLog }, { "syslog:", AddDebugLog },     { "none", AddNothing },
};

// FALSE for a name that is no sink's.
bool AddSink( std::string_view aItem ) noexcept
{
    for ( const SinkName& rName : g_aNames )
    {
        const bool fValue = rName.aName.ends_with( ':' );
        if ( fValue ? aItem.starts_with( rName.aName ) : aItem == rName.aName )
        {
            rName.pAdd( aItem.substr( rName.aName.size() ) );
            return true;
        }
    }
    return false;
}

void ReadSettings() noexcept
{
    g_fRing = false;
    g_fStandardError = false;
    ForgetOpenSinks();
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
        g_fRing = true;
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
    if ( g_fRing )
        WriteToDebugRing( aText );
    WriteToOpenSinks( aText );
    if ( g_fStandardError )
        WriteToStandardError( { aText } );
}

void CloseDebugSinks() noexcept
{
    CloseOpenSinks();
}

void ForgetDebugSettingsForTest() noexcept
{
    ForgetDebugRingForTest();
    g_eSettings.store( Settings::NotRead, std::memory_order_release );
}

void OutputDebugStringA( LPCSTR pOutputString )
{
    if ( pOutputString == nullptr || *pOutputString == '\0' )
        return;
    const StopGate aGate;
    const int nSavedErrno = errno;
    const DWORD dwSavedError = GetLastError();
    WriteToDebugSinks( pOutputString );
    SetLastError( dwSavedError );
    errno = nSavedErrno;
}
