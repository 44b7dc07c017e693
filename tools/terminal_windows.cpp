#include "tools/terminal.h"

#include <bxtools/wintypes.h>

#include <cstdlib>
#include <fcntl.h>
#include <io.h>

namespace
{

HANDLE GetConsole( FILE* pStream )
{
    return reinterpret_cast<HANDLE>( _get_osfhandle( _fileno( pStream ) ) );
}

} // namespace

void UseByteStreams()
{
    _setmode( _fileno( stdin ), _O_BINARY );
    _setmode( _fileno( stdout ), _O_BINARY );
    // Texts are UTF-8 here as on the other system.
    SetConsoleOutputCP( CP_UTF8 );
}

bool IsTerminal( FILE* pStream )
{
    return _isatty( _fileno( pStream ) ) != 0;
}

size_t GetTerminalColumns( FILE* pStream )
{
    CONSOLE_SCREEN_BUFFER_INFO aInfo = {};
    if ( !GetConsoleScreenBufferInfo( GetConsole( pStream ), &aInfo ) )
        return 0;
    return static_cast<size_t>( aInfo.srWindow.Right - aInfo.srWindow.Left + 1 );
}

bool CanShowColour( FILE* pStream )
{
    DWORD dwMode = 0;
    HANDLE hConsole = GetConsole( pStream );
    return GetConsoleMode( hConsole, &dwMode ) &&
           SetConsoleMode( hConsole, dwMode | ENABLE_VIRTUAL_TERMINAL_PROCESSING );
}
