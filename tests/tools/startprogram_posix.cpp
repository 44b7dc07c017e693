#include "tools/startprogram.h"

#include <cstdlib>
#include <sys/wait.h>

namespace
{

// A word that the shell takes as it is.
std::string Word( const std::string& strText )
{
    std::string strWord = " '";
    for ( const char cSign : strText )
        strWord += cSign == '\'' ? "'\\''" : std::string( 1, cSign );
    return strWord + "'";
}

} // namespace

int StartProgram( const ProgramStart& rStart )
{
    std::string strLine = "cd" + Word( rStart.strFolder ) + " && exec env";
    for ( const std::string& strEntry : rStart.aEnvironment )
        strLine += strEntry.ends_with( '=' ) ? " -u" + Word( strEntry.substr( 0, strEntry.size() - 1 ) ) : "";
    for ( const std::string& strEntry : rStart.aEnvironment )
        strLine += strEntry.ends_with( '=' ) ? "" : Word( strEntry );
    strLine += Word( rStart.strProgram );
    for ( const std::string& strArgument : rStart.aArguments )
        strLine += Word( strArgument );
    strLine +=
        " <" + Word( rStart.strInput ) + " >" + Word( rStart.strOutput ) + " 2>" + Word( rStart.strErrors );
    const int nStatus = std::system( strLine.c_str() );
    return WIFEXITED( nStatus ) ? WEXITSTATUS( nStatus ) : -1;
}
