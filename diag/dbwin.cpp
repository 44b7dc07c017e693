#include "diag/dbwin.h"

#include "core/guards.h"

#include <bxtools/platform.h>

#include <atomic>
#include <cstring>

namespace
{

constinit std::atomic<bool> g_fServed{ false };

} // namespace

bool IsDebugMonitorServed() noexcept
{
    return g_fServed.load( std::memory_order_relaxed );
}

void ServeDebugMonitor( bool fServed ) noexcept
{
    g_fServed.store( fServed, std::memory_order_relaxed );
}

void WriteToDebugMonitor( LPCTSTR pText ) noexcept
{
    const KernelHandle aBufferReady(
        OpenEventA( EVENT_MODIFY_STATE | SYNCHRONIZE, FALSE, "DBWIN_BUFFER_READY" ) );
    if ( !aBufferReady )
        return;
    const KernelHandle aDataReady( OpenEventA( EVENT_MODIFY_STATE, FALSE, "DBWIN_DATA_READY" ) );
    if ( !aDataReady )
        return;
    const size_t uLength = std::strlen( pText );
    const KernelHandle aMapping( CreateFileMappingA( INVALID_HANDLE_VALUE, NULL, PAGE_READWRITE, 0,
                                                     static_cast<DWORD>( uLength + 100 ), "DBWIN_BUFFER" ) );
    if ( !aMapping )
        return;
    char* const pView =
        static_cast<char*>( MapViewOfFile( aMapping.Get(), FILE_MAP_WRITE, 0, 0, uLength + 10 ) );
    if ( pView == NULL || WaitForSingleObject( aBufferReady.Get(), INFINITE ) == WAIT_FAILED )
        return;
    const DWORD dwProcessId = GetCurrentProcessId();
    std::memcpy( pView, &dwProcessId, sizeof( dwProcessId ) );
    std::memcpy( pView + sizeof( dwProcessId ), pText, uLength + 1 );
    SetEvent( aDataReady.Get() );
}
