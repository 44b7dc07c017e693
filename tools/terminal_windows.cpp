#include "tools/terminal.h"

#include <bxtools/wintypes.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <io.h>
#include <system_error>

namespace
{

HANDLE GetConsole( FILE* pStream )
{
    return reinterpret_cast<HANDLE>( _get_osfhandle( _fileno( pStream ) ) );
}

// The console is its programs' together, and what one sets stays for the others. 0: nothing was set.
UINT g_uFormerCodePage = 0;

BOOL WINAPI OnConsoleEnds( DWORD )
{
    GiveTerminalBack();
    return FALSE;
}

} // namespace

void UseByteStreams()
{
    _setmode( _fileno( stdin ), _O_BINARY );
    _setmode( _fileno( stdout ), _O_BINARY );
    _setmode( _fileno( stderr ), _O_BINARY );
    if ( !IsTerminal( stdout ) && !IsTerminal( stderr ) )
        return;
    // A console gets a character's bytes together; both streams are flushed where they must be.
    setvbuf( stdout, NULL, _IOFBF, 1 << 14 );
    setvbuf( stderr, NULL, _IOFBF, 1 << 14 );
    // Texts are UTF-8 here as on the other system.
    g_uFormerCodePage = GetConsoleOutputCP();
    SetConsoleOutputCP( CP_UTF8 );
    atexit( &GiveTerminalBack );
    SetConsoleCtrlHandler( &OnConsoleEnds, TRUE );
}

std::string GetStreamFailure()
{
    // The C library has no errno for most of the system's errors, and none for a pipe without a reader.
    const auto nSystemError = static_cast<int>( _doserrno );
    return nSystemError != 0 ? std::system_category().message( nSystemError ) : strerror( errno );
}

void GiveTerminalBack()
{
    if ( g_uFormerCodePage != 0 )
        SetConsoleOutputCP( g_uFormerCodePage );
}

bool IsTerminal( FILE* pStream )
{
    // Not _isatty, for which the device that swallows everything is one, too.
    DWORD dwMode = 0;
    return GetConsoleMode( GetConsole( pStream ), &dwMode ) != FALSE;
}

size_t GetTerminalColumns( FILE* pStream )
{
    CONSOLE_SCREEN_BUFFER_INFO aInfo = {};
    if ( !GetConsoleScreenBufferInfo( GetConsole( pStream ), &aInfo ) )
        return 0;
    // Without the last one: behind a character there the console may be in the next line already, and a line end
    // makes a further one.
    return static_cast<size_t>( aInfo.srWindow.Right - aInfo.srWindow.Left );
}

bool CanShowColour( FILE* pStream )
{
    DWORD dwMode = 0;
    HANDLE hConsole = GetConsole( pStream );
    return GetConsoleMode( hConsole, &dwMode ) &&
           SetConsoleMode( hConsole, dwMode | ENABLE_VIRTUAL_TERMINAL_PROCESSING );
}
