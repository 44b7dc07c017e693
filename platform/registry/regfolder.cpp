#include "platform/registry/regfolder.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace
{
constexpr char MACHINE_FOLDER[] = "/var/lib/bxtools";
constexpr char OWN_NAME[] = "/bxtools";

// The absolute path that a variable holds; empty when it holds none.
std::string FromEnvironment( const char* pVariable )
{
    const char* const pPath = secure_getenv( pVariable );
    return pPath != nullptr && *pPath == '/' ? pPath : "";
}

std::string FindHome()
{
    std::string strHome = FromEnvironment( "HOME" );
    if ( !strHome.empty() )
        return strHome;
    std::vector<char> aTexts( 16 * 1024 );
    passwd aUser{};
    passwd* pUser = nullptr;
    if ( getpwuid_r( geteuid(), &aUser, aTexts.data(), aTexts.size(), &pUser ) == 0 && pUser != nullptr )
        return pUser->pw_dir;
    return "";
}

// A folder that is there, or that is made, and found again after the machine has lost its power: what is flushed later is
// in it.
bool MakeOneFolder( const std::string& strFolder )
{
    if ( mkdir( strFolder.c_str(), 0700 ) != 0 )
        return errno == EEXIST;
    const int nParent = open( ( strFolder + "/.." ).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC );
    if ( nParent >= 0 )
    {
        (void)fsync( nParent );
        close( nParent );
    }
    return true;
}
} // namespace

std::string FindUserRegFolder()
{
    const std::string strGiven = FromEnvironment( "BXTOOLS_STATE_DIR" );
    if ( !strGiven.empty() )
        return strGiven;
    const std::string strState = FromEnvironment( "XDG_STATE_HOME" );
    if ( !strState.empty() )
        return strState + OWN_NAME;
    const std::string strHome = FindHome();
    return strHome.empty() ? "" : strHome + "/.local/state" + OWN_NAME;
}

std::string FindMachineRegFolder()
{
    const std::string strGiven = FromEnvironment( "BXTOOLS_STATE_DIR" );
    if ( !strGiven.empty() )
        return strGiven;
    struct stat aStatus;
    if ( stat( MACHINE_FOLDER, &aStatus ) == 0 && S_ISDIR( aStatus.st_mode ) )
        return MACHINE_FOLDER;
    return FindUserRegFolder();
}

bool MakeRegFolder( const std::string& strFolder )
{
    if ( MakeOneFolder( strFolder ) )
        return true;
    const size_t nParent = strFolder.rfind( '/' );
    if ( errno != ENOENT || nParent == std::string::npos || nParent == 0 )
        return false;
    return MakeRegFolder( strFolder.substr( 0, nParent ) ) && MakeOneFolder( strFolder );
}
