#include "tools/runprogram.h"

#include <cstdlib>
#include <sys/wait.h>

// A word that the shell takes as it is.
static std::string Word( const std::string& strText )
{
    std::string strWord = " '";
    for ( const char cSign : strText )
        strWord += cSign == '\'' ? "'\\''" : std::string( 1, cSign );
    return strWord + "'";
}

int ProgramFolder::Start( const std::string& strProgram, const Texts& aArguments,
                          unsigned uMilliseconds ) const
{
    std::string strLine =
        "cd" + Word( Path() ) + " && exec <stdin >stdout 2>stderr env -u BXTOOLS_DEBUG_SINK";
    if ( uMilliseconds != 0 )
        strLine += " timeout -s KILL " + std::to_string( uMilliseconds * 0.001 );
    strLine += Word( strProgram );
    for ( const std::string& strArgument : aArguments )
        strLine += Word( strArgument );
    const int nStatus = std::system( strLine.c_str() );
    return WIFEXITED( nStatus ) ? WEXITSTATUS( nStatus ) : -1;
}
