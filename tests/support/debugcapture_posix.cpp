// The library looks for its folders when it is loaded, before main, and decides at its very first message where its output
// goes. So a test program sets its surrounding up in its environment and then starts itself again in the same process,
// before any library has run.
#include "support/debugcapture.h"
#include "support/scratchfolder.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <unistd.h>

namespace
{

constexpr char FOLDER_VARIABLE[] = "BXTOOLS_TEST_FOLDER";
constexpr char PROCESS_VARIABLE[] = "BXTOOLS_TEST_PROCESS";

std::string OwnProcess()
{
    return std::to_string( getpid() );
}

std::string OutputFile()
{
    const char* pFolder = std::getenv( FOLDER_VARIABLE );
    return std::string( pFolder != NULL ? pFolder : "." ) + "/debug-" + OwnProcess();
}

// The library's folders, for the first process of a test; second processes share them.
void MakeFolders()
{
    const std::string strFolder = MakeScratchFolder();
    setenv( FOLDER_VARIABLE, strFolder.c_str(), 1 );
    for ( const auto& [pVariable, pName] :
          { std::pair( "BXTOOLS_OBJECT_DIR", "/objects" ), std::pair( "BXTOOLS_STATE_DIR", "/state" ),
            std::pair( "XDG_STATE_HOME", "/xdg" ), std::pair( "HOME", "/home" ) } )
    {
        const std::string strPath = strFolder + pName;
        std::filesystem::create_directory( strPath );
        std::filesystem::permissions( strPath, std::filesystem::perms::owner_all );
        setenv( pVariable, strPath.c_str(), 1 );
    }
}

bool IsPrepared()
{
    const char* pProcess = std::getenv( PROCESS_VARIABLE );
    return pProcess != NULL && pProcess == OwnProcess();
}

// Removes the folders when the process that made them ends; the second ones have ended before.
struct FolderRemover
{
    ~FolderRemover()
    {
        if ( const char* pOwner = std::getenv( "BXTOOLS_TEST_OWNER" );
             pOwner != NULL && pOwner == OwnProcess() )
            RemoveScratchFolder( std::getenv( FOLDER_VARIABLE ) );
    }
};

// Before the constructors of libraries; the C library's own have not run either.
void PrepareBeforeLibraries( int, char** ppArguments, char** ppEnvironment )
{
    environ = ppEnvironment;
    if ( IsPrepared() )
        return;
    if ( std::getenv( FOLDER_VARIABLE ) == NULL )
    {
        MakeFolders();
        setenv( "BXTOOLS_TEST_OWNER", OwnProcess().c_str(), 1 );
    }
    setenv( PROCESS_VARIABLE, OwnProcess().c_str(), 1 );
    setenv( "BXTOOLS_DEBUG_SINK", ( "file:" + OutputFile() ).c_str(), 1 );
    execv( "/proc/self/exe", ppArguments );
    std::perror( "execv" );
    std::_Exit( 1 );
}

[[gnu::used,
  gnu::section( ".preinit_array" )]] void ( *const g_pBeforeLibraries )( int, char**,
                                                                         char** ) = &PrepareBeforeLibraries;

size_t g_uTaken = 0;

} // namespace

void PrepareTestProcess( char** )
{
    static const FolderRemover aRemover;
}

void StartDebugCapture()
{
    TakeDebugOutput();
}

void EndDebugCapture() {}

std::string TakeDebugOutput()
{
    std::ifstream aFile( OutputFile(), std::ios::binary );
    std::string strAll( ( std::istreambuf_iterator<char>( aFile ) ), std::istreambuf_iterator<char>() );
    std::string strNew = strAll.substr( g_uTaken );
    g_uTaken = strAll.size();
    return strNew;
}
