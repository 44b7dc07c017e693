#include "tools/terminal.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sys/ioctl.h>
#include <unistd.h>

void UseByteStreams()
{
    // They carry bytes already.
}

std::string GetStreamFailure()
{
    return strerror( errno );
}

void GiveTerminalBack() {}

bool IsTerminal( FILE* pStream )
{
    return isatty( fileno( pStream ) ) != 0;
}

size_t GetTerminalColumns( FILE* pStream )
{
    if ( !IsTerminal( pStream ) )
        return 0;
    winsize aSize = {};
    const bool fKnown = ioctl( fileno( pStream ), TIOCGWINSZ, &aSize ) == 0 && aSize.ws_col > 0;
    return fKnown ? aSize.ws_col : 80;
}

bool CanShowColour( FILE* pStream )
{
    const char* pTerminal = getenv( "TERM" );
    return IsTerminal( pStream ) && pTerminal != NULL && strcmp( pTerminal, "dumb" ) != 0;
}
