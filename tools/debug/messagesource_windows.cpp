// A debug monitor: the system hands it each text, one at a time, and keeps none.
#include "core/guards.h"
#include "process/processmatch.h"
#include "tools/debug/messagesource.h"
#include "tools/toolfailure.h"

#include <bxtools/platform.h>

#include <chrono>
#include <cstring>

namespace
{

constexpr DWORD BUFFER_SIZE = 4096;

[[noreturn]] void ThrowNoMonitor()
{
    throw ToolFailure( ExitCode::Input,
                       GetLastError() == ERROR_ALREADY_EXISTS
                           ? "another debug monitor is running, and the system knows one only"
                           : "the system does not let this process be its debug monitor" );
}

// Empty for a process that has ended already, or may not be asked.
std::string NameOf( DWORD dwProcess )
{
    const KernelHandle aProcess( OpenProcess( PROCESS_QUERY_LIMITED_INFORMATION, FALSE, dwProcess ) );
    char szPath[MAX_PATH] = "";
    DWORD dwSize = sizeof( szPath );
    if ( !aProcess || !QueryFullProcessImageNameA( aProcess.Get(), 0, szPath, &dwSize ) )
        return std::string();
    return std::string( FileNamePart( szPath ) );
}

} // namespace

struct MessageSource::State
{
    KernelHandle aBufferReady{ CreateEventA( NULL, FALSE, FALSE, "DBWIN_BUFFER_READY" ) };
    bool fOther = GetLastError() == ERROR_ALREADY_EXISTS;
    KernelHandle aDataReady{ CreateEventA( NULL, FALSE, FALSE, "DBWIN_DATA_READY" ) };
    KernelHandle aMapping{ CreateFileMappingA( INVALID_HANDLE_VALUE, NULL, PAGE_READWRITE, 0, BUFFER_SIZE,
                                               "DBWIN_BUFFER" ) };
    const char* pView = NULL;
    bool fWaited = false;
};

MessageSource::MessageSource( bool fKept ) : m_pState( new State )
{
    if ( fKept )
        throw ToolFailure( ExitCode::Input, "this system keeps no messages; use watch" );
    if ( m_pState->fOther )
        SetLastError( ERROR_ALREADY_EXISTS );
    if ( m_pState->fOther || !m_pState->aBufferReady || !m_pState->aDataReady || !m_pState->aMapping )
        ThrowNoMonitor();
    m_pState->pView =
        static_cast<const char*>( MapViewOfFile( m_pState->aMapping.Get(), FILE_MAP_READ, 0, 0, 0 ) );
    if ( m_pState->pView == NULL )
        ThrowNoMonitor();
    SetEvent( m_pState->aBufferReady.Get() );
}

MessageSource::~MessageSource()
{
    if ( m_pState->pView != NULL )
        UnmapViewOfFile( m_pState->pView );
}

bool MessageSource::Next( SeenMessage& rMessage )
{
    if ( !m_pState->fWaited )
        return false;
    using namespace std::chrono;
    rMessage = {};
    rMessage.nMicroseconds = duration_cast<microseconds>( system_clock::now().time_since_epoch() ).count();
    std::memcpy( &rMessage.dwProcess, m_pState->pView, sizeof( rMessage.dwProcess ) );
    rMessage.aProcess = NameOf( rMessage.dwProcess );
    const char* const pText = m_pState->pView + sizeof( rMessage.dwProcess );
    rMessage.aText.assign( pText, strnlen( pText, BUFFER_SIZE - sizeof( rMessage.dwProcess ) ) );
    m_pState->fWaited = false;
    SetEvent( m_pState->aBufferReady.Get() );
    return true;
}

void MessageSource::Wait()
{
    m_pState->fWaited = WaitForSingleObject( m_pState->aDataReady.Get(), INFINITE ) == WAIT_OBJECT_0;
}

uint64_t MessageSource::TakeMissed()
{
    return 0;
}

std::string KeptPartOfName( const std::string& aProcess )
{
    return aProcess;
}
